#include "match/element_matcher.h"

#include <gtest/gtest.h>

namespace skimlet {
namespace {

PageElement el(int id, std::string role, std::string title, std::optional<Rect> frame = Rect{0, 0, 80, 20},
               std::optional<int> parent = std::nullopt, std::vector<std::string> actions = {}) {
  PageElement e;
  e.id = id;
  e.role = std::move(role);
  e.title = std::move(title);
  e.frame = frame;
  e.parent = parent;
  e.actions = std::move(actions);
  return e;
}

std::vector<PageElement> sevenLinks() {
  std::vector<PageElement> page;
  for (int i = 0; i < 7; ++i) page.push_back(el(i, "AXLink", "Story " + std::to_string(i + 1), Rect{0, 30.0 * i, 200, 20}));
  return page;
}

TEST(TextScore, ExactSquashedPhraseAndTokenScores) {
  EXPECT_EQ(ElementMatcher::score("Sign in", "sign in"), 100);
  EXPECT_EQ(ElementMatcher::score("Sign-in!", "sign in"), 100);  // punctuation is only a blank
  EXPECT_EQ(ElementMatcher::score("Log In", "login"), 96);
  EXPECT_NEAR(ElementMatcher::score("See our shipping rates today", "shipping rates"), 8 + 82 / 1.21, 1e-9);
  EXPECT_EQ(ElementMatcher::score("", "x"), 0);
  EXPECT_EQ(ElementMatcher::score("Save", "!!"), 0);
}

TEST(TextScore, ShortQueriesNeverMatchInsideWordsButMayBePrefixes) {
  EXPECT_EQ(ElementMatcher::score("Cart", "art"), 0);                // three letters: no squashed hit
  EXPECT_EQ(ElementMatcher::score("Cart", "car"), 70);               // but a token prefix
  EXPECT_EQ(ElementMatcher::score("Shopcart", "cart"), 66);          // four letters inside a word
  EXPECT_NEAR(ElementMatcher::score("Download report", "report"), 82 / 1.07 + 8, 1e-9);
}

TEST(ElementScore, AliasesAndHelpText) {
  PageElement signIn = el(0, "AXButton", "Sign in");
  EXPECT_EQ(ElementMatcher::score(signIn, "sign in"), 100);
  EXPECT_EQ(ElementMatcher::score(signIn, "signin"), 96);
  EXPECT_DOUBLE_EQ(ElementMatcher::score(signIn, "login"), 95);
  EXPECT_DOUBLE_EQ(ElementMatcher::score(signIn, "Log in"), 95);
  EXPECT_DOUBLE_EQ(ElementMatcher::score(el(1, "AXLink", "Basket"), "cart"), 95);

  PageElement gear = el(2, "AXButton", "Settings");
  gear.help = "Account options";
  EXPECT_DOUBLE_EQ(ElementMatcher::score(gear, "account options"), 80);  // a tooltip counts less
  PageElement onlyHelp = el(3, "AXButton", "");
  onlyHelp.help = "Account options";
  EXPECT_EQ(ElementMatcher::score(onlyHelp, "account options"), 100);  // unless it is the only name
  EXPECT_EQ(ElementMatcher::score(el(4, "AXButton", ""), "anything"), 0);
}

TEST(RoleFit, LinksAreResultsNotButtons) {
  PageElement link = el(0, "AXLink", "Docs", Rect{}, std::nullopt, {"AXPress"});
  EXPECT_TRUE(ElementMatcher::fits(link, RoleHint::link));
  EXPECT_TRUE(ElementMatcher::fits(link, RoleHint::result));
  EXPECT_FALSE(ElementMatcher::fits(link, RoleHint::button));

  EXPECT_TRUE(ElementMatcher::fits(el(1, "AXGroup", "Card", Rect{}, std::nullopt, {"AXPress"}), RoleHint::button));
  EXPECT_TRUE(ElementMatcher::fits(el(2, "AXMenuItem", "Copy"), RoleHint::button));
  EXPECT_FALSE(ElementMatcher::fits(el(3, "AXStaticText", "Save"), RoleHint::button));
  PageElement search = el(4, "AXGroup", "Search");
  search.subrole = "AXSearchField";
  EXPECT_TRUE(ElementMatcher::fits(search, RoleHint::field));
  EXPECT_FALSE(ElementMatcher::fits(el(5, "AXCheckBox", "x"), RoleHint::field));
}

TEST(Matches, VisibleCandidatesOnlyWithTiesInDocumentOrder) {
  std::vector<PageElement> page = {
      el(0, "AXWebArea", "Save"),
      el(1, "AXButton", "Save", Rect{0, 0, 0, 20}),  // zero width: never a candidate
      el(2, "AXButton", "Save", std::nullopt),
      el(3, "AXButton", "Save draft", Rect{0, 40, 80, 20}),
      el(4, "AXButton", "Save", Rect{0, 80, 80, 20}),
      el(5, "AXButton", "Save", Rect{0, 120, 80, 20}),
      el(6, "AXButton", "Cancel", Rect{0, 160, 80, 20}),
  };
  MatchList list = ElementMatcher::matches({.query = "save"}, page, MatchPurpose::click);
  ASSERT_EQ(list.matches.size(), 3u);
  EXPECT_EQ(list.matches[0].id(), 4);
  EXPECT_EQ(list.matches[1].id(), 5);
  EXPECT_EQ(list.matches[2].id(), 3);
  EXPECT_EQ(list.matches[0].reason, "label matches “save”");
  EXPECT_FALSE(list.ordinalApplied);
}

TEST(Matches, EmptyQueryKeepsDocumentOrder) {
  MatchList list = ElementMatcher::matches({.role = RoleHint::link}, sevenLinks(), MatchPurpose::link);
  ASSERT_EQ(list.matches.size(), 7u);
  EXPECT_EQ(list.matches[0].score, 50);
  EXPECT_EQ(list.matches[6].id(), 6);
  EXPECT_EQ(list.matches[0].reason, "link in document order");
  EXPECT_EQ(ElementMatcher::matches({}, sevenLinks(), MatchPurpose::find).matches[0].reason,
            "element in document order");
}

TEST(Matches, Ordinals) {
  MatchList third = ElementMatcher::matches({.ordinal = 3, .role = RoleHint::link}, sevenLinks(), MatchPurpose::link);
  ASSERT_EQ(third.matches.size(), 1u);
  EXPECT_TRUE(third.ordinalApplied);
  EXPECT_EQ(third.matches[0].id(), 2);
  EXPECT_EQ(third.matches[0].score, 50);
  EXPECT_EQ(third.matches[0].reason, "#3 of 7 matching");

  MatchList ninth = ElementMatcher::matches({.ordinal = 9, .role = RoleHint::link}, sevenLinks(), MatchPurpose::link);
  EXPECT_TRUE(ninth.matches.empty());
  EXPECT_TRUE(ninth.ordinalApplied);

  MatchList last = ElementMatcher::matches({.ordinal = -1, .role = RoleHint::link}, sevenLinks(), MatchPurpose::link);
  ASSERT_EQ(last.matches.size(), 1u);
  EXPECT_EQ(last.matches[0].id(), 6);
  EXPECT_EQ(last.matches[0].reason, "last of 7 matching");

  // The ordinal counts among the sorted matches, best first.
  std::vector<PageElement> page = {el(0, "AXButton", "Save draft"), el(1, "AXButton", "Save")};
  MatchList first = ElementMatcher::matches({.query = "save", .ordinal = 1}, page, MatchPurpose::click);
  EXPECT_EQ(first.matches.at(0).id(), 1);
}

TEST(Purpose, NarrowsCandidatesAndPressableClimbs) {
  std::vector<PageElement> page = {
      el(0, "AXGroup", "", Rect{0, 0, 300, 100}, std::nullopt, {"AXPress"}),  // an unnamed clickable card
      el(1, "AXStaticText", "Weekly deals", Rect{10, 10, 100, 20}, 0),
      el(2, "AXButton", "Weekly deals", Rect{0, 200, 100, 20}),
      el(3, "AXStaticText", "Weekly deals", Rect{5, 205, 90, 10}, 2),  // the button already says it
      el(4, "AXTextField", "Weekly deals", Rect{0, 300, 100, 20}),
      el(5, "AXStaticText", "Weekly deals", Rect{0, 400, 100, 20}),  // plain text, not pressable
  };
  auto ids = [&](MatchPurpose purpose) {
    std::vector<int> out;
    for (const auto& m : ElementMatcher::matches({.query = "weekly deals"}, page, purpose).matches) out.push_back(m.id());
    return out;
  };
  EXPECT_EQ(ids(MatchPurpose::click), (std::vector<int>{1, 2, 4}));
  EXPECT_EQ(ids(MatchPurpose::field), (std::vector<int>{4}));
  EXPECT_EQ(ids(MatchPurpose::find), (std::vector<int>{1, 2, 3, 4, 5}));

  EXPECT_EQ(ElementMatcher::pressable(page[1], page).id, 0);
  EXPECT_EQ(ElementMatcher::pressable(page[3], page).id, 2);
  EXPECT_EQ(ElementMatcher::pressable(page[5], page).id, 5);  // nothing to climb to: itself
}

TEST(NextTo, NearestByGapAndNeverTheAnchorOrItsContainers) {
  std::vector<PageElement> page = {
      el(0, "AXGroup", "", Rect{0, 0, 400, 100}),
      el(1, "AXCheckBox", "", Rect{0, 10, 16, 16}, 0),
      el(2, "AXStaticText", "Remember me", Rect{20, 10, 200, 16}, 0),
      el(3, "AXCheckBox", "", Rect{0, 60, 16, 16}, 0),
  };
  MatchList list = ElementMatcher::matches({.nextTo = "Remember me"}, page, MatchPurpose::find);
  ASSERT_EQ(list.matches.size(), 2u);  // the group holds the anchor, the text is the anchor
  EXPECT_EQ(list.matches[0].id(), 1);
  EXPECT_DOUBLE_EQ(list.matches[0].score, 100 - 0.125 * 4);
  EXPECT_EQ(list.matches[0].reason, "nearest to “Remember me” (4 pt)");
  EXPECT_EQ(list.matches[1].id(), 3);

  EXPECT_TRUE(ElementMatcher::matches({.nextTo = "Forgot password"}, page, MatchPurpose::find).matches.empty());
  // Very far candidates keep a score of 1.
  page[3].frame = Rect{0, 5000, 16, 16};
  EXPECT_EQ(ElementMatcher::matches({.nextTo = "Remember me"}, page, MatchPurpose::find).matches[1].score, 1);
}

TEST(NextTo, DistanceIsTheGapBetweenFrames) {
  EXPECT_EQ(ElementMatcher::distance({0, 0, 10, 10}, {5, 5, 10, 10}), 0);
  EXPECT_EQ(ElementMatcher::distance({0, 0, 10, 10}, {10, 0, 10, 10}), 0);
  EXPECT_EQ(ElementMatcher::distance({0, 0, 10, 10}, {30, 0, 10, 10}), 20);
  EXPECT_EQ(ElementMatcher::distance({0, 0, 10, 10}, {13, 14, 10, 10}), 5);
}

}  // namespace
}  // namespace skimlet
