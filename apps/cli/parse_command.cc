// skimlet parse [--json] COMMAND: what the fixed rules make of a command, without a page.
#include <iostream>

#include "cli.h"
#include "intent/intent_parser.h"
#include "intent_json.h"

namespace skimlet::cli {
namespace {

int parseCommand(const Args& args);

const Command kParse{"parse", "parse [--json] COMMAND",
                     "Shows what the built-in rules understand a command as (exit status 1 when nothing).",
                     parseCommand};

int parseCommand(const Args& args) {
  bool json = false;
  std::vector<std::string> words;
  bool optionsDone = false;
  for (const auto& a : args) {
    if (!optionsDone && a == "--json") json = true;
    else if (!optionsDone && a == "--") optionsDone = true;
    else if (!optionsDone && a.size() > 1 && a[0] == '-' && words.empty()) return usageError(kParse, "unknown option " + a);
    else words.push_back(a);
  }
  if (words.empty()) return usageError(kParse, "no command given");
  // Several words are one command, so the quotes around it can be left off.
  std::string command;
  for (const auto& w : words) command += (command.empty() ? "" : " ") + w;

  auto intent = IntentParser::parse(command);
  if (json) std::cout << intentJson(intent).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
  else std::cout << (intent ? title(*intent) : "no intent") << "\n";
  return intent ? 0 : 1;
}

SKIMLET_COMMAND(kParse);

}  // namespace
}  // namespace skimlet::cli
