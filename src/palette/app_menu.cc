#include "palette/app_menu.h"

namespace skimlet {

std::vector<AppMenuItem> appMenuItems(const std::string& hotkeyTitle) {
  return {{"Open Skimlet (" + hotkeyTitle + ")", "open"},
          {"", ""},
          {"Element Inspector", "inspector"},
          {"Settings\u2026", "settings"},
          {"", ""},
          {"Quit Skimlet", "quit"}};
}

}  // namespace skimlet
