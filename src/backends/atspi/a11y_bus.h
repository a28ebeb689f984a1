// Skimlet's own connection to the desktop's accessibility bus, and requests to the applications
// on it sent all at once. A browser answers a request in microseconds but a round trip costs far
// more, so reading a page is one burst of thousands of requests whose answers are collected as
// they come, with no per-request timeout (only one overall deadline for a browser that hangs).
#pragma once

#include <gio/gio.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace skimlet::atspi {

// One method call on an object of an application on the bus.
struct Call {
  std::string dest;          // the application's bus name
  std::string path;          // the object
  const char* iface;         // e.g. "org.a11y.atspi.Accessible"
  const char* method;        // e.g. "GetRole"
  GVariant* args = nullptr;  // a tuple, may be floating; none for no arguments
};

// The answer's body (a tuple), or none when the call failed or was not answered in time.
class Reply {
 public:
  Reply() = default;
  explicit Reply(GVariant* body) : body_(body) {}
  Reply(Reply&& o) noexcept : body_(o.body_) { o.body_ = nullptr; }
  Reply& operator=(Reply&& o) noexcept {
    if (this != &o) {
      reset();
      body_ = o.body_;
      o.body_ = nullptr;
    }
    return *this;
  }
  Reply(const Reply&) = delete;
  Reply& operator=(const Reply&) = delete;
  ~Reply() { reset(); }

  explicit operator bool() const { return body_ != nullptr; }
  GVariant* body() const { return body_; }
  // The first member of the tuple (a new reference), or none.
  GVariant* first() const;

 private:
  void reset() {
    if (body_) g_variant_unref(body_);
    body_ = nullptr;
  }
  GVariant* body_ = nullptr;
};

class Bus {
 public:
  // Connects to the accessibility bus whose address the session's org.a11y.Bus gives (or
  // $AT_SPI_BUS_ADDRESS). Returns none with a reason when there is no such bus.
  static std::unique_ptr<Bus> connect(std::string* error = nullptr);
  ~Bus();
  Bus(const Bus&) = delete;
  Bus& operator=(const Bus&) = delete;

  // Sends every call before waiting for any answer; returns the answers in the calls' order.
  // Safe from any thread; batches from several threads may overlap.
  std::vector<Reply> callAll(std::vector<Call>& calls, double deadlineSeconds = 15);
  Reply call(Call c, double deadlineSeconds = 5);

  // The process behind a bus name; 0 when unknown.
  int processOf(const std::string& busName);
  GDBusConnection* connection() const { return connection_; }
  const std::string& address() const { return address_; }

 private:
  struct Batch {
    std::vector<Reply> replies;
    std::size_t remaining = 0;
  };
  Bus(GDBusConnection* connection, std::string address);
  static GDBusMessage* filter(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer self);

  GDBusConnection* connection_;
  std::string address_;
  guint filterId_ = 0;
  std::mutex mutex_;
  std::condition_variable answered_;
  // Sent calls still waiting for their answers: serial -> (batch, index).
  std::unordered_map<guint32, std::pair<Batch*, std::size_t>> waiting_;
};

// The session bus's accessibility switch (org.a11y.Status). None when the session has no
// accessibility bus service at all.
std::optional<bool> accessibilityEnabled();
// Turns the switch on; false when that failed.
bool enableAccessibility();

}  // namespace skimlet::atspi
