#include "llm/model_store.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <stdlib.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "llm/http_download.h"

namespace skimlet {

namespace fs = std::filesystem;

ModelStore::ModelStore() : ModelStore(Options{}) {}

ModelStore::ModelStore(Options options, Observer observer)
    : options_(std::move(options)), state_(Missing{}), observer_(std::move(observer)) {
  state_ = installed() ? State(Ready{}) : State(Missing{});
}

ModelStore::~ModelStore() {
  cancel();
  wait();
}

ModelStore& ModelStore::shared() {
  static ModelStore store;
  return store;
}

// The same rule as ModelFiles::isInstalled, with the store's own size limit (the real one unless
// a test points the store at small files).
bool ModelStore::installed() const {
  std::error_code ec;
  const auto size = fs::file_size(modelPath(), ec);
  return !ec && static_cast<int64_t>(size) >= options_.minimumSize;
}

ModelStore::State ModelStore::state() const {
  std::lock_guard lock(mutex_);
  return state_;
}

void ModelStore::setObserver(Observer observer) {
  std::lock_guard lock(mutex_);
  observer_ = std::move(observer);
}

void ModelStore::setState(State s) {
  std::lock_guard order(notifyMutex_);
  Observer observer;
  {
    std::lock_guard lock(mutex_);
    state_ = s;
    observer = observer_;
  }
  if (observer) observer(s);
}

void ModelStore::download() {
  std::lock_guard order(notifyMutex_);
  {
    std::lock_guard lock(mutex_);
    if (std::holds_alternative<Downloading>(state_)) return;
  }
  {
    std::lock_guard lock(workerMutex_);
    // The previous download has ended (its state is no longer downloading); reap its thread.
    if (worker_.joinable()) {
      if (worker_.get_id() == std::this_thread::get_id()) worker_.detach();
      else worker_.join();
    }
    cancelRequested_ = false;
    // The state changes before the thread starts, so its first progress report comes after.
    setState(Downloading{});
    worker_ = std::thread(&ModelStore::run, this);
  }
}

void ModelStore::cancel() {
  {
    std::lock_guard lock(mutex_);
    if (!std::holds_alternative<Downloading>(state_)) return;
  }
  cancelRequested_ = true;
  wait();
}

void ModelStore::wait() {
  std::lock_guard lock(workerMutex_);
  if (worker_.joinable() && worker_.get_id() != std::this_thread::get_id()) worker_.join();
}

void ModelStore::remove() {
  std::error_code ec;
  bool existed = fs::exists(modelPath(), ec);
  fs::remove(modelPath(), ec);
  if (existed && ec) throw std::runtime_error("Couldn't remove the model: " + ec.message());
  std::lock_guard order(notifyMutex_);
  if (!std::holds_alternative<Downloading>(state())) setState(Missing{});
}

namespace {

// Whether a partial file is still being written: its download holds a lock on it.
bool inUse(const fs::path& part) {
  int fd = ::open(part.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  bool locked = ::flock(fd, LOCK_EX | LOCK_NB) != 0;
  ::close(fd);
  return locked;
}

// The file's SHA-256 in lower-case hex; empty when it can't be read.
std::string sha256Of(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return {};
  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> ctx(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  if (!ctx || EVP_DigestInit_ex(ctx.get(), EVP_sha256(), nullptr) != 1) return {};
  std::vector<char> buffer(1 << 20);
  while (in.read(buffer.data(), static_cast<std::streamsize>(buffer.size())) || in.gcount() > 0)
    EVP_DigestUpdate(ctx.get(), buffer.data(), static_cast<size_t>(in.gcount()));
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  if (EVP_DigestFinal_ex(ctx.get(), digest, &length) != 1) return {};
  std::string hex;
  for (unsigned int i = 0; i < length; ++i) {
    char byte[3];
    std::snprintf(byte, sizeof byte, "%02x", digest[i]);
    hex += byte;
  }
  return hex;
}

std::string withCommas(int64_t n) {
  std::string digits = std::to_string(n), out;
  for (size_t i = 0; i < digits.size(); ++i) {
    if (i && (digits.size() - i) % 3 == 0) out += ',';
    out += digits[i];
  }
  return out;
}

}  // namespace

std::vector<fs::path> ModelStore::leftovers() const {
  std::vector<fs::path> found;
  std::error_code ec;
  const std::string prefix = std::string(ModelFiles::fileName) + ".part-";
  for (fs::directory_iterator it(options_.directory, ec), end; !ec && it != end; it.increment(ec)) {
    if (it->path().filename().string().rfind(prefix, 0) == 0 && !inUse(it->path())) found.push_back(it->path());
  }
  return found;
}

int64_t ModelStore::removeLeftovers() const {
  int64_t freed = 0;
  for (const fs::path& part : leftovers()) {
    std::error_code ec;
    const auto size = fs::file_size(part, ec);
    if (fs::remove(part, ec) && !ec) freed += static_cast<int64_t>(size);
  }
  return freed;
}

void ModelStore::run() {
  // The partial file lives in the model folder itself, so installing it is one atomic rename and
  // no half-written model is ever visible under the model's name. A folder that can't be made
  // fails now rather than after a gigabyte has been fetched.
  std::error_code ec;
  fs::create_directories(options_.directory, ec);
  if (ec) return setState(Failed{"Couldn't save the model: " + ec.message()});
  std::string pattern = (options_.directory / (std::string(ModelFiles::fileName) + ".part-XXXXXX")).string();
  // What an earlier, killed download left is of no use: a download starts over.
  removeLeftovers();
  int fd = mkstemp(pattern.data());
  if (fd < 0) return setState(Failed{"Couldn't save the model: " + std::string(std::strerror(errno))});
  // Held while this download runs, so no other process takes its partial file for a leftover.
  ::flock(fd, LOCK_EX);
  struct Closer {
    int fd;
    ~Closer() { ::close(fd); }
  } closer{fd};
  fs::path temp = pattern;

  Downloading last;
  auto progress = [&](int64_t received, int64_t expected) {
    if (cancelRequested_) return false;
    Downloading now{expected > 0 ? std::min(1.0, double(received) / double(expected)) : 0.0, received, expected};
    // Report at most every 0.1 % (or every megabyte when the size is unknown).
    bool worth = expected > 0
                     ? now.progress - last.progress >= 0.001 || (received == expected && last.received != received)
                     : received - last.received >= (1 << 20);
    if (worth) {
      last = now;
      setState(now);
    }
    return true;
  };
  HttpDownloadResult result = httpDownload(options_.url, temp, progress);

  using Outcome = HttpDownloadResult::Outcome;
  if (result.outcome == Outcome::finished && !cancelRequested_) return finish(temp, result.status);
  fs::remove(temp, ec);
  if (result.outcome == Outcome::cancelled || cancelRequested_)
    return setState(installed() ? State(Ready{}) : State(Missing{}));
  // A transport error (a redirect loop among them) says what happened; the status of the last
  // response it saw would not.
  if (result.outcome == Outcome::transportError) return setState(Failed{"Download failed: " + result.error});
  if (result.status != 0 && result.status != 200)
    return setState(Failed{"Download failed (HTTP " + std::to_string(result.status) + ")"});
  if (result.outcome == Outcome::truncated) return setState(Failed{"Download was incomplete"});
  setState(Failed{"Download failed: " + result.error});
}

void ModelStore::finish(const fs::path& temp, long status) {
  std::error_code ec;
  auto fail = [&](std::string message) {
    fs::remove(temp, ec);
    setState(Failed{std::move(message)});
  };
  // A response that isn't HTTP (status 0) counts as 200.
  if (status != 0 && status != 200) return fail("Download failed (HTTP " + std::to_string(status) + ")");
  const auto size = static_cast<int64_t>(fs::file_size(temp, ec));
  if (ec) return fail("Couldn't save the model: " + ec.message());
  char head[16] = {0};
  std::ifstream in(temp, std::ios::binary);
  in.read(head, sizeof head);
  in.close();
  const std::string start(head, static_cast<size_t>(std::min<int64_t>(size, sizeof head)));
  // What was received, in the user's terms: a web page (a login or error page), or so many bytes.
  if (start.find('<') != std::string::npos && start.find_first_not_of(" \t\r\n") == start.find('<'))
    return fail("Download failed: the server sent a web page (" + withCommas(size) + " bytes), not the model");
  const std::string received = "received " + withCommas(size) +
                               (options_.exactSize > 0 ? " of " + withCommas(options_.exactSize) : "") + " bytes";
  if (size < options_.minimumSize) return fail("Download was incomplete (" + received + ")");
  if (start.compare(0, 4, "GGUF") != 0) return fail("Downloaded file isn't a GGUF model");
  if (options_.exactSize > 0 && size != options_.exactSize)
    return fail("Downloaded file isn't the expected model (" + received + ")");
  if (!options_.sha256.empty() && sha256Of(temp) != options_.sha256)
    return fail("Downloaded file isn't the expected model (its SHA-256 checksum differs)");
  // rename() replaces an older model in one step, so a reader sees either the old or the new file.
  fs::rename(temp, modelPath(), ec);
  if (ec) return fail("Couldn't save the model: " + ec.message());
  setState(Ready{});
}

}  // namespace skimlet
