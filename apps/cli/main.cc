#include <algorithm>
#include <cstdio>
#include <iostream>

#include "cli.h"

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
  return 2;
}

static void overview(std::ostream& out) {
  auto all = commands();
  std::sort(all.begin(), all.end(), [](const Command& a, const Command& b) { return a.name < b.name; });
  out << "Skimlet drives the web page in front by typed commands.\n\nusage: skimlet <command> [options]\n\n";
  for (const auto& c : all) out << "  " << c.usage << "\n      " << c.summary << "\n";
}

}  // namespace skimlet::cli

int main(int argc, char** argv) {
  using namespace skimlet::cli;
  if (argc < 2 || std::string(argv[1]) == "--help" || std::string(argv[1]) == "-h" ||
      std::string(argv[1]) == "help") {
    overview(argc < 2 ? std::cerr : std::cout);
    return argc < 2 ? 2 : 0;
  }
  std::string name = argv[1];
  for (const auto& c : commands()) {
    if (c.name == name) return c.run(Args(argv + 2, argv + argc));
  }
  std::cerr << "skimlet: unknown command “" << name << "”\n\n";
  overview(std::cerr);
  return 2;
}
