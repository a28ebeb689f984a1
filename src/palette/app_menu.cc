#include "palette/app_menu.h"

namespace skimlet {

std::vector<AppMenuItem> appMenu(const std::string& hotkeyTitle) {
  using A = AppMenuItem::Action;
  return {
      {A::openPalette, "Open Skimlet (" + hotkeyTitle + ")"},
      {A::separator, ""},
      {A::inspector, "Element Inspector"},
      {A::settings, "Settings\u2026"},
      {A::separator, ""},
      {A::quit, "Quit Skimlet"},
  };
}

}  // namespace skimlet
