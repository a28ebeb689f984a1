// The page highlight: an outline drawn in a borderless window that ignores the mouse, never
// becomes key or active, and floats over every space, so the browser keeps focus and clicks.
#pragma once

#include <memory>

#include "platform/highlighter.h"

namespace skimlet::mac {

class MacHighlighter final : public Highlighter {
 public:
  MacHighlighter();
  ~MacHighlighter() override;
  // Both may be called from any thread; the window is only touched on the main thread.
  void show(Rect axFrame, double seconds) override;
  void hide() override;

 private:
  struct Window;
  std::shared_ptr<Window> window_;
};

}  // namespace skimlet::mac
