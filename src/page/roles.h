// The two fixed role sets that tell controls from text everywhere in Skimlet.
#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

namespace skimlet::Roles {

struct RoleHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
};
using RoleSet = std::unordered_set<std::string, RoleHash, std::equal_to<>>;

// The 11 roles that act when pressed: buttons, links, check boxes, tabs and the like.
const RoleSet& clickableSet();
// The 4 roles that take typed text.
const RoleSet& textInputSet();

inline bool clickable(std::string_view role) { return clickableSet().contains(role); }
inline bool textInput(std::string_view role) { return textInputSet().contains(role); }

}  // namespace skimlet::Roles
