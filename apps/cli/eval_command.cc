// skimlet eval intents FILE.tsv [--model FILE | --no-model]
//
// Measures how well commands are understood, the palette's way, against a list of commands and
// the intent each should become: prints every miss, the share understood right, and what the
// model added and cost.
#include <fstream>
#include <iostream>

#include "cli.h"
#include "intent_eval.h"
#include "model_choice.h"

namespace skimlet::cli {
namespace {

int evalCommand(const Args& args);

const Command kEval{"eval", std::string("eval intents FILE.tsv ") + modelUsage,
                    "Understands each command of a list (command<TAB>expected intent title) as the palette would "
                    "and reports the misses, the share right and the time per model call.",
                    evalCommand};

int evalCommand(const Args& args) {
  if (args.empty()) return usageError(kEval, "what to evaluate: intents");
  if (args[0] != "intents") return usageError(kEval, "unknown evaluation " + args[0]);
  std::string file;
  ModelChoice choice;
  const Args rest(args.begin() + 1, args.end());
  OptionReader r(rest);
  while (r.more()) {
    if (readModelOption(r, choice)) continue;
    if (auto w = r.word(); w && file.empty()) file = *w;
    else if (w) r.fail("one file at a time");
  }
  if (!r.problem().empty()) return usageError(kEval, r.problem());
  if (file.empty()) return usageError(kEval, "no file of commands given");

  std::ifstream in(file);
  if (!in) {
    std::cerr << "skimlet eval: can't read " << file << "\n";
    return 1;
  }
  std::vector<std::string> problems;
  const auto cases = readIntentCases(in, file, problems);
  for (const auto& p : problems) std::cerr << "skimlet eval: " << p << "\n";

  Models models(choice);
  if (!models.modelPath().empty()) {
    // Loaded up front, so the first command's time is the model's answer and not the load.
    if (auto error = models.load()) {
      std::cerr << "skimlet eval: the model " << models.modelPath() << " could not be loaded: " << *error << "\n";
      if (choice.source == ModelChoice::Source::file) return 1;
    } else {
      std::cout << "Model: " << models.modelPath() << "\n";
    }
  }
  evaluateIntents(cases, models.ai(), std::cout, [&]() -> std::optional<int> {
    if (auto run = models.lastRun()) return 1 + run->decodeSteps;
    return std::nullopt;
  });
  return problems.empty() ? 0 : 1;
}

SKIMLET_COMMAND(kEval);

}  // namespace
}  // namespace skimlet::cli
