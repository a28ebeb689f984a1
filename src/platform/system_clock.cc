#include "platform/system_clock.h"

#include <chrono>
#include <thread>

namespace skimlet {

double SystemClock::now() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

void SystemClock::sleep(double seconds) {
  if (seconds > 0) std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

}  // namespace skimlet
