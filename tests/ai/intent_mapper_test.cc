#include "ai/intent_mapper.h"

#include <gtest/gtest.h>

namespace skimlet {
namespace {

std::optional<Intent> mapped(std::string_view action, std::string_view target = "", int ordinal = 0,
                             std::string_view text = "", std::string_view field = "",
                             std::string_view input = "whatever the user typed") {
  return IntentMapper::map(action, target, ordinal, text, field, input);
}

TEST(IntentMapper, ActionsWithoutArgumentsIgnoreWhatElseTheModelFilledIn) {
  EXPECT_EQ(mapped("scroll_top", " stray target ", 3, "stray", "field"),
            Intent(intents::Scroll{{ScrollSpec::Kind::top, ""}}));
  EXPECT_EQ(mapped("previous_tab", "x", 1), Intent(intents::Navigate{{NavAction::Kind::previousTab, 0, ""}}));
  EXPECT_EQ(mapped("select_all", "x", 0, "y"), Intent(intents::Key{KeyAction::selectAll}));
  EXPECT_EQ(mapped("list_links", "x"), Intent(intents::List{RoleHint::link}));
}

TEST(IntentMapper, UnknownMisspelledOrCapitalisedActionsGiveNothing) {
  for (const char* action : {"unknown", "", "Click", "CLICK", "scroll down", "scrolldown", " click", "open_links",
                             "find_all", "fill_profile", "tab", "delete", "list_fields", "open_article"}) {
    EXPECT_FALSE(mapped(action, "Sign in", 1, "hi", "box", "click sign in hi")) << '"' << action << '"';
  }
}

TEST(IntentMapper, ActionsOnATargetNeedOneOrAnOrdinal) {
  using SK = ScrollSpec::Kind;
  struct Case {
    const char* action;
    const char* target;
    int ordinal;
    std::optional<Intent> expected;
  };
  const Case cases[] = {
      {"click", "  blue shirt\n", 2, intents::Click{{"blue shirt", 2}}},
      {"click", "Sign in", 0, intents::Click{{"Sign in"}}},
      {"click", "", 2, intents::Click{{"", 2}}},
      {"click", "", -1, intents::Click{{"", -1}}},
      {"click", "", 0, std::nullopt},
      {"click", " \n\t", 0, std::nullopt},
      // White space beyond ASCII's is trimmed too: no-break, ideographic, line separator.
      {"click", "\u00a0Sign in\u3000\u2028", 0, intents::Click{{"Sign in"}}},
      {"click", "\u00a0\u2003", 0, std::nullopt},
      {"open_link", "pricing", 0, intents::OpenLink{{"pricing"}}},
      {"open_link", "", 3, intents::OpenLink{{"", 3}}},
      {"open_link", "  ", 0, std::nullopt},
      {"find", " shipping costs ", 0, intents::Find{"shipping costs"}},
      {"find", "\n", 0, std::nullopt},
      {"scroll_to", "Reviews", 0, intents::Scroll{{SK::section, "Reviews"}}},
      {"scroll_to", "", 0, std::nullopt},
  };
  for (const Case& c : cases)
    EXPECT_EQ(mapped(c.action, c.target, c.ordinal), c.expected) << c.action << " “" << c.target << "” " << c.ordinal;
}

TEST(IntentMapper, TheUsersWordsAreKeptNeverTheModels) {
  EXPECT_EQ(mapped("ask", "return policy", 0, "", "", "What's their Return Policy?"),
            Intent(intents::Ask{"What's their Return Policy?"}));
  EXPECT_EQ(mapped("ask", "", 0, "", "", "how long is shipping"), Intent(intents::Ask{"how long is shipping"}));

  // Typing takes only what the user wrote.
  EXPECT_EQ(mapped("type", "", 0, "hello", "search box", "put hello in the search box"),
            Intent(intents::Type{"hello", TargetSpec{"search box", {}, RoleHint::field}, false}));
  // The model invented the text: nothing is typed.
  EXPECT_FALSE(mapped("type", "", 0, "hello", "search box", "search for shoes"));
  EXPECT_FALSE(mapped("type", "", 0, "", "search box", "type into the search box"));
  EXPECT_EQ(mapped("type", "", 0, "Hello World", "", "enter hello world please"),
            Intent(intents::Type{"Hello World", std::nullopt, false}));
}

TEST(IntentMapper, TypedTextIsFoundIgnoringCaseBeyondAscii) {
  EXPECT_TRUE(mapped("type", "", 0, "ÉCOLE", "", "write école here"));
  EXPECT_TRUE(mapped("type", "", 0, "straße", "", "write STRASSE there"));  // full case folding
  EXPECT_TRUE(mapped("type", "", 0, "Ωμέγα", "", "type ωμέγα"));
  // An accent typed as a separate mark still counts as the same letter.
  EXPECT_TRUE(mapped("type", "", 0, "caf\u00e9", "", "type cafe\u0301 now"));
  // Folding is about case only: a missing accent is a different text.
  EXPECT_FALSE(mapped("type", "", 0, "café", "", "type cafe now"));
}

}  // namespace
}  // namespace skimlet
