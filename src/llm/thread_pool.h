// The workers that matrix bands and attention heads fan out over. One pool per process.
#pragma once

#include <atomic>
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
  void claimTasks(uint32_t round);

  std::vector<std::thread> workers_;
  std::mutex callMutex_;  // one parallelFor at a time
  // Round number (high 32 bits) and next unclaimed task (low 32 bits, all ones once the round is
  // over): a task is claimed only while its round is current, so a worker that wakes late can
  // never run a finished round's task, and nobody waits for a worker that hasn't woken.
  std::atomic<uint64_t> state_{0};
  std::atomic<const std::function<void(int64_t)>*> task_{nullptr};
  std::atomic<int64_t> count_{0};
  std::atomic<int64_t> done_{0};
  std::atomic<uint32_t> round_{0};  // what sleeping workers wait on
  std::atomic<int> sleepers_{0};
  std::atomic<bool> stop_{false};
};

}  // namespace skimlet
