#include "platform/run_loop.h"

#include <chrono>

namespace skimlet {

void RunLoop::toMain(std::function<void()> fn) {
  if (!fn) return;
  {
    std::lock_guard lock(mutex_);
    queue_.push_back(std::move(fn));
  }
  wake_.notify_all();
}

bool RunLoop::popOne(std::function<void()>& out) {
  std::lock_guard lock(mutex_);
  if (queue_.empty()) return false;
  out = std::move(queue_.front());
  queue_.pop_front();
  return true;
}

int RunLoop::runPending() {
  int ran = 0;
  std::function<void()> fn;
  while (popOne(fn)) {
    fn();
    fn = nullptr;  // release captures before the next item, as a real run loop would
    ++ran;
  }
  return ran;
}

bool RunLoop::runUntil(const std::function<bool()>& pred, double timeout) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                                          std::chrono::duration<double>(timeout));
  for (;;) {
    runPending();
    if (pred()) return true;
    std::unique_lock lock(mutex_);
    if (queue_.empty() && wake_.wait_until(lock, deadline) == std::cv_status::timeout && queue_.empty()) {
      lock.unlock();
      return pred();
    }
  }
}

void RunLoop::run() {
  for (;;) {
    runPending();
    std::unique_lock lock(mutex_);
    wake_.wait(lock, [&] { return quit_ || !queue_.empty(); });
    if (quit_ && queue_.empty()) {
      quit_ = false;
      return;
    }
  }
}

void RunLoop::quit() {
  {
    std::lock_guard lock(mutex_);
    quit_ = true;
  }
  wake_.notify_all();
}

}  // namespace skimlet
