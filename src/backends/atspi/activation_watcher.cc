#include "backends/atspi/activation_watcher.h"

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

ActivationWatcher::ActivationWatcher(Bus& bus, std::function<void(Pid)> activated)
    : bus_(bus), activated_(std::move(activated)) {
  std::mutex m;
  std::condition_variable ready;
  bool started = false;
  thread_ = std::thread([&] {
    // The window events are delivered to this thread's own main context.
    context_ = g_main_context_new();
    g_main_context_push_thread_default(context_);
    loop_ = g_main_loop_new(context_, FALSE);
    subscription_ = g_dbus_connection_signal_subscribe(
        bus_.connection(), nullptr, "org.a11y.atspi.Event.Window", nullptr, nullptr, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const gchar* sender, const gchar*, const gchar*, const gchar* member, GVariant*,
           gpointer self) {
          static_cast<ActivationWatcher*>(self)->onEvent(sender ? sender : "", member ? member : "");
        },
        this, nullptr);
    // Applications send window events only once some client has asked the registry for them.
    for (const char* event : {"window:activate", "window:deactivate"})
      bus_.call({"org.a11y.atspi.Registry", "/org/a11y/atspi/registry", "org.a11y.atspi.Registry", "RegisterEvent",
                 g_variant_new("(s)", event)});
    {
      std::lock_guard lock(m);
      started = true;
    }
    ready.notify_one();
    g_main_loop_run(loop_);
    g_dbus_connection_signal_unsubscribe(bus_.connection(), subscription_);
    g_main_context_pop_thread_default(context_);
  });
  std::unique_lock lock(m);
  ready.wait(lock, [&] { return started; });
}

ActivationWatcher::~ActivationWatcher() {
  g_main_loop_quit(loop_);
  g_main_context_wakeup(context_);
  thread_.join();
  // Sources still attached (a pending settle) go with the context.
  g_main_loop_unref(loop_);
  g_main_context_unref(context_);
}

void ActivationWatcher::onEvent(const std::string& sender, const std::string& member) {
  const bool activate = member == "Activate";
  if (!activate && member != "Deactivate") return;
  Pid pid = bus_.processOf(sender);
  if (pid <= 0) return;
  if (!activate) {
    debounce_.onDeactivate(pid);
    if (debounce_.pendingDeactivation && !settleSource_) {
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
          this, nullptr);
      settleSource_ = g_source_attach(source, context_);
      g_source_unref(source);
    }
    return;
  }
  Pid activated = debounce_.onActivate(pid);
  active_ = debounce_.active;
  if (activated && activated_) activated_(activated);
}

}  // namespace skimlet::atspi
