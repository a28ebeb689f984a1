// Turns a model's restatement of a command into an Intent, refusing answers that are empty or
// that invent text the user never typed. Every doubtful answer becomes no intent, and the
// palette then falls back to its own handling of the command.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ai/llm_intent.h"
#include "intent/intent.h"

namespace skimlet::IntentMapper {

// `action` is compared exactly ("Click" is not "click"); `input` is the command as typed.
std::optional<Intent> map(std::string_view action, std::string_view target, int ordinal, std::string_view text,
                          std::string_view field, std::string_view input);
std::optional<Intent> map(const LLMIntent& answer, std::string_view input);

// Whether `text` occurs in `haystack` ignoring case (full Unicode case folding).
bool containsIgnoringCase(std::string_view haystack, std::string_view text);

}  // namespace skimlet::IntentMapper
