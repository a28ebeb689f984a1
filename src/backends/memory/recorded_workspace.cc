#include "backends/memory/recorded_workspace.h"

namespace skimlet::memory {

std::optional<RunningApp> RecordedWorkspace::frontmostApplication() {
  return browser_.with([&](BrowserState& s) -> std::optional<RunningApp> {
    for (const auto& a : s.apps)
      if (a.app.pid == s.front && !a.terminated) return a.app;
    return std::nullopt;
  });
}

std::optional<RunningApp> RecordedWorkspace::runningApplication(Pid pid) {
  return browser_.with([&](BrowserState& s) -> std::optional<RunningApp> {
    for (const auto& a : s.apps)
      if (a.app.pid == pid) return a.app;
    return std::nullopt;
  });
}

bool RecordedWorkspace::isTerminated(Pid pid) {
  return browser_.with([&](BrowserState& s) {
    for (const auto& a : s.apps)
      if (a.app.pid == pid) return a.terminated;
    return true;
  });
}

bool RecordedWorkspace::isActive(Pid pid) {
  return browser_.with([&](BrowserState& s) { return s.front == pid; });
}

void RecordedWorkspace::activate(Pid pid) {
  browser_.with([&](BrowserState& s) {
    for (const auto& a : s.apps) {
      if (a.app.pid != pid || a.terminated) continue;
      if (s.front == pid) return;
      s.front = pid;
      for (const auto& observer : s.observers) browser_.runLoop().toMain([observer, app = a.app] { observer(app); });
      return;
    }
  });
}

void RecordedWorkspace::observeActivations(std::function<void(const RunningApp&)> handler) {
  browser_.with([&](BrowserState& s) {
    if (handler) s.observers.push_back(std::move(handler));
  });
}

void RecordedWorkspace::openURLs(const std::vector<std::string>& urls, const std::string& bundlePath) {
  browser_.with([&](BrowserState& s) { s.log.open(urls); });
}

bool RecordedWorkspace::openURL(const std::string& url) {
  browser_.with([&](BrowserState& s) { s.log.open({url}); });
  return true;
}

}  // namespace skimlet::memory
