// The user's saved name, e-mail and phone, which "fill my email" types for them. Written by the
// Settings window (and `skimlet profile`); Skimlet never makes these up.
#pragma once

#include <string>

#include "intent/intent.h"
#include "platform/settings.h"

namespace skimlet::Profile {

// "profile.name", "profile.email" or "profile.phone".
std::string key(ProfileField field);
// The stored value trimmed of white space at both ends; empty when nothing is stored.
std::string value(Settings& settings, ProfileField field);
// Why `value` cannot be the field's (an e-mail without "@" and a dot after it, a phone without
// digits), or empty when it can. Loose on purpose: it catches a value saved into the wrong
// field, not every address a mail server would refuse.
std::string problemWith(ProfileField field, std::string_view value);

}  // namespace skimlet::Profile
