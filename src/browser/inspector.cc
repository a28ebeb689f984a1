#include "browser/inspector.h"

#include <cmath>

namespace skimlet::Inspector {

std::vector<PageElement> capture(ax::Api& ax, Clock& clock, const BrowserTarget& target) {
  auto window = target.window(ax);
  if (!window) return {};
  return Crawler::crawl(ax, clock, *window, limits);
}

namespace {

std::string whole(double d) { return std::to_string(static_cast<long long>(std::lround(d))); }

}  // namespace

std::string line(const PageElement& e) {
  std::string out = e.role.empty() ? "(no role)" : e.role;
  if (!e.subrole.empty()) out += " (" + e.subrole + ")";
  if (std::string label = e.label(); !label.empty()) out += " \u201c" + label + "\u201d";
  if (e.frame)
    out += " " + whole(e.frame->x) + "," + whole(e.frame->y) + " " + whole(e.frame->width) + "\u00d7" +
           whole(e.frame->height);
  if (!e.actions.empty()) {
    out += " [";
    for (std::size_t i = 0; i < e.actions.size(); ++i) out += (i ? ", " : "") + e.actions[i];
    out += "]";
  }
  if (!e.enabled) out += " disabled";
  return out;
}

}  // namespace skimlet::Inspector
