// Records a live accessibility tree (any ax::Api) as a recording that the memory backend can
// replay: how a page from a real browser becomes a test page or a bug report's attachment.
#pragma once

#include <optional>

#include "backends/memory/recording.h"
#include "platform/ax.h"
#include "platform/workspace.h"

namespace skimlet::memory {

struct RecordLimits {
  int maxNodes = 20000;
  int maxDepth = 120;
};

// The subtree under `root`, in the children's order. A secure text field's value is never
// recorded. Hidden elements are kept, marked hidden, with their subtrees. Nodes past the limits
// are left out; an element met twice is recorded once.
Node recordTree(ax::Api& ax, const ax::ElementRef& root, const RecordLimits& limits = {});

// The application's window (focused, else main, else the first) with its focused element marked;
// none when the application has no window. `front` is stored as given.
std::optional<Recording> record(ax::Api& ax, const RunningApp& app, bool front = true, const RecordLimits& limits = {});

}  // namespace skimlet::memory
