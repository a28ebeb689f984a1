// The rules are tried in a fixed order and the first whole-command match wins; most faults
// here are one rule shadowing another, so many cases pin which rule a phrasing reaches.
#include <gtest/gtest.h>

#include <thread>

#include "intent/intent_parser.h"

namespace skimlet {
namespace {

using IntentParser::parse;
using IntentParser::parseTarget;

std::string understood(std::string_view command) {
  auto intent = parse(command);
  return intent ? title(*intent) : "none";
}

void expectTitles(const std::vector<std::pair<std::string, std::string>>& cases) {
  for (const auto& [command, expected] : cases) EXPECT_EQ(understood(command), expected) << "command: " << command;
}

TEST(IntentParserOrder, NavigationComesBeforeTargets) {
  expectTitles({
      {"go back", "Go back"},
      {"previous page", "Go back"},
      {"back a page", "Go back"},
      {"next page", "Go forward"},
      {"Refresh this page", "Reload"},
      {"open a new tab", "New tab"},
      {"close the tab", "Close tab"},
      {"switch to the next tab", "Next tab"},
      {"prev tab", "Previous tab"},
      {"tab 3", "Switch to tab 3"},
      {"go to tab 12", "Switch to tab 12"},
      {"tab x", "none"},
      {"tab ٣", "none"},  // Arabic-Indic three matches \d but is no number to us
      {"tab 99999999999999999999", "none"},
      {"tab", "Press Tab"},
      {"press the tab key", "Press Tab"},
      {"switch to the Inbox tab", "Switch to tab “Inbox”"},
      {"copy this article", "Copy page text"},
      {"copy the text of this page", "Copy page text"},
      {"copy this", "Press Copy"},
      {"paste it", "Press Paste"},
      {"select all text in this field", "Press Select all"},
      {"press enter", "Press Return"},
      {"esc", "Press Escape"},
      {"backspace", "Press Delete"},
      {"press the Up arrow key", "Press Up arrow"},
      {"arrow LEFT", "Press Left arrow"},
      {"press the blue button", "Click “blue” button"},
  });
}

TEST(IntentParserOrder, ScrollReadSummarizeFind) {
  expectTitles({
      {"scroll down a bit", "Scroll down"},
      {"page up", "Scroll up"},
      {"scroll all the way to the bottom of the page", "Scroll to bottom"},
      {"go to the top", "Scroll to top"},
      {"scroll to the Reviews section.", "Scroll to “Reviews section”"},
      {"scroll until I see pricing", "Scroll to “pricing”"},
      {"read this page aloud", "Read page"},
      {"what's on this page", "Read page"},
      {"tl;dr", "Summarize page"},
      {"give me a summary of this article", "Summarize page"},
      {"summarize the pricing section", "Ask: Summarize the pricing section"},
      {"read me the shipping policy", "Ask: What does the page say about the shipping policy?"},
      {"find all occurrences of refund", "Find every “refund”"},
      {"highlight every mention of Apple", "Find every “Apple”"},
      {"where does the page mention returns", "Find “returns”"},
      {"where's the checkout button", "Find “checkout button”"},
      {"look for “free shipping”", "Find “free shipping”"},
  });
}

TEST(IntentParserOrder, ListsLinksFormsClicksQuestions) {
  expectTitles({
      {"what buttons are there", "List buttons"},
      {"show me all the check boxes", "none"},
      {"list checkboxes", "List checkboxs"},
      {"which inputs can I fill?", "List fields"},
      {"show controls", "List elements"},
      {"what links mention pricing", "Ask: what links mention pricing"},
      {"open every link about pricing", "Open every link mentioning “pricing”"},
      {"open this article", "Open this article"},
      {"open the pricing link", "Open “pricing” link"},
      {"open linkedin profile", "Open “linkedin profile” link"},
      {"type my email into the login box", "Fill my email in “login” field"},
      {"enter my e-mail address", "Fill my email"},
      {"fill in my phone number", "Fill my phone"},
      {"fill the search box with shoes", "Replace with “shoes” in “search” field"},
      {"set quantity to 3", "Replace with “3” in “quantity” field"},
      {"replace the text with Hello", "Replace with “Hello”"},
      {"type my name in the first field", "Fill my name in first field"},
      {"write 'hello there' inside the comment box", "Type “hello there” in “comment” field"},
      {"type hello", "Type “hello”"},
      {"tap on Sign in", "Click “Sign in”"},
      {"Is this page secure", "Ask: Is this page secure"},
      {"Hello?", "Ask: Hello?"},
      {"tell me the price", "Ask: tell me the price"},
      {"banana", "none"},
      // Check boxes are set to a state only where every rule above left the command alone.
      {"tick remember me", "Tick “remember me” checkbox"},
      {"Uncheck the newsletter box", "Untick “newsletter” checkbox"},
      {"check what shipping costs", "none"},
  });
}

TEST(IntentParserPoliteness, StrippedAtBothEnds) {
  expectTitles({
      {"Could you please scroll down a bit please.", "Scroll down"},
      {"hey can you please go back", "Go back"},
      {"pls just click save", "Click “save”"},
      {"please", "none"},
      {"   ", "none"},
      {"", "none"},
  });
  // The question keeps the user's casing and loses only the politeness.
  auto intent = parse("Please, what does shipping cost? please");
  ASSERT_TRUE(intent);
  EXPECT_EQ(std::get<intents::Ask>(*intent).question, "Please, what does shipping cost?");
}

TEST(IntentParserTargets, FillersOrdinalsRolesConnectorsAnchors) {
  struct Case {
    std::string phrase;
    TargetSpec expected;
  };
  const std::vector<Case> cases = {
      {"the second search result", {"search", 2, RoleHint::result, {}}},
      {"button labeled Save", {"Save", {}, RoleHint::button, {}}},
      {"Submit next to the email field", {"Submit", {}, RoleHint::any, "email field"}},
      {"the button", {"", {}, RoleHint::button, {}}},
      {"save button", {"save", {}, RoleHint::button, {}}},
      {"last result", {"", -1, RoleHint::result, {}}},
      {"the 3rd link", {"", 3, RoleHint::link, {}}},
      {"about", {"about", {}, RoleHint::any, {}}},
      {"the link about", {"", {}, RoleHint::link, {}}},
      {"link to pricing", {"pricing", {}, RoleHint::link, {}}},
      {"link pricing", {"link pricing", {}, RoleHint::any, {}}},  // no connector: not a leading role word
      {"the a", {"a", {}, RoleHint::any, {}}},                    // fillers stop at the last word
      {"“Sign in”.", {"Sign in", {}, RoleHint::any, {}}},
      {"OK beside Cancel", {"OK", {}, RoleHint::any, "Cancel"}},
      {"icon", {"", {}, RoleHint::image, {}}},
      {"First Name field", {"Name", 1, RoleHint::field, {}}},
      // Command text is matched case-insensitively, role words and connectors included.
      {"THE SECOND LINK", {"", 2, RoleHint::link, {}}},
      {"SIGNUP BOX", {"SIGNUP", {}, RoleHint::field, {}}},
      {"Button Labeled Save", {"Save", {}, RoleHint::button, {}}},
  };
  for (const auto& c : cases) EXPECT_EQ(parseTarget(c.phrase, RoleHint::any), c.expected) << c.phrase;
  EXPECT_EQ(parseTarget("search", RoleHint::field).role, RoleHint::field);
}

TEST(IntentParserQuotes, OnePairOfMatchingQuotesOnly) {
  const std::pair<const char*, const char*> cases[] = {{"\"hello\"", "hello"},
                                                       {"‘hi’", "hi"},
                                                       {"`code`", "code"},
                                                       {"\"\"nested\"\"", "\"nested\""},
                                                       {"“mismatched\"", "“mismatched\""},
                                                       {"\"", "\""},
                                                       {"\"\"", ""},
                                                       {"  ' spaced '  !", "spaced"}};
  for (const auto& [phrase, clean] : cases) EXPECT_EQ(IntentParser::cleanPhrase(phrase), clean) << phrase;
}

TEST(IntentParserProfile, SubstringsInOrder) {
  using IntentParser::profileField;
  EXPECT_EQ(profileField("E-Mail address"), ProfileField::email);
  EXPECT_EQ(profileField("username"), ProfileField::name);
  EXPECT_EQ(profileField("phone number"), ProfileField::phone);
  EXPECT_EQ(profileField("email or phone name"), ProfileField::email);
  EXPECT_EQ(profileField("address"), std::nullopt);
}

TEST(IntentParserRobustness, HostileInputNeverCrashesOrHangs) {
  EXPECT_EQ(understood("\""), "none");
  EXPECT_EQ(understood("click \xff\xfe sign in"), "Click “\xEF\xBF\xBD\xEF\xBF\xBD sign in”");
  EXPECT_EQ(understood("click \x01\x02"), "Click “\x01\x02”");
  std::string huge = "fill ";
  for (int i = 0; i < 20000; ++i) huge += "abcd ";
  (void)parse(huge);  // any answer, but it returns
  std::string longType = "type " + std::string(100000, 'a') + " in the box";
  EXPECT_NE(understood(longType), "");
}

TEST(IntentParserRobustness, SharedAcrossThreads) {
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 300; ++i) {
        if (understood("click the second sign in button") != "Click second “sign in” button") ++wrong;
        if (understood("tab 7") != "Switch to tab 7") ++wrong;
      }
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace skimlet
