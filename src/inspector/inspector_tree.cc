#include "inspector/inspector_tree.h"

#include <cmath>

#include "page/crawler.h"

namespace skimlet::InspectorTree {

std::vector<PageElement> read(ax::Api& ax, Clock& clock, const BrowserTarget& target) {
  auto window = target.window(ax);
  if (!window) return {};
  // Depth counts from 0 at the window.
  const Crawler::Limits limits{false, maxNodes, maxDepth, 4.0};
  return Crawler::crawl(ax, clock, *window, limits);
}

Row row(const PageElement& e) {
  Row r{e.role, e.subrole, e.label(), "", ""};
  if (e.frame) {
    auto n = [](double v) { return std::to_string(static_cast<long>(std::lround(v))); };
    r.frame = "x " + n(e.frame->x) + ", y " + n(e.frame->y) + ", " + n(e.frame->width) + " × " + n(e.frame->height);
  }
  for (const auto& a : e.actions) r.actions += (r.actions.empty() ? "" : ", ") + a;
  return r;
}

std::optional<int> elementAt(const std::vector<PageElement>& elements, Point p) {
  std::optional<int> best;
  double bestArea = 0;
  for (const auto& e : elements) {
    if (!e.frame || !e.frame->hasArea()) continue;
    const Rect& f = *e.frame;
    if (p.x < f.x || p.y < f.y || p.x >= f.x + f.width || p.y >= f.y + f.height) continue;
    const double area = f.width * f.height;
    // Pre-order puts descendants after their ancestors, so "<=" prefers the deeper of equals.
    if (!best || area <= bestArea) {
      best = e.id;
      bestArea = area;
    }
  }
  return best;
}

}  // namespace skimlet::InspectorTree
