// The keys Skimlet's flows press (macOS virtual key codes and modifier flags, as the core speaks)
// as a Linux browser understands them: Command shortcuts become their Control or Alt
// equivalents (back and forward are Alt+Left and Alt+Right, tab N is Alt+N), and every key has
// the name it is shown with in "Why?" lines.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace skimlet::atspi {

struct KeyStroke {
  std::vector<unsigned long> modifiers;  // X keysyms held down, in order
  unsigned long key = 0;                 // X keysym pressed
  std::string name;                      // e.g. "Ctrl+Shift+Tab", "Alt+Left"
  bool operator==(const KeyStroke&) const = default;
};

// None for key codes Skimlet does not know.
std::optional<KeyStroke> linuxKeyFor(std::uint16_t virtualKey, std::uint64_t flags);

}  // namespace skimlet::atspi
