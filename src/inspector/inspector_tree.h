// What the Element Inspector shows: the accessibility tree of the front browser window as the
// crawler reads it (a bounded walk, so a huge page cannot freeze the window), with each
// element's columns as text and the element under a screen point for picking by click.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "browser/browser_target.h"
#include "page/page_element.h"
#include "platform/ax.h"
#include "platform/clock.h"

namespace skimlet {

namespace InspectorTree {

inline constexpr int maxDepth = 14;
inline constexpr int maxNodes = 2500;

// The front window's tree in pre-order; each element's parent comes before it. Empty when the
// browser has no window that accessibility can reach.
std::vector<PageElement> read(ax::Api& ax, Clock& clock, const BrowserTarget& target);

// The inspector's columns for one element.
struct Row {
  std::string role;
  std::string subrole;
  std::string label;
  std::string frame;    // "x 10, y 20, 300 × 40", empty when the element has none
  std::string actions;  // "AXPress, AXShowMenu"
};
Row row(const PageElement& element);

// The element a click at `point` (accessibility screen coordinates) means: the smallest frame
// containing it, the deeper one among equals, since containers enclose what they hold.
std::optional<int> elementAt(const std::vector<PageElement>& elements, Point point);

}  // namespace InspectorTree

}  // namespace skimlet
