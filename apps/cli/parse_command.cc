// skimlet parse [--json] COMMAND: what the fixed rules make of a command, without a page.
#include <iostream>

#include "cli.h"
#include "intent/intent_parser.h"
#include "intent_json.h"
#include "options.h"

namespace skimlet::cli {
namespace {

int parseCommand(const Args& args);

const Command kParse{"parse", "parse [--json] COMMAND",
                     "Shows what the built-in rules understand a command as (exit status 1 when nothing).",
                     parseCommand};

int parseCommand(const Args& args) {
  bool json = false;
  std::string command;
  OptionReader r(args);
  while (r.more()) {
    if (r.flag("--json")) json = true;
    // Several words are one command, so the quotes around it can be left off.
    else if (auto w = r.word()) command += (command.empty() ? "" : " ") + *w;
  }
  if (!r.problem().empty()) return usageError(kParse, r.problem());
  if (command.empty()) return usageError(kParse, "no command given");

  auto intent = IntentParser::parse(command);
  if (json) std::cout << intentJson(intent).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
  else std::cout << (intent ? title(*intent) : "no intent") << "\n";
  return intent ? 0 : 1;
}

SKIMLET_COMMAND(kParse);

}  // namespace
}  // namespace skimlet::cli
