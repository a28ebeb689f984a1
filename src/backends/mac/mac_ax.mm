#include "backends/mac/mac_ax.h"

#include "backends/mac/cf_convert.h"
#include "backends/mac/mac_element.h"

namespace skimlet::mac {

namespace {

ax::Error error(AXError e) { return static_cast<ax::Error>(e); }

// Releases a CF object at the end of the scope.
struct Owned {
  CFTypeRef ref = nullptr;
  ~Owned() {
    if (ref) CFRelease(ref);
  }
};

}  // namespace

std::optional<std::vector<ax::Value>> MacAx::copyMultipleAttributeValues(const ax::ElementRef& element,
                                                                          std::span<const std::string> names) {
  AXUIElementRef ref = MacElement::unwrap(element);
  if (!ref) return std::nullopt;
  CFMutableArrayRef attributes =
      CFArrayCreateMutable(kCFAllocatorDefault, static_cast<CFIndex>(names.size()), &kCFTypeArrayCallBacks);
  Owned ownAttributes{attributes};
  for (const std::string& name : names) {
    Owned s{cfString(name)};
    CFArrayAppendValue(attributes, s.ref);
  }
  CFArrayRef values = nullptr;
  // Options 0: a failed attribute does not stop the read; its place holds an AXError value.
  AXError e = AXUIElementCopyMultipleAttributeValues(ref, attributes, 0, &values);
  Owned ownValues{values};
  if (e != kAXErrorSuccess || !values) return std::nullopt;
  std::vector<ax::Value> out;
  const CFIndex count = CFArrayGetCount(values);
  out.reserve(static_cast<size_t>(count));
  for (CFIndex i = 0; i < count; ++i) out.push_back(toValue(describe(CFArrayGetValueAtIndex(values, i))));
  return out;
}

ax::Error MacAx::copyAttributeValue(const ax::ElementRef& element, std::string_view name, ax::Value& out) {
  AXUIElementRef ref = MacElement::unwrap(element);
  if (!ref) return ax::Error::illegalArgument;
  Owned attribute{cfString(name)};
  CFTypeRef value = nullptr;
  AXError e = AXUIElementCopyAttributeValue(ref, static_cast<CFStringRef>(attribute.ref), &value);
  Owned ownValue{value};
  if (e == kAXErrorSuccess) out = toValue(describe(value));
  return error(e);
}

ax::Error MacAx::setAttributeValue(const ax::ElementRef& element, std::string_view name, const ax::Value& value) {
  AXUIElementRef ref = MacElement::unwrap(element);
  auto record = toRecord(value);
  if (!ref || !record) return ax::Error::illegalArgument;
  Owned made{create(*record)};
  if (!made.ref) return ax::Error::illegalArgument;
  Owned attribute{cfString(name)};
  return error(AXUIElementSetAttributeValue(ref, static_cast<CFStringRef>(attribute.ref), made.ref));
}

ax::Error MacAx::isAttributeSettable(const ax::ElementRef& element, std::string_view name, bool& settable) {
  AXUIElementRef ref = MacElement::unwrap(element);
  if (!ref) return ax::Error::illegalArgument;
  Owned attribute{cfString(name)};
  Boolean result = false;
  AXError e = AXUIElementIsAttributeSettable(ref, static_cast<CFStringRef>(attribute.ref), &result);
  settable = e == kAXErrorSuccess && result;
  return error(e);
}

ax::Error MacAx::copyActionNames(const ax::ElementRef& element, std::vector<std::string>& out) {
  AXUIElementRef ref = MacElement::unwrap(element);
  if (!ref) return ax::Error::illegalArgument;
  CFArrayRef names = nullptr;
  AXError e = AXUIElementCopyActionNames(ref, &names);
  Owned ownNames{names};
  if (e != kAXErrorSuccess) return error(e);
  out.clear();
  // Anything but a list of texts counts as no actions.
  ax::Value value = toValue(describe(names));
  if (auto* list = std::get_if<std::vector<std::string>>(&value)) out = std::move(*list);
  return ax::Error::success;
}

ax::Error MacAx::performAction(const ax::ElementRef& element, std::string_view action) {
  AXUIElementRef ref = MacElement::unwrap(element);
  if (!ref) return ax::Error::illegalArgument;
  Owned name{cfString(action)};
  return error(AXUIElementPerformAction(ref, static_cast<CFStringRef>(name.ref)));
}

ax::ElementRef MacAx::createApplication(Pid pid) {
  AXUIElementRef app = AXUIElementCreateApplication(pid);
  ax::ElementRef out = MacElement::wrap(app);  // the handle keeps its own retain
  if (app) CFRelease(app);
  return out;
}

bool MacAx::isProcessTrusted(bool prompt) {
  if (!prompt) return AXIsProcessTrusted();
  // The prompt option makes the system show its own dialog that leads to the privacy settings.
  const void* keys[] = {kAXTrustedCheckOptionPrompt};
  const void* values[] = {kCFBooleanTrue};
  Owned options{CFDictionaryCreate(kCFAllocatorDefault, keys, values, 1, &kCFTypeDictionaryKeyCallBacks,
                                   &kCFTypeDictionaryValueCallBacks)};
  return AXIsProcessTrustedWithOptions(static_cast<CFDictionaryRef>(options.ref));
}

}  // namespace skimlet::mac
