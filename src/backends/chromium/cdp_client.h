// A small synchronous client for the DevTools protocol over the browser's pipe: NUL-separated
// JSON messages, numbered requests, events kept in arrival order until someone takes them.
#pragma once

#include <deque>
#include <mutex>
#include <stdexcept>
#include <string>
#include <unordered_map>

#include <nlohmann/json.hpp>

namespace skimlet::chromium {

using Json = nlohmann::json;

// A protocol error answer, a timeout or a broken pipe, with the method it concerned.
class CdpError : public std::runtime_error {
 public:
  CdpError(const std::string& what, int code = 0) : std::runtime_error(what), code_(code) {}
  int code() const { return code_; }  // the protocol's error code; 0 for transport failures
 private:
  int code_;
};

struct CdpEvent {
  std::string method;
  std::string sessionId;  // empty for browser-level events
  Json params;
};

class CdpClient {
 public:
  CdpClient(int writeFd, int readFd, double defaultTimeout = 10.0);

  // Sends a command and waits for its answer; returns its "result" or throws CdpError.
  Json call(const std::string& method, const Json& params = Json::object(), const std::string& sessionId = "",
            double timeout = -1);
  // Sends without waiting, for requests answered later with wait(): lets independent requests
  // travel together instead of one round trip each.
  int send(const std::string& method, const Json& params = Json::object(), const std::string& sessionId = "");
  Json wait(int id, double timeout = -1);

  // Reads whatever has arrived within `seconds` (0: only what is already there).
  void poll(double seconds);
  // Whether events have been received and not yet taken.
  bool hasEvents() {
    std::lock_guard lock(mutex_);
    return !events_.empty();
  }
  // Takes the events received so far, oldest first.
  std::deque<CdpEvent> takeEvents();
  // Waits until an event with this method (and session, when given) arrives; it stays queued.
  bool waitForEvent(const std::string& method, const std::string& sessionId, double seconds);

  bool broken() const { return broken_; }

 private:
  bool readSome(double seconds);  // false on timeout
  void dispatch(std::string_view message);

  std::recursive_mutex mutex_;
  int writeFd_, readFd_;
  double defaultTimeout_;
  int nextId_ = 1;
  bool broken_ = false;
  std::string buffer_;
  std::unordered_map<int, Json> answers_;
  std::unordered_map<int, std::string> pendingMethods_;
  std::deque<CdpEvent> events_;
};

}  // namespace skimlet::chromium
