// The pasteboard of a recorded page: held in memory; every copy is recorded.
#pragma once

#include "backends/memory/recorded_browser.h"
#include "platform/pasteboard.h"

namespace skimlet::memory {

class RecordedPasteboard final : public Pasteboard {
 public:
  explicit RecordedPasteboard(RecordedBrowser& browser) : browser_(browser) {}

  void clear() override {
    browser_.with([](BrowserState& s) { s.pasteboard.reset(); });
  }
  bool setString(const std::string& text) override {
    browser_.with([&](BrowserState& s) {
      s.pasteboard = text;
      s.log.pasteboard(text);
    });
    return true;
  }
  std::optional<std::string> string() override {
    return browser_.with([](BrowserState& s) { return s.pasteboard; });
  }

 private:
  RecordedBrowser& browser_;
};

}  // namespace skimlet::memory
