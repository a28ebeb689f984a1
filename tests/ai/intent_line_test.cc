#include "ai/intent_line.h"

#include <gtest/gtest.h>

namespace skimlet {
namespace {

void expectFields(std::string_view reply, const std::string& action, const std::string& target, int ordinal,
                  const std::string& text, const std::string& field) {
  auto got = readIntentLine(reply);
  ASSERT_TRUE(got) << reply;
  EXPECT_EQ(got->action, action) << reply;
  EXPECT_EQ(got->target, target) << reply;
  EXPECT_EQ(got->ordinal, ordinal) << reply;
  EXPECT_EQ(got->text, text) << reply;
  EXPECT_EQ(got->field, field) << reply;
}

TEST(IntentLine, ReadsTheFiveFieldsInOrderToleratingLooseFormatting) {
  expectFields("click|blue shirt|2||", "click", "blue shirt", 2, "", "");
  expectFields("type||0|hello|search box", "type", "", 0, "hello", "search box");
  expectFields("click||-1||", "click", "", -1, "", "");
  expectFields("  click | Sign in | 1 |  |  \n", "click", "Sign in", 1, "", "");
  expectFields("find|shipping costs", "find", "shipping costs", 0, "", "");  // missing trailing fields
  expectFields("back", "back", "", 0, "", "");
  expectFields("click|cart|second||", "click", "cart", 0, "", "");  // not a number
  expectFields("click|cart|2nd||", "click", "cart", 0, "", "");
  expectFields("click|cart|+2||", "click", "cart", 2, "", "");
  expectFields("`click|cart|0||`", "click", "cart", 0, "", "");
  expectFields("click|a|1|b|c|extra", "click", "a", 1, "b", "c");
  expectFields("scroll_down||0||\r\n", "scroll_down", "", 0, "", "");
  expectFields("\u00a0click\u2003|\u3000cart\u00a0| 2\u2009||", "click", "cart", 2, "", "");
}

TEST(IntentLine, TakesTheFirstLineWithSeparatorsAfterAnyEcho) {
  expectFields("\n\nSure, here it is:\nfind|prices|0||\nclick|buy|0||", "find", "prices", 0, "", "");
  expectFields("```\nback||0||\n```", "back", "", 0, "", "");
  // With no separator anywhere, the first non-empty line is all there is.
  expectFields("\n  unknown  \nmore", "unknown", "", 0, "", "");
  // An echoed command before the arrow is left out.
  expectFields("take me home -> back||0||", "back", "", 0, "", "");
  expectFields("put hi in the box -> type||0|hi|box", "type", "", 0, "hi", "box");
  // An arrow inside the typed text is text, not an echo.
  expectFields("type||0|a -> b|", "type", "", 0, "a -> b", "");
  // Nothing for an empty reply.
  EXPECT_FALSE(readIntentLine(""));
  EXPECT_FALSE(readIntentLine(" \n\t\n "));
}

}  // namespace
}  // namespace skimlet
