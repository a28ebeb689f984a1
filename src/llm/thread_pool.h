// The workers that matrix bands and attention heads fan out over. One pool per process.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace skimlet {

class ThreadPool {
 public:
  // The process-wide pool, one thread per core (the caller counts as one).
  static ThreadPool& shared();

  explicit ThreadPool(int threads);
  ~ThreadPool();
  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;

  // Calls task(i) for i in [0, count) on the workers and the caller; returns when all are done.
  // Tasks must not call parallelFor themselves.
  void parallelFor(int64_t count, const std::function<void(int64_t)>& task);
  int threads() const { return static_cast<int>(workers_.size()) + 1; }

 private:
  void workerLoop();
  void runTasks();

  std::vector<std::thread> workers_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::mutex callMutex_;  // one parallelFor at a time
  const std::function<void(int64_t)>* task_ = nullptr;
  int64_t count_ = 0;
  std::atomic<int64_t> next_{0};
  std::atomic<int> busy_{0};
  std::atomic<uint64_t> generation_{0};
  bool stop_ = false;
};

}  // namespace skimlet
