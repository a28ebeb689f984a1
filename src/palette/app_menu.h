// The application's menu (the status-area menu on Linux, the menu-bar extra on macOS), in order,
// as data: each shell builds its menu from this list.
#pragma once

#include <string>
#include <vector>

namespace skimlet {

struct AppMenuItem {
  std::string label;   // empty for a divider
  std::string action;  // the application action it activates ("open", "inspector", ...)
};

// "Open Skimlet (<hotkey>)", divider, "Element Inspector", "Settings…", divider, "Quit Skimlet";
// `hotkeyTitle` is the preset's title as the platform writes it ("Alt+Space", "⌥ Space").
std::vector<AppMenuItem> appMenuItems(const std::string& hotkeyTitle);

}  // namespace skimlet
