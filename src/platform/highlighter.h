// The on-screen outline drawn over a page element while Skimlet acts on it.
#pragma once

#include "platform/geometry.h"

namespace skimlet {

class Highlighter {
 public:
  virtual ~Highlighter() = default;
  // Outlines a frame given in accessibility screen coordinates; hides it again after `seconds`
  // unless another show or hide comes first.
  virtual void show(Rect axFrame, double seconds) = 0;
  // Removes the outline now and cancels a pending hide.
  virtual void hide() = 0;
};

}  // namespace skimlet
