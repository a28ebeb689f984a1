#include "platform/virtual_clock.h"

namespace skimlet {

double VirtualClock::now() {
  std::lock_guard lock(mutex_);
  return now_;
}
void VirtualClock::sleep(double seconds) { advance(seconds); }
void VirtualClock::advance(double seconds) {
  if (!(seconds > 0)) return;
  std::lock_guard lock(mutex_);
  now_ += seconds;
}

}  // namespace skimlet
