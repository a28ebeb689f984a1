#include "llm/thread_pool.h"

#include <chrono>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace skimlet {

namespace {

inline void cpuRelax() {
#if defined(__x86_64__)
  _mm_pause();
#elif defined(__aarch64__)
  asm volatile("yield");
#endif
}

// Generation runs a few hundred short products per token; a worker that just finished spins
// this long for the next one before it sleeps, which saves a wake-up each time.
constexpr auto kSpin = std::chrono::microseconds(500);

}  // namespace

ThreadPool& ThreadPool::shared() {
  static ThreadPool pool(static_cast<int>(std::max(1u, std::thread::hardware_concurrency())));
  return pool;
}

ThreadPool::ThreadPool(int threads) {
  for (int i = 1; i < threads; ++i) workers_.emplace_back([this] { workerLoop(); });
}

ThreadPool::~ThreadPool() {
  stop_.store(true);
  round_.fetch_add(1);
  round_.notify_all();
  for (auto& t : workers_) t.join();
}

void ThreadPool::claimTasks(uint32_t round) {
  uint64_t s = state_.load(std::memory_order_acquire);
  for (;;) {
    if (static_cast<uint32_t>(s >> 32) != round) return;
    const int64_t i = static_cast<int64_t>(s & 0xFFFFFFFFu);
    // Acquire: a count of the next round is only seen once this round is closed, and then the
    // claim below fails.
    if (i >= count_.load(std::memory_order_acquire)) return;
    if (!state_.compare_exchange_weak(s, s + 1, std::memory_order_acq_rel, std::memory_order_acquire)) continue;
    // Read after the claim: while a task of this round is unfinished, the next round can't
    // have stored its own.
    (*task_.load(std::memory_order_relaxed))(i);
    done_.fetch_add(1, std::memory_order_release);
    s = state_.load(std::memory_order_acquire);
  }
}

void ThreadPool::workerLoop() {
  uint32_t seen = 0;
  for (;;) {
    auto until = std::chrono::steady_clock::now() + kSpin;
    uint32_t round;
    while ((round = round_.load(std::memory_order_acquire)) == seen) {
      for (int k = 0; k < 32; ++k) cpuRelax();
      if (std::chrono::steady_clock::now() < until) continue;
      sleepers_.fetch_add(1);
      round_.wait(seen);
      sleepers_.fetch_sub(1);
      until = std::chrono::steady_clock::now() + kSpin;
    }
    if (stop_.load()) return;
    seen = round;
    claimTasks(round);
  }
}

void ThreadPool::parallelFor(int64_t count, const std::function<void(int64_t)>& task) {
  if (count <= 0) return;
  if (workers_.empty() || count == 1) {
    for (int64_t i = 0; i < count; ++i) task(i);
    return;
  }
  std::lock_guard call(callMutex_);
  const uint32_t round = round_.load(std::memory_order_relaxed) + 1;
  task_.store(&task, std::memory_order_relaxed);
  count_.store(count, std::memory_order_release);
  done_.store(0, std::memory_order_relaxed);
  state_.store(static_cast<uint64_t>(round) << 32, std::memory_order_release);
  round_.store(round);
  if (sleepers_.load() > 0) round_.notify_all();
  claimTasks(round);
  // Only a task a worker has already claimed can be outstanding here; if that worker lost its
  // core, give it back rather than spin against it.
  for (int spins = 0; done_.load(std::memory_order_acquire) != count; ++spins) {
    if (spins < 4096) {
      cpuRelax();
    } else {
      std::this_thread::yield();
    }
  }
  // Closed: every index now reads as past the end. Otherwise a worker that read this round's
  // last state late could see the next round's larger count before its state and claim an index
  // of this round that doesn't exist (running the next round's task twice, and counting one task
  // too many, so that the next round never ends).
  state_.store((static_cast<uint64_t>(round) << 32) | 0xFFFFFFFFu, std::memory_order_release);
}

}  // namespace skimlet
