#include "page/ax_helpers.h"

#include <charconv>
#include <cmath>

namespace skimlet::AX {

std::vector<ax::Value> multi(ax::Api& ax, const ax::ElementRef& element, std::span<const std::string> names) {
  std::vector<ax::Value> out(names.size());
  if (!element) return out;
  auto values = ax.copyMultipleAttributeValues(element, names);
  if (!values || values->size() != names.size()) return out;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!std::holds_alternative<ax::Failed>((*values)[i])) out[i] = std::move((*values)[i]);
  }
  return out;
}

namespace {

std::string number(double d) {
  if (std::isnan(d)) return "nan";
  if (std::isinf(d)) return d > 0 ? "inf" : "-inf";
  // Whole numbers print without a fraction, like the integers the interface sends as numbers.
  if (d == std::trunc(d) && std::fabs(d) < 1e15) return std::to_string(static_cast<long long>(d));
  char buf[32];
  auto res = std::to_chars(buf, buf + sizeof buf, d);
  return std::string(buf, res.ptr);
}

}  // namespace

std::string str(const ax::Value& value) {
  if (auto s = std::get_if<std::string>(&value)) return *s;
  if (auto d = std::get_if<double>(&value)) return number(*d);
  if (auto b = std::get_if<bool>(&value)) return *b ? "1" : "0";
  return {};
}

std::optional<Rect> rect(const ax::Value& position, const ax::Value& size) {
  auto p = std::get_if<Point>(&position);
  auto s = std::get_if<Size>(&size);
  if (!p || !s) return std::nullopt;
  if (!std::isfinite(p->x) || !std::isfinite(p->y) || !std::isfinite(s->width) || !std::isfinite(s->height))
    return std::nullopt;
  return Rect{p->x, p->y, s->width, s->height};
}

ax::Value attribute(ax::Api& ax, const ax::ElementRef& element, std::string_view name) {
  if (!element) return {};
  ax::Value v;
  if (ax.copyAttributeValue(element, name, v) != ax::Error::success) return {};
  if (std::holds_alternative<ax::Failed>(v)) return {};
  return v;
}

std::optional<Rect> frame(ax::Api& ax, const ax::ElementRef& element) {
  return rect(attribute(ax, element, "AXPosition"), attribute(ax, element, "AXSize"));
}

std::vector<std::string> actions(ax::Api& ax, const ax::ElementRef& element) {
  std::vector<std::string> names;
  if (!element || ax.copyActionNames(element, names) != ax::Error::success) return {};
  return names;
}

std::optional<ax::ElementRef> parent(ax::Api& ax, const ax::ElementRef& element) {
  ax::Value v = attribute(ax, element, "AXParent");
  if (auto e = std::get_if<ax::ElementRef>(&v); e && *e) return *e;
  return std::nullopt;
}

std::optional<bool> flag(const ax::Value& value) {
  if (auto b = std::get_if<bool>(&value)) return *b;
  if (auto d = std::get_if<double>(&value)) return *d != 0;
  return std::nullopt;
}

void openPrivacySettings(Workspace& workspace) { workspace.openURL(privacySettingsURL); }

}  // namespace skimlet::AX
