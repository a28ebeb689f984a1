#include "platform/run_loop.h"

#include <algorithm>
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
  // The predicate may watch state that other threads change without posting anything (a worker
  // that has ended), so it is looked at again every few milliseconds even when no work arrives.
  constexpr auto kRecheck = std::chrono::milliseconds(5);
  for (;;) {
    runPending();
    if (pred()) return true;
    std::unique_lock lock(mutex_);
    if (!queue_.empty()) continue;
    if (std::chrono::steady_clock::now() >= deadline) {
      lock.unlock();
      return pred();
    }
    wake_.wait_until(lock, std::min(deadline, std::chrono::steady_clock::now() + kRecheck));
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
