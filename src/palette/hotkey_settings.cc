#include "palette/hotkey_settings.h"

#include <utility>

namespace skimlet::HotkeySettings {

namespace {

// Linux names of the modifier bits, in the order desktops print them.
const std::pair<std::uint32_t, const char*> kLinuxModifiers[] = {
    {hotkeymods::control, "Ctrl"},
    {hotkeymods::option, "Alt"},
    {hotkeymods::command, "Super"},
    {hotkeymods::shift, "Shift"},
};

}  // namespace

const std::vector<HotkeyPreset>& presets() {
  static const std::vector<HotkeyPreset> all = {
      {0, "\u2325 Space", 49, hotkeymods::option},
      {1, "\u2303 Space", 49, hotkeymods::control},
      {2, "\u2318\u21e7 Space", 49, hotkeymods::command | hotkeymods::shift},
      {3, "\u2325\u2318 Space", 49, hotkeymods::option | hotkeymods::command},
  };
  return all;
}

HotkeyPreset current(Settings& settings) {
  std::int64_t id = settings.integer(settingsKey).value_or(0);
  for (const auto& preset : presets()) {
    if (preset.id == id) return preset;
  }
  return presets().front();
}

std::string linuxAccelerator(const HotkeyPreset& preset) {
  std::string out;
  for (const auto& [bit, name] : kLinuxModifiers) {
    if (preset.modifiers & bit) out += "<" + std::string(name) + ">";
  }
  return out + "space";
}

std::string linuxTitle(const HotkeyPreset& preset) {
  std::string out;
  for (const auto& [bit, name] : kLinuxModifiers) {
    if (preset.modifiers & bit) out += std::string(name) + "+";
  }
  return out + "Space";
}

}  // namespace skimlet::HotkeySettings
