// The running applications around a recording: the recorded browser, the Finder and whatever a
// test adds. Opening URLs is recorded, not done.
#pragma once

#include "backends/memory/recorded_browser.h"
#include "platform/workspace.h"

namespace skimlet::memory {

class RecordedWorkspace final : public Workspace {
 public:
  explicit RecordedWorkspace(RecordedBrowser& browser) : browser_(browser) {}

  std::optional<RunningApp> frontmostApplication() override;
  std::optional<RunningApp> runningApplication(Pid pid) override;
  bool isTerminated(Pid pid) override;
  bool isActive(Pid pid) override;
  void activate(Pid pid) override;
  void observeActivations(std::function<void(const RunningApp&)> handler) override;
  void openURLs(const std::vector<std::string>& urls, const std::string& bundlePath) override;
  bool openURL(const std::string& url) override;

 private:
  RecordedBrowser& browser_;
};

}  // namespace skimlet::memory
