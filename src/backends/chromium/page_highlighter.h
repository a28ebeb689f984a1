// The highlight outline drawn into the live page itself: a fixed-position box over the frame,
// hidden from the accessibility tree and from the mouse, removed by the page after its time.
#pragma once

#include "backends/chromium/live_browser.h"
#include "platform/highlighter.h"

namespace skimlet::chromium {

class PageHighlighter : public Highlighter {
 public:
  explicit PageHighlighter(LiveBrowser& browser) : browser_(browser) {}
  void show(Rect axFrame, double seconds) override;
  void hide() override;

 private:
  LiveBrowser& browser_;
};

}  // namespace skimlet::chromium
