// Time that passes only when told to: the clock of recorded pages and tests, where the waits
// that let a live browser settle must cost nothing.
#pragma once

#include <mutex>

#include "platform/clock.h"

namespace skimlet {

class VirtualClock final : public Clock {
 public:
  double now() override;
  void sleep(double seconds) override;  // returns at once, `seconds` later
  void advance(double seconds);

 private:
  std::mutex mutex_;
  double now_ = 1000.0;
};

}  // namespace skimlet
