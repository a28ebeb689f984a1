// The highlight over a recorded page: remembers the frame it shows, for tests to read back.
#pragma once

#include "backends/memory/recorded_browser.h"
#include "platform/highlighter.h"

namespace skimlet::memory {

class RecordedHighlighter final : public Highlighter {
 public:
  explicit RecordedHighlighter(RecordedBrowser& browser) : browser_(browser) {}

  void show(Rect axFrame, double seconds) override {
    browser_.with([&](BrowserState& s) { s.highlight = axFrame; });
  }
  void hide() override {
    browser_.with([](BrowserState& s) { s.highlight.reset(); });
  }

 private:
  RecordedBrowser& browser_;
};

}  // namespace skimlet::memory
