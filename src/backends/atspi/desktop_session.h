// The user's own browser on a Linux desktop, with everything Skimlet needs of the platform
// wired to the desktop's accessibility bus (AT-SPI) and X display. Typical use:
//
//   atspi::AccessStatus status;
//   auto session = atspi::DesktopSession::open(settings, &status);
//   if (!session || !status.ready()) show(status.headline, status.hint);
//   Platform p = session->platform();
//   auto target = session->target();   // the front browser (or the one last in front)
//
// A desktop application passes its own main-thread dispatch; the command-line tool uses the
// session's run loop.
#pragma once

#include <memory>
#include <optional>

#include "backends/atspi/a11y_bus.h"
#include "backends/atspi/access_status.h"
#include "backends/atspi/atspi_ax.h"
#include "backends/atspi/desktop_workspace.h"
#include "backends/atspi/overlay_highlighter.h"
#include "backends/atspi/x_display.h"
#include "backends/atspi/xtest_input.h"
#include "browser/browser_target.h"
#include "browser/browser_tracker.h"
#include "platform/desktop_pasteboard.h"
#include "platform/platform.h"
#include "platform/run_loop.h"
#include "platform/system_clock.h"

namespace skimlet::atspi {

class DesktopSession {
 public:
  // Connects to the desktop and starts following the front browser. None when there is no
  // accessibility bus; `status` (when given) says what stands in the way, if anything.
  static std::unique_ptr<DesktopSession> open(Settings& settings, AccessStatus* status = nullptr,
                                              Dispatch* dispatch = nullptr);
  ~DesktopSession();

  Platform platform();
  // The browser the user means: the front browser, else the one last in front, else (for a
  // terminal in front that never saw a browser) the browser whose window is active or the
  // first one open.
  std::optional<BrowserTarget> target();
  // Checks again: switches accessibility on when it is off, and names a browser to restart.
  AccessStatus status();

  AtspiAx& ax() { return ax_; }
  DesktopWorkspace& workspace() { return workspace_; }
  BrowserTracker& tracker() { return tracker_; }
  RunLoop& runLoop() { return runLoop_; }
  OverlayHighlighter& highlighter() { return highlighter_; }
  bool hasDisplay() const { return x_ != nullptr; }

 private:
  DesktopSession(std::unique_ptr<Bus> bus, Settings& settings, Dispatch* dispatch);

  std::unique_ptr<Bus> bus_;
  std::unique_ptr<XDisplay> x_;
  Settings& settings_;
  RunLoop runLoop_;
  Dispatch& dispatch_;
  SystemClock clock_;
  AtspiAx ax_;
  DesktopWorkspace workspace_;
  XTestInput input_;
  DesktopPasteboard pasteboard_;
  OverlayHighlighter highlighter_;
  BrowserTracker tracker_;
};

}  // namespace skimlet::atspi
