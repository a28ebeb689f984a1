#include "backends/atspi/a11y_bus.h"

#include <chrono>
#include <cstdlib>

namespace skimlet::atspi {

namespace {

GDBusConnection* sessionBus() {
  GError* error = nullptr;
  GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error);
  if (error) g_error_free(error);
  return bus;
}

// A call on the session bus's accessibility service; none when it is not there.
GVariant* a11yServiceCall(const char* iface, const char* method, GVariant* args) {
  GDBusConnection* session = sessionBus();
  if (!session) {
    if (args) g_variant_unref(g_variant_ref_sink(args));
    return nullptr;
  }
  GError* error = nullptr;
  GVariant* out = g_dbus_connection_call_sync(session, "org.a11y.Bus", "/org/a11y/bus", iface, method, args, nullptr,
                                              G_DBUS_CALL_FLAGS_NONE, 3000, nullptr, &error);
  if (error) g_error_free(error);
  g_object_unref(session);
  return out;
}

}  // namespace

GVariant* Reply::first() const {
  if (!body_ || !g_variant_is_container(body_) || g_variant_n_children(body_) < 1) return nullptr;
  return g_variant_get_child_value(body_, 0);
}

std::optional<bool> accessibilityEnabled() {
  GVariant* out =
      a11yServiceCall("org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", "org.a11y.Status", "IsEnabled"));
  if (!out) return std::nullopt;
  GVariant* boxed = nullptr;
  g_variant_get(out, "(v)", &boxed);
  bool on = boxed && g_variant_is_of_type(boxed, G_VARIANT_TYPE_BOOLEAN) && g_variant_get_boolean(boxed);
  if (boxed) g_variant_unref(boxed);
  g_variant_unref(out);
  return on;
}

bool enableAccessibility() {
  GVariant* out = a11yServiceCall("org.freedesktop.DBus.Properties", "Set",
                                  g_variant_new("(ssv)", "org.a11y.Status", "IsEnabled", g_variant_new_boolean(TRUE)));
  if (!out) return false;
  g_variant_unref(out);
  return true;
}

std::unique_ptr<Bus> Bus::connect(std::string* why) {
  std::string address;
  if (const char* env = std::getenv("AT_SPI_BUS_ADDRESS"); env && *env) address = env;
  if (address.empty()) {
    GVariant* out = a11yServiceCall("org.a11y.Bus", "GetAddress", nullptr);
    if (!out) {
      if (why) *why = "no accessibility bus service on the session bus";
      return nullptr;
    }
    const char* a = nullptr;
    g_variant_get(out, "(&s)", &a);
    address = a ? a : "";
    g_variant_unref(out);
  }
  GError* error = nullptr;
  auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                 G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  GDBusConnection* c = g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, &error);
  if (!c) {
    if (why) *why = error ? error->message : "cannot connect to the accessibility bus";
    if (error) g_error_free(error);
    return nullptr;
  }
  g_dbus_connection_set_exit_on_close(c, FALSE);
  return std::unique_ptr<Bus>(new Bus(c, address));
}

Bus::Bus(GDBusConnection* connection, std::string address) : connection_(connection), address_(std::move(address)) {
  filterId_ = g_dbus_connection_add_filter(connection_, &Bus::filter, this, nullptr);
}

Bus::~Bus() {
  g_dbus_connection_remove_filter(connection_, filterId_);
  g_dbus_connection_close_sync(connection_, nullptr, nullptr);
  g_object_unref(connection_);
}

// Runs on GDBus's own worker thread for every incoming message: answers to our calls are taken
// here, everything else passes on.
GDBusMessage* Bus::filter(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer data) {
  if (!incoming) return message;
  auto type = g_dbus_message_get_message_type(message);
  if (type != G_DBUS_MESSAGE_TYPE_METHOD_RETURN && type != G_DBUS_MESSAGE_TYPE_ERROR) return message;
  auto* self = static_cast<Bus*>(data);
  std::lock_guard lock(self->mutex_);
  auto it = self->waiting_.find(g_dbus_message_get_reply_serial(message));
  if (it == self->waiting_.end()) return message;
  auto [batch, index] = it->second;
  self->waiting_.erase(it);
  if (type == G_DBUS_MESSAGE_TYPE_METHOD_RETURN) {
    GVariant* body = g_dbus_message_get_body(message);
    batch->replies[index] = Reply(body ? g_variant_ref(body) : g_variant_ref_sink(g_variant_new("()")));
  }
  if (--batch->remaining == 0) self->answered_.notify_all();
  g_object_unref(message);
  return nullptr;
}

std::vector<Reply> Bus::callAll(std::vector<Call>& calls, double deadlineSeconds) {
  Batch batch;
  batch.replies.resize(calls.size());
  std::vector<guint32> serials;
  serials.reserve(calls.size());
  for (std::size_t i = 0; i < calls.size(); ++i) {
    Call& c = calls[i];
    GDBusMessage* m = g_dbus_message_new_method_call(c.dest.c_str(), c.path.c_str(), c.iface, c.method);
    if (c.args) g_dbus_message_set_body(m, c.args);
    c.args = nullptr;
    guint32 serial = 0;
    // Registered under the lock, so that an answer cannot be handled before we know its serial.
    std::lock_guard lock(mutex_);
    if (g_dbus_connection_send_message(connection_, m, G_DBUS_SEND_MESSAGE_FLAGS_NONE, &serial, nullptr)) {
      waiting_[serial] = {&batch, i};
      ++batch.remaining;
      serials.push_back(serial);
    }
    g_object_unref(m);
  }
  std::unique_lock lock(mutex_);
  auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(deadlineSeconds);
  answered_.wait_until(lock, deadline, [&] { return batch.remaining == 0; });
  if (batch.remaining > 0)
    for (guint32 s : serials) waiting_.erase(s);
  return std::move(batch.replies);
}

Reply Bus::call(Call c, double deadlineSeconds) {
  std::vector<Call> one{std::move(c)};
  auto replies = callAll(one, deadlineSeconds);
  return std::move(replies[0]);
}

int Bus::processOf(const std::string& busName) {
  Reply r = call({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetConnectionUnixProcessID",
                  g_variant_new("(s)", busName.c_str())});
  if (!r) return 0;
  guint32 pid = 0;
  g_variant_get(r.body(), "(u)", &pid);
  return static_cast<int>(pid);
}

}  // namespace skimlet::atspi
