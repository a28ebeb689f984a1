// Follows which application's window becomes active, from the accessibility bus's window
// events. Chromium answers a click into its own window with a deactivate-activate pair, so a
// deactivation only counts when no activation of the same process follows within a moment.
#pragma once

#include <atomic>
#include <functional>
#include <thread>

#include "platform/ax.h"

typedef struct _GMainContext GMainContext;
typedef struct _GMainLoop GMainLoop;

namespace skimlet::atspi {

class ActivationWatcher {
 public:
  // Called on the watcher's own thread with each process whose window becomes active (not again
  // while it stays active).
  explicit ActivationWatcher(std::function<void(Pid)> activated);
  ~ActivationWatcher();

  // The process whose window the events last made active; 0 for none.
  Pid active() const { return active_; }

  // The decision on one event, without the bus (for tests): returns the process to report as
  // activated, or 0.
  struct Debounce {
    Pid active = 0;
    Pid pendingDeactivation = 0;
    Pid onActivate(Pid pid);
    void onDeactivate(Pid pid) {
      if (pid == active) pendingDeactivation = pid;
    }
    // The pending deactivation's moment has passed with no activation of the same process.
    void settle() {
      if (pendingDeactivation && pendingDeactivation == active) active = 0;
      pendingDeactivation = 0;
    }
  };

 private:
  void run();
  static void onEvent(void* event, void* self);

  std::function<void(Pid)> activated_;
  std::atomic<Pid> active_{0};
  Debounce debounce_;
  unsigned int settleSource_ = 0;
  GMainContext* context_ = nullptr;
  GMainLoop* loop_ = nullptr;
  std::thread thread_;
};

}  // namespace skimlet::atspi
