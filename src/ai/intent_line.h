// Reads the own model's one-line restatement of a command, "action|target|ordinal|text|field".
// Small models drift from the format, so the reader is forgiving: it takes the first non-empty
// line holding a "|" (else the first non-empty line), drops an echoed "command -> " prefix,
// trims every field, leaves missing fields empty and reads a bad ordinal as 0.
#pragma once

#include <optional>
#include <string_view>

#include "ai/llm_intent.h"

namespace skimlet {

// None when the reply has no non-empty line.
std::optional<LLMIntent> readIntentLine(std::string_view reply);

// Whether a reply that begins with `sofar` is already read as it will be whatever follows: a
// line holding a "|" has ended. The model can be stopped there.
bool intentLineEnded(std::string_view sofar);

}  // namespace skimlet
