#include "backends/mac/overlay_placement.h"

namespace skimlet::mac {

Rect overlayFrame(Rect ax, double mainScreenHeight, double margin) {
  return Rect{ax.x - margin, mainScreenHeight - (ax.y + ax.height) - margin, ax.width + 2 * margin,
              ax.height + 2 * margin};
}

Point axPoint(Point appKit, double mainScreenHeight) { return Point{appKit.x, mainScreenHeight - appKit.y}; }

}  // namespace skimlet::mac
