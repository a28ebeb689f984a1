// The one place the desktop application chooses what it drives. Everything else sees only this
// interface: the platform seam, the browser to act on, and whether accessibility is on.
//
//   --url PAGE     a Chromium the application starts on PAGE (the demo, and the tests)
//   --fixture F    a recorded page served from memory
//   (neither)      the user's own browser
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "browser/browser_target.h"
#include "platform/platform.h"

namespace skimlet::desktop {

struct AccessStatus {
  bool on = true;
  // What the palette and Settings say about it (empty when there is nothing to say).
  std::string message;
};

class DesktopBackend {
 public:
  virtual ~DesktopBackend() = default;
  // Work for the main thread goes to `Platform::dispatch`, which the application supplies.
  virtual Platform platform() = 0;
  virtual AccessStatus access() = 0;
  // Asks the desktop to turn accessibility on; the new status.
  virtual AccessStatus enableAccess() { return access(); }
  // Delivers work a backend queues for itself (activation notices); called on the main thread.
  virtual void poll() {}
};

struct BackendOptions {
  std::string url;
  std::string fixture;
  bool visible = true;  // a Chromium window on the display, not a headless one
};

// Throws std::runtime_error with the reason when the backend cannot start.
std::unique_ptr<DesktopBackend> openBackend(const BackendOptions& options, Settings& settings, Dispatch& dispatch);

}  // namespace skimlet::desktop
