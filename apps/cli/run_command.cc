// skimlet run --fixture FILE | --url PAGE | --desktop [--json] [--confirm] [--pick N]
//             [--profile KEY=VALUE]... [--keep-going] [--model FILE | --no-model] COMMAND...
//
// Commands against a recorded page, a live one or the browser in front on the user's desktop,
// each as the palette runs it on Return: understood by the rules, then the local model (the
// installed one, the file given, or none), then the fallback; carried out by a fresh engine; and
// followed up with --confirm and --pick as its outcomes ask. Every page takes the command words
// the same way (see commandsFrom). A run stops at the first command that fails or is left
// waiting for an answer, unless --keep-going; the exit status says which (see kRun's details).
// Prints the outcomes and what was done to the page, readably or as the JSON object scripts rely
// on (on a live page, also the browser's state afterwards).
#include <unistd.h>

#include <deque>
#include <functional>
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
#include "intent_json.h"
#include "model_choice.h"
#include "options.h"
#include "outcome_json.h"
#include "outcome_text.h"
#include "page_argument.h"
#include "palette/palette_view_model.h"
#include "platform/json_settings.h"
#include "text/text_util.h"

namespace skimlet::cli {
namespace {

int runCommand(const Args& args);

// What scripts may rely on besides the JSON: the exit statuses.
constexpr int kFailed = 1;
constexpr int kNeedsInput = 3;

const Command kRun{"run",
                   std::string("run --fixture FILE | --url PAGE | --desktop [--json] [--confirm] [--pick N] "
                               "[--profile KEY=VALUE]... [--keep-going] ") +
                       modelUsage + " COMMAND...",
                   "Runs commands on a recorded page, a live one or the desktop's browser and shows what they did.",
                   runCommand,
                   "The words of one command need no quotes: `run --fixture page.json click sign in`. To run several\n"
                   "commands, quote each: `run --url example.com 'click sign in' 'type hi into the search box'`.\n"
                   "PAGE is an address, a host (opened over https) or a local file (served from its folder).\n"
                   "--confirm accepts a confirmation, --pick N picks option N of a choice; each answers one question.\n"
                   "\n"
                   "Exit status: 0 every command was done; 1 a command failed; 2 the arguments are wrong;\n"
                   "3 a command needs input (a confirmation without --confirm, a choice without --pick).\n"
                   "The run stops at the first command that fails or needs input unless --keep-going is given."};

struct RunOptions {
  std::string fixture;
  std::string url;
  bool desktop = false;  // the user's own browser in front on the desktop
  bool json = false;
  bool keepGoing = false;
  int confirms = 0;       // how many confirmations to accept
  std::deque<int> picks;  // the options to pick, in order, counting from 1
  std::vector<std::pair<ProfileField, std::string>> profile;
  ModelChoice model;
  std::vector<std::string> commands;
};

// The command words, the same for a recorded page and a live one. Words that the shell split
// (none holds a space) are one command, so `run … click sign in` needs no quotes; once any
// argument holds a space, the user quoted commands, and each argument is one command.
std::vector<std::string> commandsFrom(const std::vector<std::string>& words) {
  bool quoted = false;
  for (const auto& w : words) quoted = quoted || w.find_first_of(" \t") != std::string::npos;
  if (quoted || words.empty()) return words;
  std::string joined;
  for (const auto& w : words) joined += (joined.empty() ? "" : " ") + w;
  return {joined};
}

// Empty when the arguments are fine, else what is wrong with them.
std::string parseOptions(const Args& args, RunOptions& o) {
  OptionReader r(args);
  std::vector<std::string> words;
  std::string pick, profile;
  while (r.more()) {
    int n = 0;
    if (r.flag("--json")) {
      o.json = true;
    } else if (r.flag("--desktop")) {
      o.desktop = true;
    } else if (r.flag("--confirm")) {
      ++o.confirms;
    } else if (r.flag("--keep-going")) {
      o.keepGoing = true;
    } else if (r.value("--fixture", o.fixture) || r.value("--url", o.url) || readModelOption(r, o.model)) {
    } else if (r.number("--pick", n)) {
      o.picks.push_back(n);
    } else if (r.value("--profile", profile)) {
      auto eq = profile.find('=');
      auto field = eq == std::string::npos ? std::nullopt : profileFieldFromRaw(profile.substr(0, eq));
      if (!field) r.fail("--profile needs name=VALUE, email=VALUE or phone=VALUE");
      else o.profile.emplace_back(*field, profile.substr(eq + 1));
    } else if (auto w = r.word()) {
      words.push_back(*w);
    }
  }
  if (!r.problem().empty()) return r.problem();
  if (!o.fixture.empty() + !o.url.empty() + o.desktop != 1)
    return "give one of --fixture FILE, --url PAGE or --desktop";
  for (const auto& w : commandsFrom(words))
    if (!TextUtil::split(w).empty()) o.commands.push_back(w);
  if (o.commands.empty()) return "no command given";
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

// How a command ended: done, failed, or left waiting for an answer the run did not give.
enum class Ending { done, failed, needsInput };

std::string_view endingName(Ending e) {
  switch (e) {
    case Ending::done: return "done";
    case Ending::failed: return "failed";
    case Ending::needsInput: return "needsInput";
  }
  return "done";
}

Ending endingOf(const Outcome& last) {
  if (const ActionResult* r = last.result())
    return r->kind == ActionResult::Kind::failure ? Ending::failed : Ending::done;
  return Ending::needsInput;
}

// What one run printed and how it ended, whichever page it ran on.
struct Ran {
  std::vector<std::string> titles;                                    // the intent of each command
  nlohmann::ordered_json commands = nlohmann::ordered_json::array();  // each command as scripts see it
  std::vector<Outcome> outcomes;                                      // every command's outcomes in order
  Ending ending = Ending::done;                                       // the first command that did not end done decides
  std::string problem;                                                // a --pick that did not fit

  void add(Ending e) {
    if (ending == Ending::done) ending = e;
  }
};

// Understands and carries out one command on `target` with a fresh engine, with its follow-ups.
Ending runOne(const std::string& command, const BrowserTarget& target, const Platform& platform, const LocalAI& ai,
              RunOptions answers, Ran& ran, const OutcomeText* text) {
  auto understood = understand(command, ai);
  if (!understood) return Ending::done;  // blank commands were dropped with the options
  auto engine = ActionEngine::create(target, platform, ai);
  std::vector<Outcome> outcomes{engine->run(understood->intent)};
  while (auto next = followUp(outcomes.back(), answers, ran.problem)) outcomes.push_back(std::move(*next));
  // Text that went into a password field is masked wherever the command's words are repeated.
  const std::vector<std::string>& secrets = engine->secrets();
  ran.titles.push_back(Secrets::mask(title(understood->intent), secrets));
  const Ending ending = ran.problem.empty() ? endingOf(outcomes.back()) : Ending::failed;
  ran.add(ending);
  nlohmann::ordered_json parsed = intentJson(understood->intent);
  for (const char* key : {"title", "text"})
    if (parsed.contains(key) && parsed[key].is_string())
      parsed[key] = Secrets::mask(parsed[key].get<std::string>(), secrets);
  nlohmann::ordered_json entry = {{"command", Secrets::mask(command, secrets)},
                                  {"understoodBy", std::string(stageName(understood->stage))},
                                  {"intent", std::move(parsed)},
                                  {"outcomes", outcomes.size()},
                                  {"status", std::string(endingName(ending))}};
  ran.commands.push_back(std::move(entry));
  if (text) {
    if (understood->stage != Understanding::Stage::rules)
      std::cout << text->dim("Understood by the " + std::string(stageName(understood->stage)) + ": " +
                             ran.titles.back())
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
  return ending;
}

// Runs the commands in order, stopping at the first that did not end done unless told to go on.
void runAll(const RunOptions& o, const BrowserTarget& target, const Platform& platform, const LocalAI& ai,
            const std::function<void()>& settle, Ran& ran, const OutcomeText& text) {
  for (std::size_t i = 0; i < o.commands.size(); ++i) {
    if (!o.json && o.commands.size() > 1)
      std::cout << (i ? "\n" : "") << text.markdown("**› " + TextUtil::md(o.commands[i]) + "**") << "\n";
    const Ending e = runOne(o.commands[i], target, platform, ai, o, ran, o.json ? nullptr : &text);
    settle();
    if (!ran.problem.empty()) break;
    if (e != Ending::done && !o.keepGoing) {
      if (i + 1 < o.commands.size())
        std::cerr << "skimlet run: stopped after “" << ran.commands.back()["command"].get<std::string>() << "” ("
                  << (e == Ending::failed ? "it failed" : "it needs input") << "); --keep-going runs the rest\n";
      break;
    }
  }
}

// The keys added to the contract's {"intent", "outcomes", "events"}: each command with its
// parsed intent and how it ended, and the run's own ending.
nlohmann::ordered_json runJsonOf(const Ran& ran, const std::vector<Event>& events) {
  auto json = runJson(ran.titles.empty() ? std::string() : ran.titles.back(), ran.outcomes, events);
  json["intents"] = ran.titles;
  json["commands"] = ran.commands;
  json["status"] = std::string(endingName(ran.ending));
  return json;
}

// The end of a run: the model's load failure said once, a misfit --pick, the exit status.
int finish(const Ran& ran, const Models& models) {
  // The installed model is loaded at its first request; a file that failed is worth saying
  // once, since the run went on with the rules and extractive answers alone.
  if (auto error = models.ai().lastError())
    std::cerr << "skimlet run: note: the model " << models.modelPath() << " could not be loaded (" << *error
              << "); went on without it\n";
  if (!ran.problem.empty()) {
    std::cerr << "skimlet run: " << ran.problem << "\n";
    return kFailed;
  }
  switch (ran.ending) {
    case Ending::done: return 0;
    case Ending::failed: return kFailed;
    case Ending::needsInput: return kNeedsInput;
  }
  return 0;
}

// A model the user named must load; the installed one may fail and the run goes on without it.
bool namedModelLoads(const RunOptions& o, Models& models) {
  if (o.model.source != ModelChoice::Source::file) return true;
  if (auto error = models.load()) {
    std::cerr << "skimlet run: the model " << o.model.file << " could not be loaded: " << *error << "\n";
    return false;
  }
  return true;
}

// A recording of an application that is not a supported browser answers as the palette does
// on a desktop with no browser in front.
int runWithoutBrowser(const RunOptions& o) {
  const Outcome outcome(PaletteViewModel::noBrowserResult());
  if (o.json) {
    auto json = runJson("", {outcome}, {});
    json["intents"] = nlohmann::ordered_json::array();
    json["commands"] = nlohmann::ordered_json::array();
    json["status"] = std::string(endingName(Ending::failed));
    std::cout << jsonLine(json) << "\n";
  } else {
    OutcomeText(::isatty(STDOUT_FILENO)).print(std::cout, outcome);
  }
  return kFailed;
}

int runOnFixture(RunOptions& o) {
  std::optional<FixtureSession> session;
  try {
    session.emplace(o.fixture);
  } catch (const FixtureError&) {
    return runWithoutBrowser(o);
  } catch (const std::exception& e) {  // RecordingError: says where
    std::cerr << "skimlet run: " << e.what() << "\n";
    return kFailed;
  }
  applyProfile(session->platform().settings, o);

  Models models(o.model);
  if (!namedModelLoads(o, models)) return kFailed;
  const OutcomeText text(::isatty(STDOUT_FILENO));
  Ran ran;
  // Deliver anything the engine posted before the next command reads the page.
  runAll(
      o, session->target(), session->platform(), models.ai(), [&] { session->backend().runLoop().runPending(); }, ran,
      text);

  if (o.json) {
    std::cout << jsonLine(runJsonOf(ran, session->backend().events())) << "\n";
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
    std::cerr << "skimlet run: " << chromium::LiveSession::kMissing << "\n";
    return 1;
  }
  MemorySettings settings;
  applyProfile(settings, o);
  Models models(o.model);
  if (!namedModelLoads(o, models)) return kFailed;
  std::unique_ptr<chromium::LiveSession> session;
  std::optional<PageSource> page;
  try {
    page.emplace(o.url);
    session = chromium::LiveSession::open(page->url(), settings);
  } catch (const std::exception& e) {
    std::cerr << "skimlet run: " << e.what() << "\n";
    return 1;
  }
  const auto target = session->target();
  if (!target) return runWithoutBrowser(o);
  const OutcomeText text(::isatty(STDOUT_FILENO));
  Ran ran;
  runAll(
      o, *target, session->platform(), models.ai(), [&] { session->runLoop().runPending(); }, ran, text);
  const auto state = session->pageState();
  if (o.json) {
    auto json = runJsonOf(ran, session->events());
    json["page"] = chromium::toJson(state);
    std::cout << jsonLine(json) << "\n";
  } else {
    if (auto events = session->events(); !events.empty()) {
      std::cout << "\n";
      text.printEvents(std::cout, events);
    }
    std::cout << text.dim("Page: " + state.url + " — " + std::to_string(state.tabs) +
                          (state.tabs == 1 ? " tab" : " tabs"))
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
  if (!namedModelLoads(o, models)) return kFailed;
  const OutcomeText text(::isatty(STDOUT_FILENO));
  Ran ran;
  runAll(
      o, desktop->target, desktop->session->platform(), models.ai(), [&] { desktop->session->runLoop().runPending(); },
      ran, text);
  if (o.json) {
    auto json = runJsonOf(ran, {});
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
