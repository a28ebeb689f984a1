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

// Generation runs hundreds of short products per token; a worker that just finished spins
// this long for the next one before it sleeps, which saves a wake-up each time.
constexpr auto kSpin = std::chrono::microseconds(200);

}  // namespace

ThreadPool& ThreadPool::shared() {
  static ThreadPool pool(static_cast<int>(std::max(1u, std::thread::hardware_concurrency())));
  return pool;
}

ThreadPool::ThreadPool(int threads) {
  for (int i = 1; i < threads; ++i) workers_.emplace_back([this] { workerLoop(); });
}

ThreadPool::~ThreadPool() {
  {
    std::lock_guard lock(mutex_);
    stop_ = true;
    generation_.fetch_add(1);
  }
  wake_.notify_all();
  for (auto& t : workers_) t.join();
}

void ThreadPool::runTasks() {
  for (;;) {
    int64_t i = next_.fetch_add(1, std::memory_order_relaxed);
    if (i >= count_) break;
    (*task_)(i);
  }
}

void ThreadPool::workerLoop() {
  uint64_t seen = 0;
  for (;;) {
    auto until = std::chrono::steady_clock::now() + kSpin;
    while (generation_.load(std::memory_order_acquire) == seen && std::chrono::steady_clock::now() < until)
      for (int k = 0; k < 64; ++k) cpuRelax();
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [&] { return generation_.load() != seen; });
      seen = generation_.load();
      if (stop_) return;
    }
    runTasks();
    busy_.fetch_sub(1, std::memory_order_acq_rel);
  }
}

void ThreadPool::parallelFor(int64_t count, const std::function<void(int64_t)>& task) {
  if (count <= 0) return;
  if (workers_.empty() || count == 1) {
    for (int64_t i = 0; i < count; ++i) task(i);
    return;
  }
  std::lock_guard call(callMutex_);
  {
    std::lock_guard lock(mutex_);
    task_ = &task;
    count_ = count;
    next_.store(0, std::memory_order_relaxed);
    busy_.store(static_cast<int>(workers_.size()), std::memory_order_relaxed);
    generation_.fetch_add(1, std::memory_order_release);
  }
  wake_.notify_all();
  runTasks();
  while (busy_.load(std::memory_order_acquire) != 0) cpuRelax();
}

}  // namespace skimlet
