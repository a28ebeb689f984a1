// Synthetic keys, text and mouse input on the X display through the XTest extension. Keys go to
// whatever window has the focus, so the target browser's window is brought to the front first.
// Characters that the keyboard map lacks are typed through a spare key code mapped to them for
// the moment.
#pragma once

#include <X11/Xlib.h>

#include <unordered_map>
#include <vector>

#include "backends/atspi/x_display.h"
#include "platform/input_events.h"
#include "platform/workspace.h"

namespace skimlet::atspi {

class XTestInput : public InputEvents {
 public:
  // x may be null (no display): then nothing can be posted.
  XTestInput(XDisplay* x, Workspace& workspace);
  // Gives the borrowed key codes back to the keyboard map.
  ~XTestInput() override;

  bool postKey(Pid pid, std::uint16_t virtualKey, std::uint64_t flags) override;
  bool postText(Pid pid, std::u16string_view units) override;
  bool postMouseClick(Point at) override;
  bool postScrollWheel(Point at, int lines) override;
  std::string keyName(std::uint16_t virtualKey, std::uint64_t flags) const override;

 private:
  void bringToFront(Pid pid);
  // Presses and releases the key for a keysym, with Shift when the keyboard map has the
  // symbol on its shifted level. Call with the display locked.
  void typeSym(KeySym sym);
  void tap(KeyCode code, bool shift);

  XDisplay* x_;
  Workspace& workspace_;
  std::vector<KeyCode> spare_;  // key codes with no symbols, borrowed for unmapped characters
  std::size_t nextSpare_ = 0;
  std::unordered_map<KeySym, KeyCode> borrowed_;  // what each borrowed code types now
};

}  // namespace skimlet::atspi
