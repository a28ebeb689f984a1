// The main thread of a GTK application, as the core's Dispatch: work posted from any thread
// runs on the default GLib main context, in posting order.
#pragma once

#include "platform/dispatch.h"

namespace skimlet::desktop {

class GlibDispatch final : public Dispatch {
 public:
  void toMain(std::function<void()> fn) override;
};

}  // namespace skimlet::desktop
