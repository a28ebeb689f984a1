// Writes what the accessibility interface shows of a browser window as a recording, the JSON
// format that the recorded-page backend replays, so that real pages become tests and bug
// reports. Works on any ax::Api, live or recorded.
#pragma once

#include <nlohmann/json.hpp>

#include "platform/ax.h"
#include "platform/workspace.h"

namespace skimlet::chromium {

struct RecordLimits {
  int maxNodes = 8000;
  int maxDepth = 120;
};

// The application's focused window (else main, else first) as a recording with its app and
// front flag; null when the application has no window.
nlohmann::json recordApplication(ax::Api& ax, const RunningApp& app, bool front = true,
                                 const RecordLimits& limits = {});
// One element and everything below it as a recording node.
nlohmann::json recordNode(ax::Api& ax, const ax::ElementRef& element, const ax::ElementRef& focused,
                          const RecordLimits& limits = {});

}  // namespace skimlet::chromium
