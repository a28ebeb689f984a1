// Titles and target summaries are what the user reads before a command runs and in the "Why?"
// lines, so their exact wording matters. The title of every kind of intent is pinned by the
// parser's tests, which read it through title(); here are the parts the parser can't reach.
#include <gtest/gtest.h>

#include "intent/intent.h"

namespace skimlet {
namespace {

TargetSpec target(std::string query, std::optional<int> ordinal = {}, RoleHint role = RoleHint::any,
                  std::optional<std::string> nextTo = {}) {
  return TargetSpec{std::move(query), ordinal, role, std::move(nextTo)};
}

TEST(TargetSummary, NamesEachPartInOrder) {
  EXPECT_EQ(target("sign in", 2, RoleHint::button).summary(), "second “sign in” button");
  EXPECT_EQ(target("").summary(), "element");
  EXPECT_EQ(target("", {}, RoleHint::any, "Search").summary(), "next to “Search”");
  EXPECT_EQ(target("", -1, RoleHint::result).summary(), "last result");
  EXPECT_EQ(target("Item", 11).summary(), "#11 “Item”");
  EXPECT_EQ(target("x", 10).summary(), "tenth “x”");
  EXPECT_EQ(target("Go", 0).summary(), "“Go”");  // no word for 0, and no space before the rest
  EXPECT_EQ(target("Submit", {}, RoleHint::button, "email field").summary(), "“Submit” button next to “email field”");
}

TEST(IntentTitle, TypedTextIsCutAt24CharactersCountedAsUserSees) {
  using intents::Type;
  EXPECT_EQ(title(Type{"abcdefghijklmnopqrstuvwx", {}, false}), "Type “abcdefghijklmnopqrstuvwx”");
  EXPECT_EQ(title(Type{"abcdefghijklmnopqrstuvwxy", {}, false}), "Type “abcdefghijklmnopqrstuvw…”");
  // 24 flags are 48 code points but 24 characters: shown whole.
  std::string flags;
  for (int i = 0; i < 24; ++i) flags += "🇫🇷";
  EXPECT_EQ(title(Type{flags, {}, false}), "Type “" + flags + "”");
  std::string accents;  // e + combining acute, 25 times
  for (int i = 0; i < 25; ++i) accents += "e\u0301";
  std::string cut;
  for (int i = 0; i < 23; ++i) cut += "e\u0301";
  EXPECT_EQ(title(Type{accents, {}, false}), "Type “" + cut + "…”");
}

TEST(RawValues, RawValuesRoundTrip) {
  for (RoleHint r : {RoleHint::any, RoleHint::button, RoleHint::link, RoleHint::field, RoleHint::checkbox,
                     RoleHint::tab, RoleHint::image, RoleHint::heading, RoleHint::result})
    EXPECT_EQ(roleHintFromRaw(rawValue(r)), r);
  EXPECT_EQ(roleHintFromRaw("Button"), std::nullopt);
  EXPECT_EQ(noun(RoleHint::any), "element");
  EXPECT_EQ(keyActionFromRaw("delete"), KeyAction::del);
  EXPECT_EQ(keyActionFromRaw("del"), std::nullopt);
  EXPECT_EQ(keyActionFromRaw("selectAll"), KeyAction::selectAll);
  EXPECT_EQ(profileFieldFromRaw("email"), ProfileField::email);
  EXPECT_EQ(profileFieldFromRaw("Email"), std::nullopt);
  EXPECT_EQ(caseName(intents::CopyArticle{}), "copyArticle");
  EXPECT_EQ(caseName(intents::FillProfile{}), "fillProfile");
}

}  // namespace
}  // namespace skimlet
