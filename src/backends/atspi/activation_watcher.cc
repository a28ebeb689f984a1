#include "backends/atspi/activation_watcher.h"

#include <atspi/atspi.h>

#include <condition_variable>
#include <mutex>
#include <string>

namespace skimlet::atspi {

namespace {
constexpr guint kSettleMs = 250;
}

Pid ActivationWatcher::Debounce::onActivate(Pid pid) {
  pendingDeactivation = 0;
  if (pid == active) return 0;
  active = pid;
  return pid;
}

ActivationWatcher::ActivationWatcher(std::function<void(Pid)> activated) : activated_(std::move(activated)) {
  std::mutex m;
  std::condition_variable ready;
  bool started = false;
  thread_ = std::thread([&] {
    // libatspi is not thread-safe: all of its use stays on this thread, whose default main
    // context delivers its events.
    context_ = g_main_context_new();
    g_main_context_push_thread_default(context_);
    loop_ = g_main_loop_new(context_, FALSE);
    atspi_set_main_context(context_);
    atspi_init();
    AtspiEventListener* listener = atspi_event_listener_new(
        [](AtspiEvent* event, void* self) { onEvent(event, self); }, this, nullptr);
    atspi_event_listener_register(listener, "window:activate", nullptr);
    atspi_event_listener_register(listener, "window:deactivate", nullptr);
    {
      std::lock_guard lock(m);
      started = true;
    }
    ready.notify_one();
    g_main_loop_run(loop_);
    atspi_event_listener_deregister(listener, "window:activate", nullptr);
    atspi_event_listener_deregister(listener, "window:deactivate", nullptr);
    g_object_unref(listener);
    // libatspi keeps one connection per process; letting it go lets a later watcher (a new
    // session, perhaps on another desktop) connect afresh.
    atspi_exit();
    g_main_context_pop_thread_default(context_);
  });
  std::unique_lock lock(m);
  ready.wait(lock, [&] { return started; });
}

ActivationWatcher::~ActivationWatcher() {
  g_main_loop_quit(loop_);
  g_main_context_wakeup(context_);
  thread_.join();
  g_main_loop_unref(loop_);
  g_main_context_unref(context_);
}

void ActivationWatcher::onEvent(void* data, void* selfData) {
  auto* event = static_cast<AtspiEvent*>(data);
  auto* self = static_cast<ActivationWatcher*>(selfData);
  Pid pid = event->source ? Pid(atspi_accessible_get_process_id(event->source, nullptr)) : 0;
  std::string type(event->type ? event->type : "");
  g_boxed_free(atspi_event_get_type(), event);
  if (pid <= 0) return;
  if (type.find("deactivate") != std::string::npos) {
    self->debounce_.onDeactivate(pid);
    if (self->debounce_.pendingDeactivation && !self->settleSource_) {
      GSource* source = g_timeout_source_new(kSettleMs);
      g_source_set_callback(
          source,
          [](gpointer s) -> gboolean {
            auto* me = static_cast<ActivationWatcher*>(s);
            me->debounce_.settle();
            me->active_ = me->debounce_.active;
            me->settleSource_ = 0;
            return G_SOURCE_REMOVE;
          },
          self, nullptr);
      self->settleSource_ = g_source_attach(source, self->context_);
      g_source_unref(source);
    }
    return;
  }
  Pid activated = self->debounce_.onActivate(pid);
  self->active_ = self->debounce_.active;
  if (activated && self->activated_) self->activated_(activated);
}

}  // namespace skimlet::atspi
