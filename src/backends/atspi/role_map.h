// How the desktop's accessibility roles and states (AT-SPI) read as the AX roles, subroles and
// attributes that Skimlet's core understands: the same vocabulary the macOS interface uses.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace skimlet::atspi {

// AT-SPI's state bits, as GetState returns them (two 32-bit words).
struct States {
  std::uint32_t low = 0, high = 0;
  bool has(int state) const { return state < 32 ? (low >> state) & 1u : (high >> (state - 32)) & 1u; }
};

enum class NamePlacement { title, description, none };

struct AxRole {
  std::string role;     // e.g. "AXButton"
  std::string subrole;  // e.g. "AXSearchField"
  NamePlacement name = NamePlacement::description;
  bool leaf = false;  // its text is its value, not text runs of its own
};

// Facts beyond the role that decide between AX roles.
struct RoleContext {
  States states;
  std::string_view inputType;  // the "text-input-type" object attribute
  std::string_view xmlRoles;   // the "xml-roles" object attribute (ARIA roles)
};

// `role` is AT-SPI's role number (AtspiRole).
AxRole mapRole(std::uint32_t role, const RoleContext& context);

// Whether elements of this AX role are controls that can be disabled: only those read as
// disabled when the desktop does not call them enabled.
bool isControl(std::string_view axRole);

// Whether AT-SPI objects of this role carry readable text (so their Text interface is asked).
// A password field is asked too: browsers answer with one bullet per character, which tells
// whether typing reached it without revealing anything.
bool mayHoldText(std::uint32_t role);

}  // namespace skimlet::atspi
