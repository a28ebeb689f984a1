#include "backends/memory/backend.h"

#include "browser/browser_registry.h"
#include "page/ax_helpers.h"

namespace skimlet::memory {

Backend::Backend(Recording recording) : browser_(std::move(recording)) {}

std::unique_ptr<Backend> Backend::load(const std::string& path) {
  return std::make_unique<Backend>(loadRecording(path));
}

Platform Backend::platform() {
  return Platform{ax_, workspace_, input_, pasteboard_, highlighter_, runLoop(), clock(), settings_};
}

std::optional<BrowserTarget> Backend::target() const {
  return browser_.with([](const BrowserState& s) -> std::optional<BrowserTarget> {
    const BrowserAdapter* adapter = BrowserRegistry::adapter(s.app.bundleID);
    if (!adapter) return std::nullopt;
    return BrowserTarget{s.app, adapter};
  });
}

RunningApp Backend::app() const {
  return browser_.with([](const BrowserState& s) { return s.app; });
}

std::vector<Event> Backend::events() const {
  return browser_.with([](const BrowserState& s) { return s.log.events(); });
}

void Backend::clearEvents() {
  browser_.with([](BrowserState& s) { s.log.clear(); });
}

ax::ElementRef Backend::application() const {
  return browser_.with([](BrowserState& s) { return s.application().ref; });
}
ax::ElementRef Backend::window() const {
  return browser_.with([](BrowserState& s) { return s.window().ref; });
}

std::optional<ax::ElementRef> Backend::find(std::string_view role, std::string_view label) const {
  return browser_.with([&](const BrowserState& s) -> std::optional<ax::ElementRef> {
    for (std::size_t i = 1; i < s.nodes.size(); ++i) {
      const LiveNode& n = s.nodes[i];
      if (n.role == role && s.label(n) == label) return n.ref;
    }
    return std::nullopt;
  });
}

std::optional<ax::ElementRef> Backend::focused() const {
  return browser_.with([](const BrowserState& s) -> std::optional<ax::ElementRef> {
    if (!s.focused) return std::nullopt;
    return s.focused->ref;
  });
}

std::string Backend::value(const ax::ElementRef& element) const {
  return browser_.with([&](const BrowserState& s) {
    LiveNode* n = s.nodeOf(element);
    return n ? AX::str(n->value) : std::string();
  });
}

int Backend::attributeWrites(std::string_view name) const {
  return browser_.with([&](const BrowserState& s) {
    auto it = s.writes.find(name);
    return it == s.writes.end() ? 0 : it->second;
  });
}

void Backend::addApp(const RunningApp& app) {
  browser_.with([&](BrowserState& s) { s.apps.push_back({app, false}); });
}

void Backend::terminate(Pid pid) {
  browser_.with([&](BrowserState& s) {
    for (auto& a : s.apps)
      if (a.app.pid == pid) a.terminated = true;
    if (s.front == pid) s.front = s.finderPid;
  });
}

void Backend::setReadLatency(double seconds) {
  browser_.with([&](BrowserState& s) { s.readLatency = seconds; });
}

void Backend::setTrusted(bool trusted) {
  browser_.with([&](BrowserState& s) { s.trusted = trusted; });
}

std::optional<Rect> Backend::highlighted() const {
  return browser_.with([](const BrowserState& s) { return s.highlight; });
}

}  // namespace skimlet::memory
