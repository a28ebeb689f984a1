// Where the highlight outline goes and when it may be hidden. The accessibility interface gives
// frames with the origin at the top left of the main screen, y growing down; AppKit places
// windows with the origin at the bottom left of that screen, y growing up.
#pragma once

#include <cstdint>

#include "platform/geometry.h"

namespace skimlet::mac {

// The outline window's frame in AppKit screen coordinates: the element's frame grown by
// `margin` on every side (so the outline does not cover its edge), flipped against the height
// of the main screen.
Rect overlayFrame(Rect axFrame, double mainScreenHeight, double margin);

// A point AppKit reports (the mouse location, say) in accessibility coordinates.
Point axPoint(Point appKit, double mainScreenHeight);

// Every show supersedes the hides scheduled before it: a timer fires with the token of the show
// that scheduled it and hides the outline only if no show or hide came since.
class OverlayTokens {
 public:
  std::uint64_t shown() { return ++current_; }
  void hidden() { ++current_; }
  bool stillCurrent(std::uint64_t token) const { return token == current_; }

 private:
  std::uint64_t current_ = 0;
};

}  // namespace skimlet::mac
