#include "local_site.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace skimlet::cli {
namespace {

namespace fs = std::filesystem;

const char* contentType(const fs::path& file) {
  const std::string ext = file.extension().string();
  if (ext == ".html" || ext == ".htm") return "text/html; charset=utf-8";
  if (ext == ".css") return "text/css; charset=utf-8";
  if (ext == ".js") return "text/javascript; charset=utf-8";
  if (ext == ".json") return "application/json";
  if (ext == ".svg") return "image/svg+xml";
  if (ext == ".png") return "image/png";
  if (ext == ".jpg" || ext == ".jpeg") return "image/jpeg";
  if (ext == ".gif") return "image/gif";
  if (ext == ".txt") return "text/plain; charset=utf-8";
  return "application/octet-stream";
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// "%20" and the like decoded; false for a malformed escape or an encoded NUL.
bool percentDecode(const std::string& in, std::string& out) {
  for (std::size_t i = 0; i < in.size(); ++i) {
    if (in[i] != '%') {
      out += in[i];
      continue;
    }
    if (i + 2 >= in.size()) return false;
    const int hi = hexValue(in[i + 1]), lo = hexValue(in[i + 2]);
    if (hi < 0 || lo < 0 || (hi == 0 && lo == 0)) return false;
    out += static_cast<char>(hi * 16 + lo);
    i += 2;
  }
  return true;
}

void sendAll(int fd, const std::string& data) {
  std::size_t sent = 0;
  while (sent < data.size()) {
    const ssize_t n = ::send(fd, data.data() + sent, data.size() - sent, MSG_NOSIGNAL);
    if (n <= 0) return;
    sent += static_cast<std::size_t>(n);
  }
}

std::string response(int status, const char* reason, const std::string& type, const std::string& body, bool head) {
  std::ostringstream out;
  out << "HTTP/1.1 " << status << " " << reason << "\r\nContent-Type: " << type << "\r\nContent-Length: " << body.size()
      << "\r\nCache-Control: no-store\r\nConnection: close\r\n\r\n";
  if (!head) out << body;
  return out.str();
}

}  // namespace

LocalSite::LocalSite(fs::path root) : root_(fs::weakly_canonical(std::move(root))) {
  listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
  if (listener_ < 0) throw std::runtime_error("can't open a socket to serve local pages");
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t len = sizeof addr;
  if (::bind(listener_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || ::listen(listener_, 32) != 0 ||
      ::getsockname(listener_, reinterpret_cast<sockaddr*>(&addr), &len) != 0) {
    ::close(listener_);
    throw std::runtime_error("can't listen on 127.0.0.1 to serve local pages");
  }
  port_ = ntohs(addr.sin_port);
  thread_ = std::thread(&LocalSite::serve, this);
}

LocalSite::~LocalSite() {
  stopping_ = true;
  thread_.join();
  ::close(listener_);
}

std::string LocalSite::url(const fs::path& file) const {
  std::string relative = fs::weakly_canonical(file).lexically_relative(root_).generic_string();
  std::string encoded;
  for (unsigned char c : relative) {
    if (std::isalnum(c) || std::string_view("-._~/").find(static_cast<char>(c)) != std::string_view::npos) {
      encoded += static_cast<char>(c);
    } else {
      static const char* hex = "0123456789ABCDEF";
      encoded += '%';
      encoded += hex[c >> 4];
      encoded += hex[c & 15];
    }
  }
  return "http://127.0.0.1:" + std::to_string(port_) + "/" + encoded;
}

fs::path LocalSite::resolve(const fs::path& root, const std::string& requestPath) {
  std::string path = requestPath.substr(0, requestPath.find_first_of("?#"));
  std::string decoded;
  if (path.empty() || path[0] != '/' || !percentDecode(path, decoded)) return {};
  fs::path candidate = (root / fs::path(decoded).relative_path()).lexically_normal();
  if (fs::is_directory(candidate)) candidate /= "index.html";
  std::error_code ec;
  // Symbolic links are followed before the containment check, so none can lead outside.
  const fs::path real = fs::canonical(candidate, ec);
  if (ec || !fs::is_regular_file(real, ec)) return {};
  const fs::path inside = real.lexically_relative(root);
  if (inside.empty() || *inside.begin() == "..") return {};
  return real;
}

void LocalSite::serve() {
  while (!stopping_) {
    pollfd p{listener_, POLLIN, 0};
    if (::poll(&p, 1, 100) <= 0) continue;
    const int client = ::accept(listener_, nullptr, nullptr);
    if (client < 0) continue;
    answer(client);
    ::close(client);
  }
}

void LocalSite::answer(int client) const {
  // The request line and headers; a browser sends them at once, so a short wait is plenty.
  std::string request;
  char buffer[4096];
  while (request.find("\r\n\r\n") == std::string::npos && request.size() < 64 * 1024) {
    pollfd p{client, POLLIN, 0};
    if (::poll(&p, 1, 2000) <= 0) return;
    const ssize_t n = ::recv(client, buffer, sizeof buffer, 0);
    if (n <= 0) return;
    request.append(buffer, static_cast<std::size_t>(n));
  }
  std::istringstream line(request.substr(0, request.find("\r\n")));
  std::string method, target;
  line >> method >> target;
  const bool head = method == "HEAD";
  if (method != "GET" && !head) {
    sendAll(client, response(405, "Method Not Allowed", "text/plain", "Only GET and HEAD are served.\n", false));
    return;
  }
  const fs::path file = resolve(root_, target);
  std::ifstream in(file, std::ios::binary);
  if (file.empty() || !in) {
    sendAll(client, response(404, "Not Found", "text/plain; charset=utf-8", "Not found.\n", head));
    return;
  }
  std::ostringstream body;
  body << in.rdbuf();
  sendAll(client, response(200, "OK", contentType(file), body.str(), head));
}

}  // namespace skimlet::cli
