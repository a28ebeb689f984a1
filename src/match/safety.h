// The risky-click rules: which labels mean a press may buy, send, delete, change the account or
// agree to something, so that Skimlet asks before pressing.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace skimlet::Safety {

// The warning for pressing a control with this label, or none when it looks harmless. Trigger
// phrases match whole words only ("Payment" is not "pay"), and the rules are tried in order, so
// "Confirm order" is a purchase before it is a confirmation.
std::optional<std::string> assess(std::string_view label);

}  // namespace skimlet::Safety
