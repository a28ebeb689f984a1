// The guesses that let the model write a one-line reply in few passes: what the format forces
// and what the command spells.
#include "ai/intent_line_draft.h"

#include <gtest/gtest.h>

namespace skimlet {
namespace {

TEST(IntentLineDraft, FormatAndCommandFillInTheLine) {
  const std::string command = "Put Hello World in the search box";
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},                      // the action is the model's to choose
      {"scr", "oll_"},               // only what every scroll_ action shares
      {"scroll_to", "|"},            // a whole action word is taken as said
      {"new", "_tab||0||"},          // one ending, no target: the rest is forced
      {"click|", ""},                // the target's first word is the model's
      {"click|search", " box|0||"},  // ... the rest is copied from the command
      {"click|hello w", "orld in the search box|0||"},
      {"click|nowhere", "|0||"},  // not in the command: only the format
      {"type||", "0|"},
      {"type||0|Hello", " World in the search box|"},
      {"type||0|Hello World|search", " box"},
      {"click|box|2", "||"},
      {"back||0||\n", ""},  // past the line
  };
  for (const auto& [sofar, guess] : cases) EXPECT_EQ(draftIntentLine(command, sofar), guess) << sofar;
}

}  // namespace
}  // namespace skimlet
