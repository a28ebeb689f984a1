#include "backends/chromium/cdp_client.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

namespace skimlet::chromium {

namespace {
using Clock = std::chrono::steady_clock;
double secondsUntil(Clock::time_point t) { return std::chrono::duration<double>(t - Clock::now()).count(); }
}  // namespace

CdpClient::CdpClient(int writeFd, int readFd, double defaultTimeout)
    : writeFd_(writeFd), readFd_(readFd), defaultTimeout_(defaultTimeout) {}

int CdpClient::send(const std::string& method, const Json& params, const std::string& sessionId) {
  std::lock_guard lock(mutex_);
  if (broken_) throw CdpError("the browser connection is closed (" + method + ")");
  int id = nextId_++;
  Json message = {{"id", id}, {"method", method}, {"params", params}};
  if (!sessionId.empty()) message["sessionId"] = sessionId;
  std::string text = message.dump();
  text.push_back('\0');
  size_t done = 0;
  while (done < text.size()) {
    ssize_t n = ::write(writeFd_, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      broken_ = true;
      throw CdpError("the browser connection is closed (" + method + ")");
    }
    done += static_cast<size_t>(n);
  }
  pendingMethods_[id] = method;
  return id;
}

Json CdpClient::wait(int id, double timeout) {
  std::lock_guard lock(mutex_);
  auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                     std::chrono::duration<double>(timeout < 0 ? defaultTimeout_ : timeout));
  std::string method = pendingMethods_.count(id) ? pendingMethods_[id] : "request";
  while (!answers_.count(id)) {
    double left = secondsUntil(deadline);
    if (broken_) throw CdpError("the browser connection closed while waiting for " + method);
    if (left <= 0 || !readSome(left)) {
      if (answers_.count(id)) break;
      throw CdpError("timed out waiting for " + method);
    }
  }
  Json answer = std::move(answers_[id]);
  answers_.erase(id);
  pendingMethods_.erase(id);
  if (answer.contains("error")) {
    const Json& e = answer["error"];
    throw CdpError(method + ": " + e.value("message", std::string("error")), e.value("code", 0));
  }
  auto result = answer.find("result");
  // Moved out, not copied: a large page's answers run to megabytes.
  return result != answer.end() ? std::move(*result) : Json::object();
}

Json CdpClient::call(const std::string& method, const Json& params, const std::string& sessionId, double timeout) {
  std::lock_guard lock(mutex_);
  return wait(send(method, params, sessionId), timeout);
}

void CdpClient::poll(double seconds) {
  std::lock_guard lock(mutex_);
  auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  do {
    if (broken_ || !readSome(std::max(0.0, secondsUntil(deadline)))) break;
  } while (secondsUntil(deadline) > 0);
}

std::deque<CdpEvent> CdpClient::takeEvents() {
  std::lock_guard lock(mutex_);
  std::deque<CdpEvent> out;
  out.swap(events_);
  return out;
}

bool CdpClient::waitForEvent(const std::string& method, const std::string& sessionId, double seconds) {
  std::lock_guard lock(mutex_);
  auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  size_t checked = 0;
  while (true) {
    for (; checked < events_.size(); ++checked)
      if (events_[checked].method == method && (sessionId.empty() || events_[checked].sessionId == sessionId))
        return true;
    double left = secondsUntil(deadline);
    if (left <= 0 || broken_) return false;
    readSome(left);
  }
}

bool CdpClient::readSome(double seconds) {
  pollfd p{readFd_, POLLIN, 0};
  int ms = seconds <= 0 ? 0 : static_cast<int>(seconds * 1000) + 1;
  int r = ::poll(&p, 1, ms);
  if (r < 0 && errno == EINTR) return true;
  if (r <= 0) return false;
  char chunk[1 << 16];
  ssize_t n = ::read(readFd_, chunk, sizeof chunk);
  if (n < 0 && errno == EINTR) return true;
  if (n <= 0) {
    broken_ = true;
    return false;
  }
  size_t scanFrom = buffer_.size();
  buffer_.append(chunk, static_cast<size_t>(n));
  size_t start = 0;
  for (size_t end = buffer_.find('\0', scanFrom); end != std::string::npos; end = buffer_.find('\0', start)) {
    dispatch(std::string_view(buffer_).substr(start, end - start));
    start = end + 1;
  }
  buffer_.erase(0, start);
  return true;
}

void CdpClient::dispatch(std::string_view message) {
  Json j = Json::parse(message, nullptr, false);
  if (j.is_discarded() || !j.is_object()) return;
  if (j.contains("id") && j["id"].is_number_integer()) {
    int id = j["id"].get<int>();
    answers_[id] = std::move(j);
    return;
  }
  if (!j.contains("method")) return;
  CdpEvent e;
  e.method = j["method"].get<std::string>();
  e.sessionId = j.value("sessionId", std::string());
  e.params = j.contains("params") ? std::move(j["params"]) : Json::object();
  events_.push_back(std::move(e));
}

}  // namespace skimlet::chromium
