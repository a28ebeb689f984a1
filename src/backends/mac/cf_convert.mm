#include "backends/mac/cf_convert.h"

#include <vector>

#include "backends/mac/mac_element.h"

namespace skimlet::mac {

std::string utf8(CFStringRef s) {
  if (!s) return {};
  if (const char* fast = CFStringGetCStringPtr(s, kCFStringEncodingUTF8)) return fast;
  CFIndex length = CFStringGetLength(s);
  CFIndex capacity = CFStringGetMaximumSizeForEncoding(length, kCFStringEncodingUTF8) + 1;
  std::vector<char> buffer(static_cast<size_t>(capacity));
  if (!CFStringGetCString(s, buffer.data(), capacity, kCFStringEncodingUTF8)) return {};
  return std::string(buffer.data());
}

CFStringRef cfString(std::string_view s) {
  return CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(s.data()),
                                 static_cast<CFIndex>(s.size()), kCFStringEncodingUTF8, false);
}

namespace {

void describeAXValue(AXValueRef v, CFRecord& r) {
  r.kind = CFRecord::Kind::otherAXValue;
  switch (AXValueGetType(v)) {
    case kAXValueTypeCGPoint: {
      CGPoint p;
      if (AXValueGetValue(v, kAXValueTypeCGPoint, &p)) {
        r.kind = CFRecord::Kind::point;
        r.point = {p.x, p.y};
      }
      break;
    }
    case kAXValueTypeCGSize: {
      CGSize s;
      if (AXValueGetValue(v, kAXValueTypeCGSize, &s)) {
        r.kind = CFRecord::Kind::size;
        r.size = {s.width, s.height};
      }
      break;
    }
    case kAXValueTypeAXError: {
      // The marker a multi-attribute read puts where one attribute failed.
      AXError e = kAXErrorFailure;
      AXValueGetValue(v, kAXValueTypeAXError, &e);
      r.kind = CFRecord::Kind::axError;
      r.error = static_cast<int>(e);
      break;
    }
    default:
      break;
  }
}

}  // namespace

CFRecord describe(CFTypeRef v) {
  using K = CFRecord::Kind;
  CFRecord r;
  if (!v || v == kCFNull) return r;
  const CFTypeID type = CFGetTypeID(v);
  if (type == CFStringGetTypeID()) {
    r.kind = K::string;
    r.text = utf8(static_cast<CFStringRef>(v));
  } else if (type == CFAttributedStringGetTypeID()) {
    r.kind = K::attributedString;
    r.text = utf8(CFAttributedStringGetString(static_cast<CFAttributedStringRef>(v)));
  } else if (type == CFBooleanGetTypeID()) {
    r.kind = K::boolean;
    r.flag = CFBooleanGetValue(static_cast<CFBooleanRef>(v));
  } else if (type == CFNumberGetTypeID()) {
    r.kind = K::number;
    CFNumberGetValue(static_cast<CFNumberRef>(v), kCFNumberDoubleType, &r.number);
  } else if (type == AXValueGetTypeID()) {
    describeAXValue(static_cast<AXValueRef>(v), r);
  } else if (type == CFURLGetTypeID()) {
    r.kind = K::url;
    if (CFURLRef absolute = CFURLCopyAbsoluteURL(static_cast<CFURLRef>(v))) {
      r.text = utf8(CFURLGetString(absolute));
      CFRelease(absolute);
    }
  } else if (type == AXUIElementGetTypeID()) {
    r.kind = K::element;
    r.element = MacElement::wrap(static_cast<AXUIElementRef>(v));
  } else if (type == CFArrayGetTypeID()) {
    r.kind = K::array;
    auto array = static_cast<CFArrayRef>(v);
    const CFIndex count = CFArrayGetCount(array);
    r.items.reserve(static_cast<size_t>(count));
    for (CFIndex i = 0; i < count; ++i) r.items.push_back(describe(CFArrayGetValueAtIndex(array, i)));
  } else {
    r.kind = K::other;
  }
  return r;
}

CFTypeRef create(const CFRecord& r) {
  using K = CFRecord::Kind;
  switch (r.kind) {
    case K::string:
    case K::attributedString:
      return cfString(r.text);
    case K::number:
      return CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &r.number);
    case K::boolean:
      return CFRetain(r.flag ? kCFBooleanTrue : kCFBooleanFalse);
    case K::point: {
      CGPoint p = CGPointMake(r.point.x, r.point.y);
      return AXValueCreate(kAXValueTypeCGPoint, &p);
    }
    case K::size: {
      CGSize s = CGSizeMake(r.size.width, r.size.height);
      return AXValueCreate(kAXValueTypeCGSize, &s);
    }
    case K::url:
      return CFURLCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(r.text.data()),
                                  static_cast<CFIndex>(r.text.size()), kCFStringEncodingUTF8, nullptr);
    case K::element: {
      AXUIElementRef e = MacElement::unwrap(r.element);
      return e ? CFRetain(e) : nullptr;
    }
    case K::array: {
      CFMutableArrayRef array = CFArrayCreateMutable(kCFAllocatorDefault, static_cast<CFIndex>(r.items.size()),
                                                     &kCFTypeArrayCallBacks);
      for (const CFRecord& item : r.items) {
        CFTypeRef made = create(item);
        if (!made) {
          CFRelease(array);
          return nullptr;
        }
        CFArrayAppendValue(array, made);  // the array retains it
        CFRelease(made);
      }
      return array;
    }
    case K::null:
    case K::axError:
    case K::otherAXValue:
    case K::other:
      break;
  }
  return nullptr;
}

}  // namespace skimlet::mac
