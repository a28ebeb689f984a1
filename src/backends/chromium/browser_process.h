// A Chromium process started for Skimlet with its DevTools protocol on a pipe, in its own
// process group and with a throw-away profile, so that shutting it down leaves nothing behind.
#pragma once

#include <sys/types.h>
#include <string>
#include <vector>

namespace skimlet::chromium {

struct LaunchOptions {
  std::string executable;  // empty: $SKIMLET_CHROMIUM, else the usual install locations
  bool visible = false;    // a real window; only honoured when a display is available
  int windowWidth = 1200;
  int windowHeight = 800;
};

class BrowserProcess {
 public:
  // Starts the browser; throws std::runtime_error when it cannot be started.
  explicit BrowserProcess(const LaunchOptions& options);
  ~BrowserProcess();
  BrowserProcess(const BrowserProcess&) = delete;
  BrowserProcess& operator=(const BrowserProcess&) = delete;

  pid_t pid() const { return pid_; }
  int writeFd() const { return toBrowser_; }   // commands go here (the browser's fd 3)
  int readFd() const { return fromBrowser_; }  // replies and events come from here (its fd 4)
  bool headless() const { return headless_; }

  // Waits up to `seconds` for the browser to exit by itself (after Browser.close), then kills
  // its whole process group and reaps it. Safe to call more than once.
  void shutdown(double seconds);
  bool running();
  // Remembers the browser's processes that live outside its process group (they may be gone,
  // unreaped, by the time of shutdown). Called once the browser is up and again before closing.
  void noteHelpers();

  // The browser executable that would be used, or empty when none is installed.
  static std::string findExecutable(const std::string& preferred = "");

 private:
  // Processes of this browser found by the profile on their command line.
  std::vector<pid_t> helpers() const;

  pid_t pid_ = -1;
  int toBrowser_ = -1;
  int fromBrowser_ = -1;
  bool headless_ = true;
  bool exited_ = false;
  std::string profileDir_;
  int signalHandle_ = -1;  // its registration for cleanup on a signal
  std::vector<pid_t> helpers_;
};

}  // namespace skimlet::chromium
