// A bounded depth-first walk of an accessibility subtree into a flat list of page elements in
// document order.
#pragma once

#include <vector>

#include "page/page_element.h"
#include "platform/ax.h"
#include "platform/clock.h"

namespace skimlet::Crawler {

struct Limits {
  // Record a web area met below the root but leave its contents for a crawl of its own.
  bool stopAtWebArea = false;
  int maxNodes = 6000;
  int maxDepth = 80;
  double timeLimit = 6.0;  // seconds, checked once per element
};

// The browser window, down to (and including) its web areas: toolbars, tabs, buttons.
inline constexpr Limits windowLimits{true, 3000, 40, 4.0};
// The page inside the chosen web area.
inline constexpr Limits pageLimits{false, 6000, 80, 6.0};

// Values longer than this many characters are cut, so a huge text area or code block cannot
// blow up memory or later text processing. Characters are grapheme clusters, as everywhere else.
inline constexpr int maxValueLength = 20000;

// Pre-order walk from `root` in the children's order. Each element's id is its index in the
// result and its parent's id is always smaller. Hidden elements and everything under them are
// left out; a secure text field's value is never read; an element reachable twice is visited
// once. Stops silently at the node or time limit, returning what it has.
std::vector<PageElement> crawl(ax::Api& ax, Clock& clock, const ax::ElementRef& root, const Limits& limits);

// Whether the crawl asks for an element's action names (a second round trip), by role: the
// clickable roles and the containers that pages commonly make clickable. Never plain text runs.
bool readsActions(std::string_view role);

}  // namespace skimlet::Crawler
