#include "menu_items.h"

namespace skimlet::desktop {

std::vector<MenuItem> menuItems(const HotkeyPreset& preset) {
  return {{"Open Skimlet (" + HotkeySettings::linuxTitle(preset) + ")", "open"},
          {"", ""},
          {"Element Inspector", "inspector"},
          {"Settings\u2026", "settings"},
          {"", ""},
          {"Quit Skimlet", "quit"}};
}

}  // namespace skimlet::desktop
