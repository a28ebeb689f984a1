#include "palette/suggestion.h"

#include <gtest/gtest.h>

namespace skimlet {
namespace {

std::vector<std::string> titles(const std::vector<Suggestion>& all) {
  std::vector<std::string> out;
  for (const auto& s : all) out.push_back(s.title);
  return out;
}

TEST(Suggestions, CommonCommandsUnderAnEmptyField) {
  auto all = suggestionsFor("");
  ASSERT_EQ(all.size(), 5u);
  EXPECT_EQ(titles(all),
            (std::vector<std::string>{"Read page", "Summarize", "Find\u2026", "Click\u2026", "Scroll\u2026"}));
  EXPECT_EQ(all[1].fill, "Summarize this page");
  EXPECT_EQ(all[1].icon, "text.alignleft");
  EXPECT_TRUE(all[0].runs);
  EXPECT_TRUE(all[1].runs);
  // The verbs wait for the user to complete them, the caret after the space.
  for (size_t i = 2; i < 5; ++i) {
    EXPECT_FALSE(all[i].runs);
    EXPECT_EQ(all[i].fill.back(), ' ');
  }
  EXPECT_EQ(titles(suggestionsFor("click the")), titles(all));
}

TEST(Suggestions, ScrollingChoicesOnceScrollIsTyped) {
  for (const char* typed : {"scroll", "  SCROLL", "Scroll to the", "scrolling"}) {
    auto all = suggestionsFor(typed);
    ASSERT_EQ(all.size(), 4u) << typed;
    EXPECT_EQ(titles(all), (std::vector<std::string>{"Scroll down", "Scroll up", "Bottom", "Top"}));
    for (const auto& s : all) EXPECT_TRUE(s.runs);
    EXPECT_EQ(all[2].fill, "Scroll to the bottom");
    EXPECT_EQ(all[3].icon, "arrow.up.to.line");
  }
  EXPECT_EQ(suggestionsFor("scrol").size(), 5u);
}

}  // namespace
}  // namespace skimlet
