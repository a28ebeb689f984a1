// Work handed to the main thread through its dispatch queue, which AppKit's run loop drains.
#pragma once

#include "platform/dispatch.h"

namespace skimlet::mac {

class MainQueueDispatch final : public Dispatch {
 public:
  void toMain(std::function<void()> fn) override;
};

}  // namespace skimlet::mac
