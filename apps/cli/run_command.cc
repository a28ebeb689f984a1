// skimlet run --fixture FILE [--json] [--confirm] [--pick N] [--profile KEY=VALUE]...
//             [--model FILE | --no-model] COMMAND
//
// One command against a recorded page, as the palette runs it on Return: understood by the
// rules, then the local model (the installed one, the file given, or none), then the fallback;
// carried out by a fresh engine; and followed up with --confirm and --pick as its outcomes ask.
// Prints the outcomes and what was done to the page, readably or as the JSON object scripts rely
// on.
#include <unistd.h>

#include <deque>
#include <iostream>

#include "backends/memory/recording.h"
#include "cli.h"
#include "engine/action_engine.h"
#include "engine/profile.h"
#include "engine/understand.h"
#include "fixture_session.h"
#include "model_choice.h"
#include "outcome_json.h"
#include "outcome_text.h"
#include "platform/json_settings.h"

namespace skimlet::cli {
namespace {

int runCommand(const Args& args);

const Command kRun{"run",
                   std::string("run --fixture FILE [--json] [--confirm] [--pick N] [--profile KEY=VALUE]... ") +
                       modelUsage + " COMMAND",
                   "Runs a command on a recorded page and shows what it did (exit status 1 when it failed).",
                   runCommand};

struct RunOptions {
  std::string fixture;
  bool json = false;
  int confirms = 0;        // how many confirmations to accept
  std::deque<int> picks;   // the options to pick, in order, counting from 1
  std::vector<std::pair<ProfileField, std::string>> profile;
  ModelChoice model;
  std::string command;
};

// Empty when the arguments are fine, else what is wrong with them.
std::string parseOptions(const Args& args, RunOptions& o) {
  bool optionsDone = false;
  std::string problem;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    auto next = [&]() -> const std::string* { return i + 1 < args.size() ? &args[++i] : nullptr; };
    // Options may come before or after the command's words; after "--" everything is words.
    // Several words are one command, so the quotes around it can be left off.
    if (optionsDone || a.size() < 2 || a[0] != '-') {
      o.command += (o.command.empty() ? "" : " ") + a;
    } else if (a == "--") {
      optionsDone = true;
    } else if (takeModelOption(args, i, o.model, problem)) {
      if (!problem.empty()) return problem;
    } else if (a == "--json") {
      o.json = true;
    } else if (a == "--confirm") {
      ++o.confirms;
    } else if (a == "--fixture") {
      const std::string* file = next();
      if (!file) return "--fixture needs a file";
      o.fixture = *file;
    } else if (a == "--pick") {
      const std::string* n = next();
      int value = 0;
      try {
        std::size_t used = 0;
        value = n ? std::stoi(*n, &used) : 0;
        if (n && used != n->size()) value = 0;
      } catch (...) {
      }
      if (value < 1) return "--pick needs an option number counting from 1";
      o.picks.push_back(value);
    } else if (a == "--profile") {
      const std::string* kv = next();
      auto eq = kv ? kv->find('=') : std::string::npos;
      auto field = eq == std::string::npos ? std::nullopt : profileFieldFromRaw(kv->substr(0, eq));
      if (!field) return "--profile needs name=VALUE, email=VALUE or phone=VALUE";
      o.profile.emplace_back(*field, kv->substr(eq + 1));
    } else if (o.command.empty()) {
      return "unknown option " + a;
    } else {
      o.command += " " + a;  // "-" words inside a command, e.g. "type -5"
    }
  }
  if (o.fixture.empty()) return "--fixture FILE is required";
  if (o.command.empty()) return "no command given";
  return "";
}

// The saved profile, as the palette would use it, with this run's --profile values over it.
void applyProfile(Settings& runSettings, const RunOptions& o) {
  const std::string path = JsonSettings::defaultPath();
  if (!path.empty()) {
    JsonSettings saved(path);
    for (ProfileField f : {ProfileField::name, ProfileField::email, ProfileField::phone})
      if (auto v = saved.string(Profile::key(f))) runSettings.setString(Profile::key(f), *v);
  }
  for (const auto& [field, value] : o.profile) runSettings.setString(Profile::key(field), value);
}

// Answers the outcome's question with the next --confirm or --pick that fits it. None when
// nothing fits, which ends the run.
std::optional<Outcome> followUp(const Outcome& outcome, RunOptions& o, std::string& problem) {
  if (const Confirmation* c = outcome.confirm(); c && o.confirms > 0) {
    --o.confirms;
    return Outcome(c->perform());
  }
  if (const ChoiceSet* choice = outcome.choose(); choice && !o.picks.empty()) {
    int n = o.picks.front();
    o.picks.pop_front();
    if (n > static_cast<int>(choice->options.size())) {
      problem = "--pick " + std::to_string(n) + ": the choice has only " + std::to_string(choice->options.size()) +
                " options";
      return std::nullopt;
    }
    return choice->options[static_cast<std::size_t>(n - 1)].run();
  }
  return std::nullopt;
}

int runCommand(const Args& args) {
  RunOptions o;
  if (std::string problem = parseOptions(args, o); !problem.empty()) return usageError(kRun, problem);

  std::optional<FixtureSession> session;
  try {
    session.emplace(o.fixture);
  } catch (const std::exception& e) {  // RecordingError or FixtureError: both say where
    std::cerr << "skimlet run: " << e.what() << "\n";
    return 1;
  }
  applyProfile(session->platform().settings, o);

  Models models(o.model);
  const LocalAI& ai = models.ai();
  auto understood = understand(o.command, ai);
  if (!understood) return usageError(kRun, "no command given");

  auto engine = ActionEngine::create(session->target(), session->platform(), ai);
  std::vector<Outcome> outcomes{engine->run(understood->intent)};
  std::string problem;
  while (auto next = followUp(outcomes.back(), o, problem)) outcomes.push_back(std::move(*next));
  session->backend().runLoop().runPending();  // deliver anything the engine posted

  if (o.json) {
    std::cout << jsonLine(runJson(title(understood->intent), outcomes, session->backend().events())) << "\n";
  } else {
    const OutcomeText text(::isatty(STDOUT_FILENO));
    if (understood->stage != Understanding::Stage::rules)
      std::cout << text.dim("Understood by the " + std::string(stageName(understood->stage)) + ": " +
                            title(understood->intent))
                << "\n";
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
      if (i) std::cout << "\n";
      text.print(std::cout, outcomes[i]);
    }
    if (auto events = session->backend().events(); !events.empty()) {
      std::cout << "\n";
      text.printEvents(std::cout, events);
    }
  }
  // The model is loaded at its first request; a file that failed is worth saying once, since
  // the run went on with the rules and extractive answers alone.
  if (auto error = ai.lastError())
    std::cerr << "skimlet run: note: the model " << models.modelPath() << " could not be loaded (" << *error
              << "); went on without it\n";
  if (!problem.empty()) {
    std::cerr << "skimlet run: " << problem << "\n";
    return 1;
  }
  if (o.confirms > 0 || !o.picks.empty())
    std::cerr << "skimlet run: note: the command asked for no further "
              << (o.confirms > 0 ? "confirmation" : "choice") << "; extra --confirm/--pick ignored\n";
  const ActionResult* last = outcomes.back().result();
  return last && last->kind == ActionResult::Kind::failure ? 1 : 0;
}

SKIMLET_COMMAND(kRun);

}  // namespace
}  // namespace skimlet::cli
