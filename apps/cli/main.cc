#include <algorithm>
#include <cstdio>
#include <iostream>

#include "cli.h"
#include "options.h"

namespace skimlet::cli {

static std::vector<Command>& registry() {
  static std::vector<Command> all;
  return all;
}

int registerCommand(Command c) {
  registry().push_back(std::move(c));
  return 0;
}

const std::vector<Command>& commands() { return registry(); }

int usageError(const Command& c, const std::string& message) {
  if (!message.empty()) std::cerr << "skimlet " << c.name << ": " << message << "\n";
  std::cerr << "usage: skimlet " << c.usage << "\n";
  std::cerr << "(skimlet help " << c.name << " says more)\n";
  return 2;
}

static const Command* find(const std::string& name) {
  for (const auto& c : commands())
    if (c.name == name) return &c;
  return nullptr;
}

static void overview(std::ostream& out) {
  auto all = commands();
  std::sort(all.begin(), all.end(), [](const Command& a, const Command& b) { return a.name < b.name; });
  out << "Skimlet drives the web page in front by typed commands.\n\nusage: skimlet <command> [options]\n\n";
  for (const auto& c : all) out << "  " << c.usage << "\n      " << c.summary << "\n";
  out << "\n`skimlet help COMMAND` or `skimlet COMMAND --help` shows one command; `skimlet --version` the "
         "version.\n";
}

static void help(const Command& c) {
  std::cout << "usage: skimlet " << c.usage << "\n\n" << c.summary << "\n";
  if (!c.details.empty()) std::cout << "\n" << c.details << "\n";
}

}  // namespace skimlet::cli

int main(int argc, char** argv) {
  using namespace skimlet::cli;
  const Args args(argv + 1, argv + argc);
  // Asking for help is never a mistake, so it goes to standard output with status 0.
  if (args.empty() || args[0] == "--help" || args[0] == "-h") {
    overview(std::cout);
    return 0;
  }
  if (args[0] == "--version") {
    std::cout << "skimlet " << SKIMLET_VERSION << "\n";
    return 0;
  }
  if (args[0] == "help") {
    if (args.size() == 1) {
      overview(std::cout);
      return 0;
    }
    if (const Command* c = find(args[1])) {
      help(*c);
      return 0;
    }
    std::cerr << "skimlet: unknown command “" << args[1] << "”\n\n";
    overview(std::cerr);
    return 2;
  }
  if (const Command* c = find(args[0])) {
    const Args rest(args.begin() + 1, args.end());
    if (asksForHelp(rest)) {
      help(*c);
      return 0;
    }
    return c->run(rest);
  }
  std::cerr << "skimlet: unknown command “" << args[0] << "”\n\n";
  overview(std::cerr);
  return 2;
}
