// Turning a submitted command into an Intent the way the palette does on Return: the fixed
// rules first, then the on-device model, then a fallback that never leaves the user without an
// answer (short phrases are looked for on the page, longer ones are asked as questions).
#pragma once

#include <functional>
#include <optional>
#include <stop_token>
#include <string>

#include "ai/local_ai.h"
#include "intent/intent.h"

namespace skimlet {

struct Understanding {
  enum class Stage { rules, model, fallback };
  Intent intent;
  Stage stage = Stage::rules;
};

// "rules", "model" or "fallback".
std::string_view stageName(Understanding::Stage stage);

// None for a blank command. `beforeModel` is called just before a model is consulted (only when
// one is usable), so the palette can show "Understanding…" while it thinks.
std::optional<Understanding> understand(const std::string& command, const LocalAI& ai,
                                        const std::function<void()>& beforeModel = {}, std::stop_token stop = {});

}  // namespace skimlet
