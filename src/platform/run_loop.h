// A main-thread queue for platforms without one of their own (the command-line tool, tests).
//
// Any thread may post work with toMain(); exactly one thread, the one that plays the main thread,
// drains it with runPending(), runUntil() or run(). Work runs in posting order, one item at a
// time, never while the queue's lock is held, so an item may post further work (it runs on a
// later turn of the same drain). Work still queued when the loop is destroyed is dropped.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

#include "platform/dispatch.h"

namespace skimlet {

class RunLoop final : public Dispatch {
 public:
  void toMain(std::function<void()> fn) override;

  // Runs what is queued now, and what that work queues in turn, until the queue is empty.
  // Returns the number of items run.
  int runPending();
  // Runs work as it arrives until pred() holds or `timeout` seconds pass; returns pred()'s last
  // answer. pred() is checked after each turn of work and every few milliseconds while none
  // comes, so it may watch what other threads do without posting.
  bool runUntil(const std::function<bool()>& pred, double timeout);
  // Runs work as it arrives until quit() is called (from any thread, or from the work itself).
  void run();
  void quit();

 private:
  bool popOne(std::function<void()>& out);

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> queue_;
  bool quit_ = false;
};

}  // namespace skimlet
