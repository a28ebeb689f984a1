// The four global hotkeys a user can choose between, and which one is in force. The presets are
// written in the Carbon event manager's terms (virtual key code, modifier mask), which is what
// macOS registers; Linux desktops get the same choice spelled as a GTK accelerator, with the
// Command key on the key that sits where it does on a PC keyboard (Super).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/settings.h"

namespace skimlet {

struct HotkeyPreset {
  int id = 0;
  std::string title;           // as macOS menus write it: "⌥ Space"
  std::uint32_t keyCode = 49;  // Space
  std::uint32_t modifiers = 0;
};

namespace hotkeymods {
inline constexpr std::uint32_t command = 0x100;
inline constexpr std::uint32_t shift = 0x200;
inline constexpr std::uint32_t option = 0x800;
inline constexpr std::uint32_t control = 0x1000;
}  // namespace hotkeymods

namespace HotkeySettings {

// The settings key holding the chosen preset's id.
inline constexpr std::string_view settingsKey = "hotkeyPreset";

const std::vector<HotkeyPreset>& presets();
// The stored preset; an absent or unknown id is preset 0.
HotkeyPreset current(Settings& settings);

// "<Alt>space", "<Super><Shift>space": the preset as gtk_accelerator_parse and keybinder read it.
std::string linuxAccelerator(const HotkeyPreset& preset);
// "Alt+Space", "Super+Shift+Space": the preset as Linux menus and settings write it.
std::string linuxTitle(const HotkeyPreset& preset);

}  // namespace HotkeySettings

}  // namespace skimlet
