// skimlet run --fixture FILE [--json] [--confirm] [--pick N] [--profile KEY=VALUE]...
//             [--model FILE | --no-model] COMMAND
// skimlet run --url URL [same options] COMMAND...
// skimlet run --desktop [same options] COMMAND...
//
// One command against a recorded page, as the palette runs it on Return: understood by the
// rules, then the local model (the installed one, the file given, or none), then the fallback;
// carried out by a fresh engine; and followed up with --confirm and --pick as its outcomes ask.
// With --url, the page is opened in a fresh headless Chromium instead and each argument is a
// command of its own, run one after another on the live page, each with a fresh engine and the
// same --confirm and --pick answers. Prints the outcomes and what was done to the page, readably
// or as the JSON object scripts rely on (with --url, also the browser's state afterwards). With
// --desktop the commands act on the browser in front on the user's own desktop.
#include <unistd.h>

#include <deque>
#include <iostream>
#include <memory>

#if !defined(__APPLE__)
#include "backends/chromium/live_session.h"
#include "desktop_session.h"
#endif

#include "backends/memory/recording.h"
#include "cli.h"
#include "engine/action_engine.h"
#include "engine/profile.h"
#include "engine/secrets.h"
#include "engine/understand.h"
#include "fixture_session.h"
#include "model_choice.h"
#include "outcome_json.h"
#include "outcome_text.h"
#include "platform/json_settings.h"
#include "text/text_util.h"

namespace skimlet::cli {
namespace {

int runCommand(const Args& args);

const Command kRun{"run",
                   std::string("run --fixture FILE | --url URL | --desktop [--json] [--confirm] [--pick N] [--profile KEY=VALUE]... ") +
                       modelUsage + " COMMAND...",
                   "Runs a command on a recorded page (or commands on a live one) and shows what it did "
                   "(exit status 1 when it failed).",
                   runCommand};

struct RunOptions {
  std::string fixture;
  std::string url;
  bool desktop = false;  // the user's own browser in front on the desktop
  bool json = false;
  int confirms = 0;        // how many confirmations to accept
  std::deque<int> picks;   // the options to pick, in order, counting from 1
  std::vector<std::pair<ProfileField, std::string>> profile;
  ModelChoice model;
  std::string command;                // a recorded page: all the words are one command
  std::vector<std::string> commands;  // a live page: one command an argument
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
      o.commands.push_back(a);
    } else if (a == "--") {
      optionsDone = true;
    } else if (takeModelOption(args, i, o.model, problem)) {
      if (!problem.empty()) return problem;
    } else if (a == "--json") {
      o.json = true;
    } else if (a == "--desktop") {
      o.desktop = true;
    } else if (a == "--confirm") {
      ++o.confirms;
    } else if (a == "--fixture") {
      const std::string* file = next();
      if (!file) return "--fixture needs a file";
      o.fixture = *file;
    } else if (a == "--url") {
      const std::string* url = next();
      if (!url) return "--url needs a URL";
      o.url = *url;
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
      o.commands.back() += " " + a;
    }
  }
  if (!o.fixture.empty() + !o.url.empty() + o.desktop != 1) return "give one of --fixture FILE, --url URL or --desktop";
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

// What one run printed and how it ended, whichever page it ran on.
struct Ran {
  std::vector<std::string> titles;   // the intent of each command
  std::vector<Outcome> outcomes;     // every command's outcomes in order
  bool failed = false;               // a command's last outcome was a failure
  std::string problem;               // a --pick that did not fit
};

// Understands and carries out one command on `target` with a fresh engine, with its follow-ups.
// False when the command was empty.
bool runOne(const std::string& command, const BrowserTarget& target, const Platform& platform, const LocalAI& ai,
            RunOptions answers, Ran& ran, const OutcomeText* text) {
  auto understood = understand(command, ai);
  if (!understood) return false;
  auto engine = ActionEngine::create(target, platform, ai);
  std::vector<Outcome> outcomes{engine->run(understood->intent)};
  while (auto next = followUp(outcomes.back(), answers, ran.problem)) outcomes.push_back(std::move(*next));
  // Text that went into a password field is masked wherever the command's words are repeated.
  const std::vector<std::string>& secrets = engine->secrets();
  ran.titles.push_back(Secrets::mask(title(understood->intent), secrets));
  const ActionResult* last = outcomes.back().result();
  ran.failed = ran.failed || (last && last->kind == ActionResult::Kind::failure);
  if (text) {
    if (understood->stage != Understanding::Stage::rules)
      std::cout << text->dim("Understood by the " + std::string(stageName(understood->stage)) + ": " + ran.titles.back())
                << "\n";
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
      if (i) std::cout << "\n";
      text->print(std::cout, outcomes[i]);
    }
  }
  for (auto& outcome : outcomes) ran.outcomes.push_back(std::move(outcome));
  if (answers.confirms > 0 || !answers.picks.empty())
    std::cerr << "skimlet run: note: “" << Secrets::mask(command, secrets) << "” asked for no further "
              << (answers.confirms > 0 ? "confirmation" : "choice") << "; extra --confirm/--pick ignored\n";
  return true;
}

// The end of a run: the model's load failure said once, a misfit --pick, the exit status.
int finish(const Ran& ran, const Models& models) {
  // The model is loaded at its first request; a file that failed is worth saying once, since
  // the run went on with the rules and extractive answers alone.
  if (auto error = models.ai().lastError())
    std::cerr << "skimlet run: note: the model " << models.modelPath() << " could not be loaded (" << *error
              << "); went on without it\n";
  if (!ran.problem.empty()) {
    std::cerr << "skimlet run: " << ran.problem << "\n";
    return 1;
  }
  return ran.failed ? 1 : 0;
}

int runOnFixture(RunOptions& o) {
  std::optional<FixtureSession> session;
  try {
    session.emplace(o.fixture);
  } catch (const std::exception& e) {  // RecordingError or FixtureError: both say where
    std::cerr << "skimlet run: " << e.what() << "\n";
    return 1;
  }
  applyProfile(session->platform().settings, o);

  Models models(o.model);
  const OutcomeText text(::isatty(STDOUT_FILENO));
  Ran ran;
  if (!runOne(o.command, session->target(), session->platform(), models.ai(), o, ran, o.json ? nullptr : &text))
    return usageError(kRun, "no command given");
  session->backend().runLoop().runPending();  // deliver anything the engine posted

  if (o.json) {
    std::cout << jsonLine(runJson(ran.titles.back(), ran.outcomes, session->backend().events())) << "\n";
  } else if (auto events = session->backend().events(); !events.empty()) {
    std::cout << "\n";
    text.printEvents(std::cout, events);
  }
  return finish(ran, models);
}

int runOnUrl(RunOptions& o) {
#if defined(__APPLE__)
  std::cerr << "skimlet run: --url needs the live browser backend, which this build does not have\n";
  return 1;
#else
  if (!chromium::LiveSession::available()) {
    std::cerr << "skimlet run: no Chromium found (install Debian's chromium package, or set SKIMLET_CHROMIUM)\n";
    return 1;
  }
  MemorySettings settings;
  applyProfile(settings, o);
  Models models(o.model);
  std::unique_ptr<chromium::LiveSession> session;
  try {
    session = chromium::LiveSession::open(chromium::LiveSession::urlFor(o.url), settings);
  } catch (const std::exception& e) {
    std::cerr << "skimlet run: " << e.what() << "\n";
    return 1;
  }
  const auto target = session->target();
  if (!target) {
    std::cerr << "skimlet run: the browser is not one Skimlet supports\n";
    return 1;
  }
  const OutcomeText text(::isatty(STDOUT_FILENO));
  Ran ran;
  for (std::size_t i = 0; i < o.commands.size(); ++i) {
    if (!o.json) std::cout << (i ? "\n" : "") << text.markdown("**› " + TextUtil::md(o.commands[i]) + "**") << "\n";
    runOne(o.commands[i], *target, session->platform(), models.ai(), o, ran, o.json ? nullptr : &text);
    session->runLoop().runPending();
    if (!ran.problem.empty()) break;
  }
  const auto page = session->pageState();
  if (o.json) {
    auto json = runJson(ran.titles.empty() ? std::string() : ran.titles.back(), ran.outcomes, session->events());
    json["intents"] = ran.titles;
    json["page"] = chromium::toJson(page);
    std::cout << jsonLine(json) << "\n";
  } else {
    if (auto events = session->events(); !events.empty()) {
      std::cout << "\n";
      text.printEvents(std::cout, events);
    }
    std::cout << text.dim("Page: " + page.url + " — " + std::to_string(page.tabs) + (page.tabs == 1 ? " tab" : " tabs"))
              << "\n";
  }
  session->close();
  return finish(ran, models);
#endif
}

int runOnDesktop(RunOptions& o) {
#if defined(__APPLE__)
  std::cerr << "skimlet run: --desktop is for Linux desktops\n";
  return 1;
#else
  MemorySettings settings;
  applyProfile(settings, o);
  auto desktop = openDesktopBrowser(settings, "run");
  if (!desktop) return 1;
  Models models(o.model);
  const OutcomeText text(::isatty(STDOUT_FILENO));
  Ran ran;
  for (std::size_t i = 0; i < o.commands.size(); ++i) {
    if (!o.json) std::cout << (i ? "\n" : "") << text.markdown("**› " + TextUtil::md(o.commands[i]) + "**") << "\n";
    runOne(o.commands[i], desktop->target, desktop->session->platform(), models.ai(), o, ran,
           o.json ? nullptr : &text);
    desktop->session->runLoop().runPending();
    if (!ran.problem.empty()) break;
  }
  if (o.json) {
    auto json = runJson(ran.titles.empty() ? std::string() : ran.titles.back(), ran.outcomes, {});
    json["intents"] = ran.titles;
    json["browser"] = desktop->target.browserName();
    std::cout << jsonLine(json) << "\n";
  }
  return finish(ran, models);
#endif
}

int runCommand(const Args& args) {
  RunOptions o;
  if (std::string problem = parseOptions(args, o); !problem.empty()) return usageError(kRun, problem);
  if (o.desktop) return runOnDesktop(o);
  return o.url.empty() ? runOnFixture(o) : runOnUrl(o);
}

SKIMLET_COMMAND(kRun);

}  // namespace
}  // namespace skimlet::cli
