// The real clock: a monotonic time source and a sleep that really waits.
#pragma once

#include "platform/clock.h"

namespace skimlet {

class SystemClock final : public Clock {
 public:
  double now() override;
  void sleep(double seconds) override;
};

}  // namespace skimlet
