// A private desktop for the accessibility tests and benchmark: a virtual X screen, a session
// bus of its own, the accessibility bus switched on, a small window manager, then one browser
// (Firefox ESR or Chromium) with a fresh profile. Everything it starts is stopped with it.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

namespace skimlet::testing {

class DesktopHarness {
 public:
  enum class Browser { firefox, chromium };

  // Why a harness cannot be started here (a missing program), or empty when it can.
  static std::string missing(Browser browser);
  // Starts the desktop and the browser on the URL; throws std::runtime_error on failure. The
  // process's DISPLAY and DBUS_SESSION_BUS_ADDRESS point at the private desktop afterwards.
  static std::unique_ptr<DesktopHarness> start(Browser browser, const std::string& url);
  ~DesktopHarness();

  pid_t browserPid() const { return browserPid_; }
  const std::string& display() const { return display_; }

 private:
  DesktopHarness() = default;
  pid_t spawn(const std::vector<std::string>& argv, bool ownGroup = true);

  std::vector<pid_t> processes_;  // in start order; stopped in reverse
  pid_t browserPid_ = 0;
  std::string display_;
  std::string profile_;
};

}  // namespace skimlet::testing
