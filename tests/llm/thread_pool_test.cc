#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "llm/thread_pool.h"

namespace skimlet {
namespace {

// Many short rounds back to back, as generation runs them, on more workers than cores so that
// some wake only after their round is over: every index runs exactly once per round and a
// round's results are all there when parallelFor returns.
TEST(ThreadPool, EveryTaskRunsOnceEvenWithLateWorkers) {
  ThreadPool pool(static_cast<int>(std::thread::hardware_concurrency()) + 3);
  std::vector<std::atomic<int>> hits(97);
  for (int round = 0; round < 3000; ++round) {
    const int64_t count = 1 + round % 97;
    pool.parallelFor(count, [&](int64_t i) { hits[i].fetch_add(1, std::memory_order_relaxed); });
    for (int64_t i = 0; i < count; ++i) ASSERT_EQ(hits[i].exchange(0), 1) << "round " << round << " task " << i;
    for (int64_t i = count; i < 97; ++i) ASSERT_EQ(hits[i].load(), 0) << "round " << round << " task " << i;
  }
}

// Workers that fell asleep between rounds are woken for the next one.
TEST(ThreadPool, SleepingWorkersWakeForTheNextRound) {
  ThreadPool pool(3);
  for (int round = 0; round < 3; ++round) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    std::atomic<int> sum{0};
    pool.parallelFor(1000, [&](int64_t i) { sum.fetch_add(static_cast<int>(i)); });
    EXPECT_EQ(sum.load(), 999 * 1000 / 2);
  }
}

}  // namespace
}  // namespace skimlet
