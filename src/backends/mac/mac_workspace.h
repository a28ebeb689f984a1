// The workspace through NSWorkspace and NSRunningApplication.
#pragma once

#include <memory>

#include "platform/workspace.h"

namespace skimlet::mac {

class MacWorkspace final : public Workspace {
 public:
  MacWorkspace();
  // Stops delivering activations.
  ~MacWorkspace() override;

  std::optional<RunningApp> frontmostApplication() override;
  std::optional<RunningApp> runningApplication(Pid pid) override;
  bool isTerminated(Pid pid) override;
  bool isActive(Pid pid) override;
  void activate(Pid pid) override;
  void observeActivations(std::function<void(const RunningApp&)> handler) override;
  void openURLs(const std::vector<std::string>& urls, const std::string& bundlePath) override;
  bool openURL(const std::string& url) override;

 private:
  struct Observers;  // the notification tokens, kept as Objective-C objects
  std::unique_ptr<Observers> observers_;
};

}  // namespace skimlet::mac
