// skimlet read --fixture FILE: a recorded page as the read command shows it, and what reading
// it took.
#include <iostream>

#include "cli.h"
#include "engine/action_engine.h"
#include "fixture_session.h"
#include "outcome_text.h"

namespace skimlet::cli {
namespace {

int readCommand(const Args& args);

const Command kRead{"read", "read --fixture FILE", "Prints a recorded page as text, with its element and line counts.",
                    readCommand};

int readCommand(const Args& args) {
  std::string fixture;
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--fixture" && i + 1 < args.size() && fixture.empty()) fixture = args[++i];
    else if (args[i] == "--fixture") return usageError(kRead, "--fixture needs one file");
    else return usageError(kRead, "unexpected argument " + args[i]);
  }
  if (fixture.empty()) return usageError(kRead, "--fixture FILE is required");

  try {
    FixtureSession session(fixture);
    auto snap = session.capture();
    if (!snap) {
      std::cerr << "skimlet read: " << fixture << ": the browser shows no window to read\n";
      return 1;
    }
    if (std::string text = snap->text(); !text.empty()) std::cout << OutcomeText::inert(text) << "\n\n";
    // The same words as the "Why?" line of every command that reads the page.
    std::vector<std::string> note;
    ActionEngine::notePage(*snap, note);
    std::cout << note.front() << "\n";
    return 0;
  } catch (const std::exception& e) {
    std::cerr << "skimlet read: " << e.what() << "\n";
    return 1;
  }
}

SKIMLET_COMMAND(kRead);

}  // namespace
}  // namespace skimlet::cli
