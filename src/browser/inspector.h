// The Element Inspector's view of the front browser: its window's accessibility tree within the
// inspector's limits, and one line of text per element.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "browser/browser_target.h"
#include "page/crawler.h"

namespace skimlet::Inspector {

// Shallower and smaller than a page read: the inspector is for looking around, and a window's
// tree below depth 14 is page text the snapshot shows better.
inline constexpr Crawler::Limits limits{false, 2500, 14, 4.0};

// The browser window's tree, web areas and all; empty when no window is accessible.
std::vector<PageElement> capture(ax::Api& ax, Clock& clock, const BrowserTarget& target);

// The row of the inspected tree that holds `picked`, or its nearest ancestor there (a point on
// the page usually names a text run deeper than the inspector reads); none when neither is.
std::optional<int> rowFor(ax::Api& ax, const std::vector<PageElement>& elements, const ax::ElementRef& picked);

// "AXButton (AXToggle) “Sign in” 120,40 80×24 [AXPress]": role, subrole when there is one, label
// when there is one, frame when there is one, action names when there are any.
std::string line(const PageElement& element);

}  // namespace skimlet::Inspector
