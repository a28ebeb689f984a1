// Handing work to the main thread, where the palette's state lives.
#pragma once

#include <functional>

namespace skimlet {

class Dispatch {
 public:
  virtual ~Dispatch() = default;
  // Runs fn later on the main thread, in submission order. May be called from any thread.
  virtual void toMain(std::function<void()> fn) = 0;
};

}  // namespace skimlet
