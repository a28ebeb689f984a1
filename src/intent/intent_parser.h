// The palette's command language: a fixed, ordered list of rules that turn typed text into an
// Intent. The first rule that matches the whole command wins, so the order is the tie-break.
// Pure functions; the compiled expressions are shared and safe to use from any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "intent/intent.h"

namespace skimlet::IntentParser {

// No intent when the rules do not understand the command.
std::optional<Intent> parse(std::string_view text);

// A target phrase ("the second search result", "Submit next to the email field") as a
// TargetSpec; `defaultRole` applies when the phrase names no kind of element.
TargetSpec parseTarget(std::string_view text, RoleHint defaultRole);

// "e-mail address" → email, "phone number" → phone, "username" → name.
std::optional<ProfileField> profileField(std::string_view text);

// Trims spaces and . ! ? , from both ends, then one pair of enclosing quotes.
std::string cleanPhrase(std::string_view text);

}  // namespace skimlet::IntentParser
