#include "browser/browser_tracker.h"

#include "browser/browser_registry.h"

namespace skimlet {

BrowserTracker::BrowserTracker(Workspace& workspace) : workspace_(workspace) {}

void BrowserTracker::start() {
  if (auto front = workspace_.frontmostApplication(); front && BrowserRegistry::adapter(front->bundleID))
    last_->store(front->pid);
  // Activations of anything else, the palette included, leave the last browser as it was.
  workspace_.observeActivations([last = last_](const RunningApp& app) {
    if (BrowserRegistry::adapter(app.bundleID)) last->store(app.pid);
  });
}

std::optional<BrowserTarget> BrowserTracker::current() const {
  if (auto front = workspace_.frontmostApplication()) {
    if (const BrowserAdapter* adapter = BrowserRegistry::adapter(front->bundleID))
      return BrowserTarget{*front, adapter};
  }
  Pid pid = last_->load();
  if (pid == 0) return std::nullopt;
  auto app = workspace_.runningApplication(pid);
  if (!app || workspace_.isTerminated(pid)) return std::nullopt;
  if (const BrowserAdapter* adapter = BrowserRegistry::adapter(app->bundleID)) return BrowserTarget{*app, adapter};
  return std::nullopt;
}

std::optional<Pid> BrowserTracker::lastPID() const {
  Pid pid = last_->load();
  if (pid == 0) return std::nullopt;
  return pid;
}

}  // namespace skimlet
