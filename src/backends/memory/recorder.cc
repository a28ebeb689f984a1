#include "backends/memory/recorder.h"

#include <array>
#include <unordered_set>

#include "page/ax_helpers.h"

namespace skimlet::memory {
namespace {

enum Attr {
  kRole,
  kSubrole,
  kTitle,
  kDescription,
  kHelp,
  kPlaceholder,
  kValue,
  kURL,
  kPosition,
  kSize,
  kEnabled,
  kHidden,
  kChildren,
  kCount
};

const std::array<std::string, kCount>& names() {
  static const std::array<std::string, kCount> n = {
      "AXRole", "AXSubrole",  "AXTitle", "AXDescription", "AXHelp",   "AXPlaceholderValue", "AXValue",
      "AXURL",  "AXPosition", "AXSize",  "AXEnabled",     "AXHidden", "AXChildren"};
  return n;
}

class Walker {
 public:
  Walker(ax::Api& ax, const RecordLimits& limits, std::optional<ax::ElementRef> focused)
      : ax_(ax), limits_(limits), focused_(std::move(focused)) {}

  // Fills `out` from `element`; false when the element was already recorded or a limit is hit.
  bool walk(const ax::ElementRef& element, int depth, Node& out) {
    if (count_ >= limits_.maxNodes || !visited_.insert(element).second) return false;
    ++count_;
    std::vector<ax::Value> v = AX::multi(ax_, element, names());
    out.role = AX::str(v[kRole]);
    out.subrole = AX::str(v[kSubrole]);
    out.title = AX::str(v[kTitle]);
    out.description = AX::str(v[kDescription]);
    out.help = AX::str(v[kHelp]);
    out.placeholder = AX::str(v[kPlaceholder]);
    if (out.subrole != "AXSecureTextField") {
      if (auto s = std::get_if<std::string>(&v[kValue])) out.value = *s;
      else if (auto d = std::get_if<double>(&v[kValue])) out.value = *d;
      else if (auto b = std::get_if<bool>(&v[kValue])) out.value = *b;
    }
    if (auto u = std::get_if<ax::Url>(&v[kURL])) out.url = u->absolute;
    else if (auto s = std::get_if<std::string>(&v[kURL])) out.url = *s;
    out.frame = AX::rect(v[kPosition], v[kSize]);
    out.enabled = AX::flag(v[kEnabled]);
    if (AX::flag(v[kHidden]).value_or(false)) out.hidden = true;
    out.focused = focused_ && *focused_ == element;
    out.actions = AX::actions(ax_, element);
    bool settable = false;
    if (ax_.isAttributeSettable(element, "AXValue", settable) == ax::Error::success) {
      Node probe;
      probe.role = out.role;
      if (settable != probe.valueSettable()) out.settable = settable;
    }
    if (depth >= limits_.maxDepth) return true;
    if (auto children = std::get_if<std::vector<ax::ElementRef>>(&v[kChildren])) {
      for (const auto& child : *children) {
        if (!child) continue;
        Node node;
        if (walk(child, depth + 1, node)) out.children.push_back(std::move(node));
      }
    }
    return true;
  }

 private:
  ax::Api& ax_;
  RecordLimits limits_;
  std::optional<ax::ElementRef> focused_;
  std::unordered_set<ax::ElementRef, ax::ElementRefHash> visited_;
  int count_ = 0;
};

std::optional<ax::ElementRef> element(const ax::Value& v) {
  if (auto e = std::get_if<ax::ElementRef>(&v); e && *e) return *e;
  return std::nullopt;
}

}  // namespace

Node recordTree(ax::Api& ax, const ax::ElementRef& root, const RecordLimits& limits) {
  Node node;
  Walker(ax, limits, std::nullopt).walk(root, 0, node);
  return node;
}

std::optional<Recording> record(ax::Api& ax, const RunningApp& app, bool front, const RecordLimits& limits) {
  ax::ElementRef application = ax.createApplication(app.pid);
  std::optional<ax::ElementRef> window = element(AX::attribute(ax, application, "AXFocusedWindow"));
  if (!window) window = element(AX::attribute(ax, application, "AXMainWindow"));
  if (!window) {
    ax::Value list = AX::attribute(ax, application, "AXWindows");
    if (auto windows = std::get_if<std::vector<ax::ElementRef>>(&list);
        windows && !windows->empty() && windows->front())
      window = windows->front();
  }
  if (!window) return std::nullopt;
  Recording r;
  r.app = AppInfo{app.localizedName, app.bundleID, app.pid, app.bundlePath};
  r.front = front;
  Walker(ax, limits, element(AX::attribute(ax, application, "AXFocusedUIElement"))).walk(*window, 0, r.window);
  return r;
}

}  // namespace skimlet::memory
