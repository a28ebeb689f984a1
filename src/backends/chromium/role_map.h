// How a desktop browser on macOS exposes each role of Chromium's accessibility tree: the AX role
// and subrole, and where the accessible name goes.
#pragma once

#include <string>
#include <string_view>

namespace skimlet::chromium {

enum class NamePlacement { title, description, value, none };

struct AxRole {
  std::string role;     // e.g. "AXButton"; empty: the node is not exposed (its subtree neither)
  std::string subrole;  // e.g. "AXSearchField"
  NamePlacement name = NamePlacement::description;
  bool leaf = false;  // whether the node's children are part of the control, not exposed
};

// Facts from the DOM that decide between roles Chromium reports alike.
struct RoleContext {
  std::string_view tagName;    // upper case, e.g. "INPUT"
  std::string_view inputType;  // the type attribute, lower case
  bool multiline = false;
  bool editable = false;  // an editable combobox is a text field, a <select> is not
};

AxRole mapRole(std::string_view cdpRole, const RoleContext& context);

}  // namespace skimlet::chromium
