#include "backends/memory/recorded_browser.h"

#include <algorithm>

#include "browser/browser_registry.h"
#include "page/ax_helpers.h"
#include "page/page_element.h"
#include "page/roles.h"

namespace skimlet::memory {

namespace {

class NodeHandle final : public ax::ElementHandle {
 public:
  NodeHandle(const void* owner, LiveNode* node) : owner(owner), node(node) {}
  bool equals(const ax::ElementHandle& other) const override {
    auto o = dynamic_cast<const NodeHandle*>(&other);
    return o && o->owner == owner && o->node == node;
  }
  std::size_t hash() const override { return std::hash<const void*>{}(node); }

  const void* owner;
  LiveNode* node;  // null: an application that is not the recorded browser
};

}  // namespace

bool LiveNode::has(std::string_view action) const {
  return std::find(actions.begin(), actions.end(), action) != actions.end();
}

LiveNode* BrowserState::nodeOf(const ax::ElementRef& ref) const {
  auto h = ref.as<NodeHandle>();
  return h && h->owner == this ? h->node : nullptr;
}

ax::ElementRef BrowserState::applicationRef(Pid pid) const {
  if (pid == app.pid) return nodes[0].ref;
  return ax::ElementRef(std::make_shared<NodeHandle>(this, nullptr));
}

std::string BrowserState::label(const LiveNode& n) const {
  PageElement e;
  e.role = n.role;
  e.subrole = n.subrole;
  e.title = n.title;
  e.desc = n.description;
  e.help = n.help;
  e.placeholder = n.placeholder;
  if (!n.secure()) e.value = AX::str(n.value);
  return e.label();
}

LiveNode* BrowserState::field() const {
  if (!focused || !focused->keystrokes) return nullptr;
  return Roles::textInput(focused->role) || focused->settable ? focused : nullptr;
}

void BrowserState::insert(LiveNode& f, const std::string& text) {
  if (selectAll) {
    f.value = text;
    selectAll = false;
  } else {
    f.value = AX::str(f.value) + text;
  }
}

RecordedBrowser::RecordedBrowser(Recording recording) {
  RunningApp& app = state_.app;
  app.pid = recording.app.pid;
  app.bundleID = recording.app.bundleID;
  app.localizedName = recording.app.name;
  app.bundlePath = recording.app.bundlePath;
  if (app.bundlePath.empty()) {
    std::string name = app.localizedName;
    if (name.empty()) {
      const BrowserAdapter* adapter = BrowserRegistry::adapter(app.bundleID);
      name = adapter ? adapter->name() : "Browser";
    }
    app.bundlePath = "/Applications/" + name + ".app";
  }
  state_.finderPid = app.pid + 1;
  state_.apps.push_back({app, false});
  state_.apps.push_back(
      {RunningApp{state_.finderPid, "com.apple.finder", "Finder", "/System/Library/CoreServices/Finder.app"}, false});
  state_.front = recording.front ? app.pid : state_.finderPid;

  LiveNode& root = state_.nodes.emplace_back();
  root.isApp = true;
  root.role = "AXApplication";
  root.title = app.localizedName;
  root.ref = ax::ElementRef(std::make_shared<NodeHandle>(&state_, &root));
  build(recording.window, &root);
}

void RecordedBrowser::build(const Node& node, LiveNode* parent) {
  LiveNode& n = state_.nodes.emplace_back(LiveNode{.role = node.role,
                                                   .subrole = node.subrole,
                                                   .title = node.title,
                                                   .description = node.description,
                                                   .help = node.help,
                                                   .placeholder = node.placeholder,
                                                   .url = node.url,
                                                   .frame = node.frame,
                                                   .enabled = node.enabled,
                                                   .hidden = node.hidden,
                                                   .actions = node.actions,
                                                   .settable = node.valueSettable(),
                                                   .keystrokes = node.keystrokes,
                                                   .pressError = node.pressError,
                                                   .parent = parent});
  if (node.value) std::visit([&](const auto& v) { n.value = v; }, *node.value);
  n.ref = ax::ElementRef(std::make_shared<NodeHandle>(&state_, &n));
  if (node.focused) state_.focused = &n;
  parent->children.push_back(&n);
  parent->childRefs.push_back(n.ref);
  for (const auto& child : node.children) build(child, &n);
}

}  // namespace skimlet::memory
