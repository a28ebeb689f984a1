// How well typed commands are understood: a list of commands with the intent each should become,
// run through the palette's own understanding (rules, then the model, then the fallback).
#pragma once

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "ai/local_ai.h"

namespace skimlet::cli {

struct IntentCase {
  int line = 0;
  std::string command;
  std::string expected;  // the intent's title, e.g. "Click “sign in”"
};

// One case per line "command<TAB>expected intent title"; blank lines and lines starting with "#"
// are skipped. A malformed line adds "NAME:LINE: why" to `problems` and is left out.
std::vector<IntentCase> readIntentCases(std::istream& in, const std::string& name, std::vector<std::string>& problems);

struct IntentTally {
  int cases = 0, right = 0;
  int byRules = 0, byModel = 0, byFallback = 0;
  int reachedModel = 0, rightAfterModel = 0;  // the model was asked (whatever it answered)
  double modelSeconds = 0;                    // all model calls together
  int modelPasses = 0;                        // passes of the own model in those calls, when known
};

// The number of passes of the own model (its prompt's and each decode pass) in its last
// request, when it has one; lets the evaluation say how many passes a reply took.
using PassesOfLastRequest = std::function<std::optional<int>()>;

// Understands every case, printing each miss to `out` as it comes, then the shares of commands
// understood right (overall and among those that reached the model) and the mean time per model
// call.
IntentTally evaluateIntents(const std::vector<IntentCase>& cases, const LocalAI& ai, std::ostream& out,
                            const PassesOfLastRequest& passes = {});

}  // namespace skimlet::cli
