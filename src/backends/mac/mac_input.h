// Synthetic input through Quartz event services: key presses and typed text posted to one
// process, mouse clicks and scrolling posted to the HID event tap. Every event comes from a new
// event source in the HID system state, as if from the keyboard and mouse themselves.
#pragma once

#include "platform/input_events.h"

namespace skimlet::mac {

class MacInput final : public InputEvents {
 public:
  bool postKey(Pid pid, std::uint16_t virtualKey, std::uint64_t flags) override;
  bool postText(Pid pid, std::u16string_view units) override;
  bool postMouseClick(Point at) override;
  bool postScrollWheel(Point at, int lines) override;
};

}  // namespace skimlet::mac
