#include "backends/mac/cf_record.h"

namespace skimlet::mac {

namespace {

ax::Value arrayValue(const std::vector<CFRecord>& items) {
  bool allElements = true, allText = true;
  for (const CFRecord& item : items) {
    allElements = allElements && item.kind == CFRecord::Kind::element && item.element;
    allText = allText && (item.kind == CFRecord::Kind::string || item.kind == CFRecord::Kind::attributedString);
  }
  // Checked first so that an empty array reads as an empty child list, the commonest empty array.
  if (allElements) {
    std::vector<ax::ElementRef> out;
    out.reserve(items.size());
    for (const CFRecord& item : items) out.push_back(item.element);
    return out;
  }
  if (allText) {
    std::vector<std::string> out;
    out.reserve(items.size());
    for (const CFRecord& item : items) out.push_back(item.text);
    return out;
  }
  return std::monostate{};
}

}  // namespace

ax::Value toValue(const CFRecord& r) {
  using K = CFRecord::Kind;
  switch (r.kind) {
    case K::string:
    case K::attributedString: return r.text;
    case K::number: return r.number;
    case K::boolean: return r.flag;
    case K::point: return r.point;
    case K::size: return r.size;
    case K::axError: return ax::Failed{static_cast<ax::Error>(r.error)};
    case K::url: return ax::Url{r.text};
    case K::element:
      if (r.element) return r.element;
      return std::monostate{};
    case K::array: return arrayValue(r.items);
    case K::null:
    case K::otherAXValue:
    case K::other: break;
  }
  return std::monostate{};
}

std::optional<CFRecord> toRecord(const ax::Value& value) {
  using K = CFRecord::Kind;
  CFRecord r;
  if (auto s = std::get_if<std::string>(&value)) {
    r.kind = K::string;
    r.text = *s;
  } else if (auto d = std::get_if<double>(&value)) {
    r.kind = K::number;
    r.number = *d;
  } else if (auto b = std::get_if<bool>(&value)) {
    r.kind = K::boolean;
    r.flag = *b;
  } else if (auto p = std::get_if<Point>(&value)) {
    r.kind = K::point;
    r.point = *p;
  } else if (auto sz = std::get_if<Size>(&value)) {
    r.kind = K::size;
    r.size = *sz;
  } else if (auto u = std::get_if<ax::Url>(&value)) {
    r.kind = K::url;
    r.text = u->absolute;
  } else if (auto e = std::get_if<ax::ElementRef>(&value)) {
    if (!*e) return std::nullopt;
    r.kind = K::element;
    r.element = *e;
  } else if (auto es = std::get_if<std::vector<ax::ElementRef>>(&value)) {
    r.kind = K::array;
    for (const auto& el : *es) {
      if (!el) return std::nullopt;
      r.items.push_back(CFRecord{.kind = K::element, .element = el});
    }
  } else if (auto ss = std::get_if<std::vector<std::string>>(&value)) {
    r.kind = K::array;
    for (const auto& s : *ss) r.items.push_back(CFRecord{.kind = K::string, .text = s});
  } else {
    return std::nullopt;
  }
  return r;
}

}  // namespace skimlet::mac
