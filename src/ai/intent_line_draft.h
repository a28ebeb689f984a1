// Guesses how the own model's one-line restatement of a command goes on, for the runtime to check
// in batched passes. Most of the line is predictable: a started action word has few endings,
// its "|" and the empty fields after it are forced by the format, and targets, typed text and
// field names are copied from the command. A wrong guess only costs a wider pass; the reply is
// whatever the model says.
#pragma once

#include <string>
#include <string_view>

#include "llm/reply_drafter.h"

namespace skimlet {

// The text expected after `sofar` in the reply to `command`; "" when there is no good guess.
std::string draftIntentLine(std::string_view command, std::string_view sofar);

// draftIntentLine for one command.
ReplyDrafter intentLineDrafter(std::string command);

}  // namespace skimlet
