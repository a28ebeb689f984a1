// Ctrl-C for long-running subcommands: instead of killing the process, it asks the work in hand
// to stop, so that it can clean up (a partial download) or end the way it would anyway.
#pragma once

#include <stop_token>
#include <thread>

namespace skimlet::cli {

// While alive, SIGINT, SIGTERM and SIGHUP (the terminal closed) request a stop on `stopToken()` instead of ending the process;
// the previous handlers come back afterwards. One at a time.
class InterruptScope {
 public:
  InterruptScope();
  ~InterruptScope();
  InterruptScope(const InterruptScope&) = delete;
  InterruptScope& operator=(const InterruptScope&) = delete;

  std::stop_token stopToken() const { return source_.get_token(); }
  bool interrupted() const { return source_.stop_requested(); }

 private:
  std::stop_source source_;
  std::jthread watcher_;
};

}  // namespace skimlet::cli
