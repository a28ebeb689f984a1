#include "palette/hotkey_settings.h"

#include <gtest/gtest.h>

#include "platform/memory_settings.h"

namespace skimlet {
namespace {

TEST(HotkeySettings, StoredIdPicksThePresetAndUnknownIdsFallBackToTheFirst) {
  MemorySettings settings;
  EXPECT_EQ(HotkeySettings::current(settings).title, "\u2325 Space");
  settings.setInteger("hotkeyPreset", 2);
  HotkeyPreset chosen = HotkeySettings::current(settings);
  EXPECT_EQ(chosen.id, 2);
  EXPECT_EQ(chosen.modifiers, 0x300u);
  for (std::int64_t unknown : {7, -1}) {
    settings.setInteger("hotkeyPreset", unknown);
    HotkeyPreset fallback = HotkeySettings::current(settings);
    EXPECT_EQ(fallback.id, 0);
    EXPECT_EQ(fallback.keyCode, 49u);
    EXPECT_EQ(fallback.modifiers, 0x800u);
  }
}

TEST(HotkeySettings, LinuxSpellingsNameEveryModifierOnce) {
  std::vector<std::pair<std::string, std::string>> got;
  for (const auto& preset : HotkeySettings::presets()) {
    got.emplace_back(HotkeySettings::linuxAccelerator(preset), HotkeySettings::linuxTitle(preset));
  }
  EXPECT_EQ(got, (std::vector<std::pair<std::string, std::string>>{
                     {"<Alt>space", "Alt+Space"},
                     {"<Ctrl>space", "Ctrl+Space"},
                     {"<Super><Shift>space", "Super+Shift+Space"},
                     {"<Alt><Super>space", "Alt+Super+Space"},
                 }));
}

}  // namespace
}  // namespace skimlet
