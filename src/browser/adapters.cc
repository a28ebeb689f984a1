#include "browser/adapters.h"

#include <limits>

namespace skimlet {

void ChromiumAdapter::prepare(ax::Api& ax, const ax::ElementRef& app) const {
  // Failures are ignored: a browser that refuses simply keeps the tree it has.
  ax.setAttributeValue(app, "AXManualAccessibility", ax::Value(true));
  ax.setAttributeValue(app, "AXEnhancedUserInterface", ax::Value(true));
}

std::optional<PageElement> BrowserAdapter::pickWebArea(const std::vector<PageElement>& webAreas) const {
  const PageElement* best = nullptr;
  double bestArea = -std::numeric_limits<double>::infinity();
  for (const auto& area : webAreas) {
    double size = area.frame ? area.frame->width * area.frame->height : 0;
    if (size > bestArea) {  // strictly larger: the earlier of equals stays
      best = &area;
      bestArea = size;
    }
  }
  if (!best) return std::nullopt;
  return *best;
}

}  // namespace skimlet
