// Time as the core sees it. Tests use a clock whose sleeps return at once and advance it, so
// the waits that let a live browser settle cost nothing there.
#pragma once

namespace skimlet {

class Clock {
 public:
  virtual ~Clock() = default;
  // Monotonic seconds from an arbitrary origin.
  virtual double now() = 0;
  virtual void sleep(double seconds) = 0;
};

}  // namespace skimlet
