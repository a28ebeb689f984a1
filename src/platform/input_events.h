// Synthetic keyboard and mouse input (Quartz event services on macOS).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/ax.h"

namespace skimlet {

// Modifier flags in the CGEventFlags convention.
namespace keyflags {
inline constexpr std::uint64_t none = 0;
inline constexpr std::uint64_t shift = 0x20000;
inline constexpr std::uint64_t control = 0x40000;
inline constexpr std::uint64_t controlShift = 0x60000;
inline constexpr std::uint64_t command = 0x100000;
}  // namespace keyflags

// Virtual key codes in the macOS convention (key positions on an ANSI keyboard), the codes every
// backend is handed and translates from.
namespace keycode {
inline constexpr std::uint16_t a = 0;
inline constexpr std::uint16_t v = 9;
inline constexpr std::uint16_t w = 13;
inline constexpr std::uint16_t returnKey = 36;
inline constexpr std::uint16_t tab = 48;
inline constexpr std::uint16_t space = 49;
inline constexpr std::uint16_t deleteBackward = 51;
inline constexpr std::uint16_t escape = 53;
inline constexpr std::uint16_t keypadEnter = 76;
inline constexpr std::uint16_t home = 115;
inline constexpr std::uint16_t pageUp = 116;
inline constexpr std::uint16_t deleteForward = 117;
inline constexpr std::uint16_t end = 119;
inline constexpr std::uint16_t pageDown = 121;
inline constexpr std::uint16_t left = 123;
inline constexpr std::uint16_t right = 124;
inline constexpr std::uint16_t down = 125;
inline constexpr std::uint16_t up = 126;
// The digits 1 to 9 of the main row, in order (their codes are not).
inline constexpr std::uint16_t digits[9] = {18, 19, 20, 21, 23, 22, 26, 28, 25};
}  // namespace keycode

class InputEvents {
 public:
  virtual ~InputEvents() = default;
  // A key-down then key-up of a virtual key with flags, from an event source in the HID system
  // state, posted to the process. False when the events could not be created (nothing posted).
  virtual bool postKey(Pid pid, std::uint16_t virtualKey, std::uint64_t flags) = 0;
  // A key-down then key-up of virtual key 0 carrying the given UTF-16 code units as their
  // Unicode string, posted to the process: how one user-perceived character is typed.
  virtual bool postText(Pid pid, std::u16string_view units) = 0;
  // A left-mouse-down then up at a screen point, posted to the HID event tap.
  virtual bool postMouseClick(Point at) = 0;
  // A scroll-wheel event of the given number of lines (positive scrolls down) over a point.
  virtual bool postScrollWheel(Point at, int lines) = 0;
  // How the key that postKey sends for these arguments is written for the user, e.g. "⌘W" on
  // macOS; a backend that sends another key (Control-W on Linux) names that one.
  virtual std::string keyName(std::uint16_t virtualKey, std::uint64_t flags) const;
};

}  // namespace skimlet
