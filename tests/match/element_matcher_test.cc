#include "match/element_matcher.h"

#include <gtest/gtest.h>

namespace skimlet {
namespace {

PageElement el(int id, std::string role, std::string title, std::optional<Rect> frame = Rect{0, 0, 80, 20},
               std::optional<int> parent = std::nullopt, std::vector<std::string> actions = {}) {
  PageElement e;
  e.id = id, e.role = std::move(role), e.title = std::move(title), e.frame = frame, e.parent = parent;
  e.actions = std::move(actions);
  return e;
}

TargetSpec want(std::string query, std::optional<int> ordinal = std::nullopt, RoleHint role = RoleHint::any,
                std::optional<std::string> nextTo = std::nullopt) {
  return TargetSpec{std::move(query), ordinal, role, std::move(nextTo)};
}

std::vector<int> ids(const MatchList& list) {
  std::vector<int> out;
  for (const auto& m : list.matches) out.push_back(m.id());
  return out;
}

TEST(Score, ScoresByHowTheLabelMatches) {
  EXPECT_EQ(ElementMatcher::score("Sign-in!", "sign in"), 100);  // punctuation is only a blank
  EXPECT_EQ(ElementMatcher::score("Log In", "login"), 96);
  EXPECT_NEAR(ElementMatcher::score("See our shipping rates today", "shipping rates"), 8 + 82 / 1.21, 1e-9);
  EXPECT_EQ(ElementMatcher::score("Cart", "art"), 0);        // three letters never match inside a word
  EXPECT_EQ(ElementMatcher::score("Cart", "car"), 70);       // but may be a token prefix
  EXPECT_EQ(ElementMatcher::score("Shopcart", "cart"), 66);  // four letters may
  EXPECT_EQ(ElementMatcher::score("Save", "!!"), 0);

  PageElement signIn = el(0, "AXButton", "Sign in");
  EXPECT_EQ(ElementMatcher::score(signIn, "signin"), 96);
  EXPECT_DOUBLE_EQ(ElementMatcher::score(signIn, "login"), 95);
  EXPECT_DOUBLE_EQ(ElementMatcher::score(signIn, "Log in"), 95);
  EXPECT_DOUBLE_EQ(ElementMatcher::score(el(1, "AXLink", "Basket"), "cart"), 95);

  PageElement gear = el(2, "AXButton", "Settings");
  gear.help = "Account options";
  EXPECT_DOUBLE_EQ(ElementMatcher::score(gear, "account options"), 80);  // a tooltip counts less…
  gear.title.clear();
  EXPECT_EQ(ElementMatcher::score(gear, "account options"), 100);  // …unless it is the only name
}

TEST(Fits, LinksAreResultsNeverButtons) {
  PageElement link = el(0, "AXLink", "Docs", Rect{}, std::nullopt, {"AXPress"});
  EXPECT_TRUE(ElementMatcher::fits(link, RoleHint::link));
  EXPECT_TRUE(ElementMatcher::fits(link, RoleHint::result));
  EXPECT_FALSE(ElementMatcher::fits(link, RoleHint::button));
  EXPECT_TRUE(ElementMatcher::fits(el(1, "AXGroup", "Card", Rect{}, std::nullopt, {"AXPress"}), RoleHint::button));
  EXPECT_FALSE(ElementMatcher::fits(el(2, "AXStaticText", "Save"), RoleHint::button));
  PageElement search = el(3, "AXGroup", "Search");
  search.subrole = "AXSearchField";
  EXPECT_TRUE(ElementMatcher::fits(search, RoleHint::field));
}

TEST(Matches, CandidatesAreVisibleInPageOrder) {
  std::vector<PageElement> page = {
      el(0, "AXWebArea", "Save"),
      el(1, "AXButton", "Save", Rect{0, 0, 0, 20}),  // zero width
      el(2, "AXButton", "Save", std::nullopt),
      el(3, "AXButton", "Save draft"),
      el(4, "AXButton", "Save"),
      el(5, "AXButton", "Save"),
  };
  MatchList list = ElementMatcher::matches(want("save"), page, MatchPurpose::click);
  EXPECT_EQ(ids(list), (std::vector<int>{4, 5, 3}));
  EXPECT_EQ(list.matches[0].reason, "label matches “save”");
  EXPECT_FALSE(list.ordinalApplied);
  EXPECT_EQ(ids(ElementMatcher::matches(want("save", 3), page, MatchPurpose::click)),
            std::vector<int>{3});  // ordinals count in score order

  std::vector<PageElement> links;
  for (int i = 0; i < 7; ++i) links.push_back(el(i, "AXLink", "Story " + std::to_string(i)));
  auto nth = [&](std::optional<int> n) {
    return ElementMatcher::matches(want("", n, RoleHint::link), links, MatchPurpose::link);
  };
  MatchList all = nth(std::nullopt);
  EXPECT_EQ(all.matches.size(), 7u);
  EXPECT_EQ(all.matches[6].score, 50);
  EXPECT_EQ(all.matches[6].reason, "link in document order");
  MatchList third = nth(3), ninth = nth(9), last = nth(-1);
  EXPECT_EQ(ids(third), std::vector<int>{2});
  EXPECT_EQ(third.matches[0].reason, "#3 of 7 matching");
  EXPECT_TRUE(third.ordinalApplied);
  EXPECT_TRUE(ninth.matches.empty());
  EXPECT_TRUE(ninth.ordinalApplied);
  EXPECT_EQ(ids(last), std::vector<int>{6});
  EXPECT_EQ(last.matches[0].reason, "last of 7 matching");
}

TEST(Matches, PurposeNarrowsTheCandidates) {
  std::vector<PageElement> page = {
      el(0, "AXGroup", "", Rect{0, 0, 300, 100}, std::nullopt, {"AXPress"}),  // an unnamed clickable card
      el(1, "AXStaticText", "Weekly deals", Rect{10, 10, 100, 20}, 0),
      el(2, "AXButton", "Weekly deals"),
      el(3, "AXStaticText", "Weekly deals", Rect{5, 5, 90, 10}, 2),  // the button already says it
      el(4, "AXTextField", "Weekly deals"),
      el(5, "AXStaticText", "Weekly deals"),  // plain text
  };
  auto found = [&](MatchPurpose p) { return ids(ElementMatcher::matches(want("weekly deals"), page, p)); };
  EXPECT_EQ(found(MatchPurpose::click), (std::vector<int>{1, 2, 4}));
  EXPECT_EQ(found(MatchPurpose::field), std::vector<int>{4});
  EXPECT_EQ(found(MatchPurpose::find), (std::vector<int>{1, 2, 3, 4, 5}));
  EXPECT_EQ(ElementMatcher::pressable(page[1], page).id, 0);
  EXPECT_EQ(ElementMatcher::pressable(page[3], page).id, 2);
  EXPECT_EQ(ElementMatcher::pressable(page[5], page).id, 5);  // nothing to climb to
}

TEST(Matches, NextToRanksByTheGapToTheAnchor) {
  std::vector<PageElement> page = {
      el(0, "AXGroup", "", Rect{0, 0, 400, 100}),
      el(1, "AXCheckBox", "", Rect{0, 10, 16, 16}, 0),
      el(2, "AXStaticText", "Remember me", Rect{20, 10, 200, 16}, 0),
      el(3, "AXCheckBox", "", Rect{0, 60, 16, 16}, 0),
  };
  // The group holds the anchor and the text is the anchor: neither is "next to" it.
  MatchList list =
      ElementMatcher::matches(want("", std::nullopt, RoleHint::any, "Remember me"), page, MatchPurpose::find);
  EXPECT_EQ(ids(list), (std::vector<int>{1, 3}));
  EXPECT_DOUBLE_EQ(list.matches[0].score, 99.5);
  EXPECT_EQ(list.matches[0].reason, "nearest to “Remember me” (4 pt)");
  EXPECT_TRUE(
      ElementMatcher::matches(want("", std::nullopt, RoleHint::any, "Forgot password"), page, MatchPurpose::find)
          .matches.empty());
  page[3].frame = Rect{0, 5000, 16, 16};
  EXPECT_EQ(ElementMatcher::matches(want("", std::nullopt, RoleHint::any, "Remember me"), page, MatchPurpose::find)
                .matches[1]
                .score,
            1);

  EXPECT_EQ(ElementMatcher::distance({0, 0, 10, 10}, {5, 5, 10, 10}), 0);  // overlapping
  EXPECT_EQ(ElementMatcher::distance({0, 0, 10, 10}, {13, 14, 10, 10}), 5);
}

}  // namespace
}  // namespace skimlet
