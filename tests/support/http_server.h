// A tiny HTTP/1.1 server on 127.0.0.1 that tests start themselves, so downloads can be tested
// without the network: fixed answers per path, optionally cut short or sent slowly.
#pragma once

#include <atomic>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace skimlet::testing {

class HttpServer {
 public:
  struct Response {
    int status = 200;
    std::string body;
    // Announce this Content-Length instead of the body's (a larger value makes a truncated body).
    std::optional<size_t> declaredLength;
    // Send the body in pieces of this many bytes with a pause between them (0: all at once).
    size_t chunk = 0;
    int pauseMs = 0;
    std::string contentType = "application/octet-stream";
    std::string location;  // a redirect's target
  };

  // Listens on an ephemeral port of 127.0.0.1 and serves from a thread of its own.
  HttpServer();
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  void route(const std::string& path, Response response);
  // "http://127.0.0.1:<port><path>"
  std::string url(const std::string& path) const;
  // How many requests for `path` arrived.
  int hits(const std::string& path) const;

 private:
  void serve();
  void answer(int client);

  int listener_ = -1;
  int port_ = 0;
  std::atomic<bool> stopping_{false};
  mutable std::mutex mutex_;
  std::map<std::string, Response> routes_;
  std::map<std::string, int> hits_;
  std::thread thread_;
};

}  // namespace skimlet::testing
