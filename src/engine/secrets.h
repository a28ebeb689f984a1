// Text typed into a password field is a secret: the engine that typed it knows it, and every
// copy of it in what Skimlet shows (the command, its title, the Why? lines) is masked by knowing
// that text, not by guessing from how a line looks.
#pragma once

#include <string>
#include <vector>

#include "intent/intent.h"

namespace skimlet::Secrets {

inline constexpr const char* masked = "••••••••";

// `text` with every copy of each secret masked: whole, and cut short as titles (24 characters)
// and headlines (40) cut typed text.
std::string mask(std::string text, const std::vector<std::string>& secrets);
// The intent's title as shown while it runs: whether a type intent's text goes into a password
// field is known only once the field is found, so until then it is masked.
std::string workingTitle(const Intent& intent);

}  // namespace skimlet::Secrets
