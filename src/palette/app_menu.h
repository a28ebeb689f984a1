// The application's menu (the menu-bar item on macOS, the status-area menu on Linux), in order.
#pragma once

#include <string>
#include <vector>

namespace skimlet {

struct AppMenuItem {
  enum class Action { openPalette, inspector, settings, quit, separator };
  Action action = Action::separator;
  std::string title;  // empty for a separator
};

// "Open Skimlet (⌥ Space)", a divider, "Element Inspector", "Settings…", a divider,
// "Quit Skimlet". `hotkeyTitle` is the preset's title as this desktop writes it.
std::vector<AppMenuItem> appMenu(const std::string& hotkeyTitle);

// The Inspector window's title.
inline constexpr const char* kInspectorTitle = "Skimlet Inspector";

}  // namespace skimlet
