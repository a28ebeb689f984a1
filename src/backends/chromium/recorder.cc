#include "backends/chromium/recorder.h"

#include <array>
#include <cmath>
#include <string>

namespace skimlet::chromium {

using Json = nlohmann::json;

namespace {

const std::array<std::string, 13> kAttributes = {
    "AXRole", "AXSubrole",  "AXTitle", "AXValue",   "AXDescription", "AXHelp",    "AXPlaceholderValue",
    "AXURL",  "AXPosition", "AXSize",  "AXEnabled", "AXHidden",      "AXChildren"};

std::string text(const ax::Value& v) {
  if (auto* s = std::get_if<std::string>(&v)) return *s;
  return "";
}

bool isTextInput(const std::string& role) {
  return role == "AXTextField" || role == "AXTextArea" || role == "AXComboBox" || role == "AXSearchField";
}

class Recorder {
 public:
  Recorder(ax::Api& ax, ax::ElementRef focused, const RecordLimits& limits)
      : ax_(ax), focused_(std::move(focused)), limits_(limits) {}

  Json node(const ax::ElementRef& element, int depth) {
    Json out = Json::object();
    auto values = ax_.copyMultipleAttributeValues(element, kAttributes);
    if (!values) return out;
    ++count_;
    const auto& v = *values;
    std::string role = text(v[0]), subrole = text(v[1]);
    auto put = [&](const char* key, const ax::Value& value) {
      if (auto s = text(value); !s.empty()) out[key] = s;
    };
    put("role", v[0]);
    put("subrole", v[1]);
    put("title", v[2]);
    if (subrole != "AXSecureTextField") {  // a password field's value is never read
      if (auto* s = std::get_if<std::string>(&v[3]); s && !s->empty()) out["value"] = *s;
      else if (auto* d = std::get_if<double>(&v[3])) out["value"] = *d;
      else if (auto* b = std::get_if<bool>(&v[3])) out["value"] = *b;
    }
    put("description", v[4]);
    put("help", v[5]);
    put("placeholder", v[6]);
    if (auto* u = std::get_if<ax::Url>(&v[7])) out["url"] = u->absolute;
    else put("url", v[7]);
    auto* p = std::get_if<Point>(&v[8]);
    auto* s = std::get_if<Size>(&v[9]);
    if (p && s && std::isfinite(p->x) && std::isfinite(p->y) && std::isfinite(s->width) && std::isfinite(s->height))
      out["frame"] = {p->x, p->y, s->width, s->height};
    if (auto* b = std::get_if<bool>(&v[10])) out["enabled"] = *b;
    if (auto* b = std::get_if<bool>(&v[11]); b && *b) out["hidden"] = true;
    if (focused_ && element == focused_) out["focused"] = true;
    std::vector<std::string> actions;
    if (ax_.copyActionNames(element, actions) == ax::Error::success && !actions.empty()) out["actions"] = actions;
    bool settable = false;
    if (ax_.isAttributeSettable(element, "AXValue", settable) == ax::Error::success && settable != isTextInput(role))
      out["settable"] = settable;
    if (auto* children = std::get_if<std::vector<ax::ElementRef>>(&v[12]); children && depth < limits_.maxDepth) {
      Json list = Json::array();
      for (const auto& c : *children) {
        if (count_ >= limits_.maxNodes) break;
        Json child = node(c, depth + 1);
        if (!child.empty()) list.push_back(std::move(child));
      }
      if (!list.empty()) out["children"] = std::move(list);
    }
    return out;
  }

 private:
  ax::Api& ax_;
  ax::ElementRef focused_;
  RecordLimits limits_;
  int count_ = 0;
};

std::optional<ax::ElementRef> element(ax::Api& ax, const ax::ElementRef& of, const char* name) {
  ax::Value v;
  if (ax.copyAttributeValue(of, name, v) != ax::Error::success) return std::nullopt;
  if (auto* e = std::get_if<ax::ElementRef>(&v)) return *e;
  if (auto* list = std::get_if<std::vector<ax::ElementRef>>(&v); list && !list->empty()) return list->front();
  return std::nullopt;
}

}  // namespace

Json recordNode(ax::Api& ax, const ax::ElementRef& element, const ax::ElementRef& focused, const RecordLimits& limits) {
  return Recorder(ax, focused, limits).node(element, 0);
}

Json recordApplication(ax::Api& ax, const RunningApp& app, bool front, const RecordLimits& limits) {
  ax::ElementRef application = ax.createApplication(app.pid);
  auto window = element(ax, application, "AXFocusedWindow");
  if (!window) window = element(ax, application, "AXMainWindow");
  if (!window) window = element(ax, application, "AXWindows");
  if (!window) return nullptr;
  ax::ElementRef focused = element(ax, application, "AXFocusedUIElement").value_or(ax::ElementRef());
  return {{"app", {{"name", app.localizedName}, {"bundleID", app.bundleID}, {"pid", app.pid}}},
          {"front", front},
          {"window", recordNode(ax, *window, focused, limits)}};
}

}  // namespace skimlet::chromium
