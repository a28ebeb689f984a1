// Taking a PageSnapshot of a browser: it lives with the browser code because it needs the
// target's window and the adapter's choice of web area.
#pragma once

#include <optional>

#include "browser/browser_target.h"
#include "page/page_snapshot.h"
#include "platform/platform.h"

namespace skimlet {

// Two crawls of the target's window plus a few reads; none when it has no accessible window.
std::optional<PageSnapshot> captureSnapshot(const BrowserTarget& target, const Platform& platform);

}  // namespace skimlet
