// Everything Skimlet needs of macOS, wired into one Platform for the application to hand to the
// tracker, the engine and the palette. One per process, made on the main thread.
#pragma once

#include "backends/mac/mac_ax.h"
#include "backends/mac/mac_highlighter.h"
#include "backends/mac/mac_input.h"
#include "backends/mac/mac_pasteboard.h"
#include "backends/mac/mac_workspace.h"
#include "backends/mac/main_queue_dispatch.h"
#include "backends/mac/user_defaults_settings.h"
#include "platform/platform.h"
#include "platform/system_clock.h"

namespace skimlet::mac {

class MacSession {
 public:
  Platform platform() {
    return Platform{ax_, workspace_, input_, pasteboard_, highlighter_, dispatch_, clock_, settings_};
  }
  MacWorkspace& workspace() { return workspace_; }
  Settings& settings() { return settings_; }

 private:
  MacAx ax_;
  MacWorkspace workspace_;
  MacInput input_;
  MacPasteboard pasteboard_;
  MacHighlighter highlighter_;
  MainQueueDispatch dispatch_;
  SystemClock clock_;
  UserDefaultsSettings settings_;
};

}  // namespace skimlet::mac
