// Synthetic input to a recorded page: keys and text reach the focused field as the browser
// would deliver them (Command-A then typing replaces, Command-V pastes, Delete takes a
// character back); clicks and wheel scrolls are recorded only.
#pragma once

#include "backends/memory/recorded_browser.h"
#include "platform/input_events.h"

namespace skimlet::memory {

class RecordedInput final : public InputEvents {
 public:
  explicit RecordedInput(RecordedBrowser& browser) : browser_(browser) {}

  bool postKey(Pid pid, std::uint16_t virtualKey, std::uint64_t flags) override;
  bool postText(Pid pid, std::u16string_view units) override;
  bool postMouseClick(Point at) override;
  bool postScrollWheel(Point at, int lines) override;

 private:
  RecordedBrowser& browser_;
};

}  // namespace skimlet::memory
