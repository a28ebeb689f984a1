// The `skimlet` tool's subcommands. Each lives in its own file and registers itself with
// SKIMLET_COMMAND, so adding one never touches the dispatcher.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace skimlet::cli {

using Args = std::vector<std::string>;

struct Command {
  std::string name;                     // e.g. "parse"
  std::string usage;                    // e.g. "parse [--json] COMMAND"
  std::string summary;                  // one line for the overview
  std::function<int(const Args&)> run;  // arguments after the name; returns the exit status
  std::string details = {};             // more for `skimlet help NAME`: options, exit statuses
};

int registerCommand(Command c);
const std::vector<Command>& commands();

// Prints "usage: skimlet <usage>" to standard error and returns 2.
int usageError(const Command& c, const std::string& message = "");

}  // namespace skimlet::cli

#define SKIMLET_CLI_CONCAT2(a, b) a##b
#define SKIMLET_CLI_CONCAT(a, b) SKIMLET_CLI_CONCAT2(a, b)
#define SKIMLET_COMMAND(...) \
  static const int SKIMLET_CLI_CONCAT(skimletCommand_, __LINE__) = ::skimlet::cli::registerCommand(__VA_ARGS__)
