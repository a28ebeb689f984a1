#include "llm/model_store.h"

#include <stdlib.h>
#include <unistd.h>

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

void ModelStore::run() {
  // The partial file lives in the model folder itself, so installing it is one atomic rename and
  // no half-written model is ever visible under the model's name. A folder that can't be made
  // fails now rather than after a gigabyte has been fetched.
  std::error_code ec;
  fs::create_directories(options_.directory, ec);
  if (ec) return setState(Failed{"Couldn't save the model: " + ec.message()});
  std::string pattern = (options_.directory / (std::string(ModelFiles::fileName) + ".part-XXXXXX")).string();
  int fd = mkstemp(pattern.data());
  if (fd < 0) return setState(Failed{"Couldn't save the model: " + std::string(std::strerror(errno))});
  ::close(fd);
  fs::path temp = pattern;

  Downloading last;
  auto progress = [&](int64_t received, int64_t expected) {
    if (cancelRequested_) return false;
    Downloading now{expected > 0 ? std::min(1.0, double(received) / double(expected)) : 0.0, received, expected};
    // Report at most every 0.1 % (or every megabyte when the size is unknown).
    bool worth = expected > 0 ? now.progress - last.progress >= 0.001 || (received == expected && last.received != received)
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
  if (result.outcome == Outcome::cancelled || cancelRequested_) return setState(installed() ? State(Ready{}) : State(Missing{}));
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
  auto size = fs::file_size(temp, ec);
  if (ec || static_cast<int64_t>(size) < options_.minimumSize) return fail("Download was incomplete");
  char magic[4] = {0};
  std::ifstream in(temp, std::ios::binary);
  if (!in.read(magic, 4) || std::memcmp(magic, "GGUF", 4) != 0) return fail("Downloaded file isn't a GGUF model");
  in.close();
  // rename() replaces an older model in one step, so a reader sees either the old or the new file.
  fs::rename(temp, modelPath(), ec);
  if (ec) return fail("Couldn't save the model: " + ec.message());
  setState(Ready{});
}

}  // namespace skimlet
