// Everything Skimlet needs of the operating system, bundled. A backend builds one and hands it
// to the tracker, the engine and the palette; there are no globals, so tests build their own.
#pragma once

#include "platform/ax.h"
#include "platform/clock.h"
#include "platform/dispatch.h"
#include "platform/highlighter.h"
#include "platform/input_events.h"
#include "platform/pasteboard.h"
#include "platform/settings.h"
#include "platform/workspace.h"

namespace skimlet {

struct Platform {
  ax::Api& ax;
  Workspace& workspace;
  InputEvents& input;
  Pasteboard& pasteboard;
  Highlighter& highlighter;
  Dispatch& dispatch;
  Clock& clock;
  Settings& settings;
};

}  // namespace skimlet
