#include "interrupt.h"

#include <chrono>
#include <csignal>
#include <thread>

namespace skimlet::cli {
namespace {

// Only a flag may be touched from a signal handler; a watcher thread turns it into a stop request.
volatile std::sig_atomic_t gInterrupted = 0;
void onSignal(int) { gInterrupted = 1; }

struct sigaction gPreviousInt, gPreviousTerm, gPreviousHup;

}  // namespace

InterruptScope::InterruptScope() {
  gInterrupted = 0;
  struct sigaction sa {};
  sa.sa_handler = onSignal;
  sigemptyset(&sa.sa_mask);
  sigaction(SIGINT, &sa, &gPreviousInt);
  sigaction(SIGTERM, &sa, &gPreviousTerm);
  sigaction(SIGHUP, &sa, &gPreviousHup);
  watcher_ = std::jthread([this](std::stop_token done) {
    while (!done.stop_requested()) {
      if (gInterrupted) {
        source_.request_stop();
        return;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  });
}

InterruptScope::~InterruptScope() {
  watcher_.request_stop();
  watcher_.join();
  sigaction(SIGINT, &gPreviousInt, nullptr);
  sigaction(SIGTERM, &gPreviousTerm, nullptr);
  sigaction(SIGHUP, &gPreviousHup, nullptr);
}

}  // namespace skimlet::cli
