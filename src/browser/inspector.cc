#include "browser/inspector.h"

#include <cmath>

#include "page/ax_helpers.h"

namespace skimlet::Inspector {

std::vector<PageElement> capture(ax::Api& ax, Clock& clock, const BrowserTarget& target) {
  auto window = target.window(ax);
  if (!window) return {};
  return Crawler::crawl(ax, clock, *window, limits);
}

std::optional<int> rowFor(ax::Api& ax, const std::vector<PageElement>& elements, const ax::ElementRef& picked) {
  // Bounded, since a broken tree could make a parent chain that never ends.
  std::optional<ax::ElementRef> e = picked;
  for (int hops = 0; e && *e && hops < 64; ++hops, e = AX::parent(ax, *e)) {
    for (const PageElement& candidate : elements)
      if (candidate.element == *e) return candidate.id;
  }
  return std::nullopt;
}

namespace {

std::string whole(double d) { return std::to_string(static_cast<long long>(std::lround(d))); }

}  // namespace

std::string line(const PageElement& e) {
  // Appended piece by piece: GCC 12 warns falsely about "literal" + temporary string.
  std::string out = e.role.empty() ? "(no role)" : e.role;
  if (!e.subrole.empty()) out.append(" (").append(e.subrole).append(")");
  if (std::string label = e.label(); !label.empty()) out.append(" \u201c").append(label).append("\u201d");
  if (e.frame) {
    out.append(" ").append(whole(e.frame->x)).append(",").append(whole(e.frame->y));
    out.append(" ").append(whole(e.frame->width)).append("\u00d7").append(whole(e.frame->height));
  }
  for (std::size_t i = 0; i < e.actions.size(); ++i) out.append(i ? ", " : " [").append(e.actions[i]);
  if (!e.actions.empty()) out.append("]");
  if (!e.enabled) out.append(" disabled");
  return out;
}

}  // namespace skimlet::Inspector
