#include "support/http_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

#if defined(MSG_NOSIGNAL)
constexpr int kSendFlags = MSG_NOSIGNAL;
#else
constexpr int kSendFlags = 0;  // the socket is set to SO_NOSIGPIPE instead
#endif

namespace skimlet::testing {

HttpServer::HttpServer() {
  listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
  if (listener_ < 0) throw std::runtime_error("test server: socket failed");
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  addr.sin_port = 0;
  socklen_t len = sizeof addr;
  if (::bind(listener_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || ::listen(listener_, 16) != 0 ||
      ::getsockname(listener_, reinterpret_cast<sockaddr*>(&addr), &len) != 0)
    throw std::runtime_error("test server: can't listen on 127.0.0.1");
  port_ = ntohs(addr.sin_port);
  thread_ = std::thread(&HttpServer::serve, this);
}

HttpServer::~HttpServer() {
  stopping_ = true;
  thread_.join();
  ::close(listener_);
}

void HttpServer::route(const std::string& path, Response response) {
  std::lock_guard lock(mutex_);
  routes_[path] = std::move(response);
}

std::string HttpServer::url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + path;
}

int HttpServer::hits(const std::string& path) const {
  std::lock_guard lock(mutex_);
  auto it = hits_.find(path);
  return it == hits_.end() ? 0 : it->second;
}

void HttpServer::serve() {
  // Polls so that the destructor's flag is seen within a few milliseconds.
  while (!stopping_) {
    pollfd p{listener_, POLLIN, 0};
    if (::poll(&p, 1, 20) <= 0) continue;
    int client = ::accept(listener_, nullptr, nullptr);
#if defined(SO_NOSIGPIPE)
    // macOS has no MSG_NOSIGNAL: a client that hangs up must not kill the test with SIGPIPE.
    if (client >= 0) {
      int one = 1;
      ::setsockopt(client, SOL_SOCKET, SO_NOSIGPIPE, &one, sizeof one);
    }
#endif
    if (client < 0) continue;
    answer(client);
    ::close(client);
  }
}

void HttpServer::answer(int client) {
  std::string request;
  char buf[4096];
  while (request.find("\r\n\r\n") == std::string::npos) {
    pollfd p{client, POLLIN, 0};
    if (stopping_ || ::poll(&p, 1, 2000) <= 0) return;
    ssize_t n = ::recv(client, buf, sizeof buf, 0);
    if (n <= 0) return;
    request.append(buf, size_t(n));
  }
  // "GET /path HTTP/1.1"
  size_t a = request.find(' '), b = request.find(' ', a + 1);
  std::string path = a == std::string::npos ? "" : request.substr(a + 1, b - a - 1);

  Response r{404, "not found"};
  {
    std::lock_guard lock(mutex_);
    ++hits_[path];
    if (auto it = routes_.find(path); it != routes_.end()) r = it->second;
  }
  std::string head = "HTTP/1.1 " + std::to_string(r.status) + (r.status == 200 ? " OK" : " Error") +
                     "\r\nContent-Type: " + r.contentType +
                     "\r\nContent-Length: " + std::to_string(r.declaredLength.value_or(r.body.size())) +
                     (r.location.empty() ? "" : "\r\nLocation: " + r.location) + "\r\nConnection: close\r\n\r\n";
  auto sendAll = [&](const char* data, size_t n) {
    while (n > 0) {
      ssize_t k = ::send(client, data, n, kSendFlags);
      if (k <= 0) return false;
      data += k;
      n -= size_t(k);
    }
    return true;
  };
  if (!sendAll(head.data(), head.size())) return;
  size_t step = r.chunk ? r.chunk : r.body.size();
  for (size_t at = 0; at < r.body.size() && !stopping_; at += step) {
    if (!sendAll(r.body.data() + at, std::min(step, r.body.size() - at))) return;
    if (r.pauseMs) std::this_thread::sleep_for(std::chrono::milliseconds(r.pauseMs));
  }
}

}  // namespace skimlet::testing
