// The status-area menu, in order, as data: the GTK shell builds its menu from this list and
// the tests check it without a display.
#pragma once

#include <string>
#include <vector>

#include "palette/hotkey_settings.h"

namespace skimlet::desktop {

struct MenuItem {
  std::string label;   // empty for a divider
  std::string action;  // the application action it activates ("open", "inspector", ...)
};

// "Open Skimlet (Alt+Space)", divider, "Element Inspector", "Settings…", divider, "Quit Skimlet".
std::vector<MenuItem> menuItems(const HotkeyPreset& preset);

}  // namespace skimlet::desktop
