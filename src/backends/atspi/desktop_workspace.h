// The Linux desktop as a workspace: running applications from /proc, names from the
// accessibility bus, the front application from the window manager (and the bus's window
// events), activation through the window manager, URLs opened by the browser's own program.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "backends/atspi/activation_watcher.h"
#include "backends/atspi/atspi_ax.h"
#include "backends/atspi/x_display.h"
#include "platform/dispatch.h"
#include "platform/workspace.h"

namespace skimlet::atspi {

class DesktopWorkspace : public Workspace {
 public:
  // x may be null (no X display): then activation and the window manager's view are missing.
  DesktopWorkspace(AtspiAx& ax, XDisplay* x, Dispatch& dispatch);
  ~DesktopWorkspace() override;

  std::optional<RunningApp> frontmostApplication() override;
  std::optional<RunningApp> runningApplication(Pid pid) override;
  bool isTerminated(Pid pid) override;
  bool isActive(Pid pid) override;
  void activate(Pid pid) override;
  void observeActivations(std::function<void(const RunningApp&)> handler) override;
  void openURLs(const std::vector<std::string>& urls, const std::string& bundlePath) override;
  bool openURL(const std::string& url) override;

  // Every application on the accessibility bus, browsers or not.
  std::vector<RunningApp> accessibleApplications();
  // Tells the activation observers about a process as if its window had just become active.
  void announce(Pid pid) { activated(pid); }

 private:
  void activated(Pid pid);

  AtspiAx& ax_;
  XDisplay* x_;
  Dispatch& dispatch_;
  std::mutex mutex_;
  std::vector<std::function<void(const RunningApp&)>> handlers_;
  std::unique_ptr<ActivationWatcher> watcher_;
};

// Starts a program with arguments, detached: it is not waited for and outlives Skimlet.
bool launchDetached(const std::vector<std::string>& argv);

}  // namespace skimlet::atspi
