#include "page/roles.h"

namespace skimlet::Roles {

const RoleSet& clickableSet() {
  static const RoleSet set = {"AXButton",   "AXLink",        "AXCheckBox",     "AXRadioButton",
                              "AXMenuItem", "AXPopUpButton", "AXMenuButton",   "AXDisclosureTriangle",
                              "AXTab",      "AXSwitch",      "AXToolbarButton"};
  return set;
}

const RoleSet& textInputSet() {
  static const RoleSet set = {"AXTextField", "AXTextArea", "AXComboBox", "AXSearchField"};
  return set;
}

}  // namespace skimlet::Roles
