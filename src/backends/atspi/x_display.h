// Skimlet's one connection to the X server, shared by input, window activation and the
// highlight outline. Every use holds its lock, so any thread may use it.
#pragma once

#include <X11/Xlib.h>

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/ax.h"

namespace skimlet::atspi {

class XDisplay {
 public:
  // None when there is no X display ($DISPLAY unset or unreachable).
  static std::unique_ptr<XDisplay> open();
  ~XDisplay();

  std::mutex& mutex() { return mutex_; }
  Display* display() { return display_; }
  Window root() const { return root_; }

  // The process owning the active window (the window manager's _NET_ACTIVE_WINDOW, else the
  // input focus); 0 when unknown. Locks.
  Pid activePid();
  // Raises and focuses the process's largest visible top-level window and waits (briefly) until
  // it is active. False when it has no window. Locks.
  bool activate(Pid pid);

 private:
  explicit XDisplay(Display* d);
  Pid pidOf(Window w);
  std::vector<Window> clientWindows();

  Display* display_;
  Window root_;
  std::mutex mutex_;
};

}  // namespace skimlet::atspi
