#include "ai/local_ai.h"

#include <gtest/gtest.h>

#include <string_view>

#include "ai/prompts.h"
#include "support/stand_in_model.h"

namespace skimlet {
namespace {

using testing::StandInModel;
using testing::StandInSystemModel;

// The own model was asked exactly once, with this system prompt, user message and token cap.
void expectAskedOnce(const StandInModel& own, std::string_view system, std::string_view user, int maxTokens) {
  auto asked = own.requests();
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_EQ(asked[0].system, system);
  EXPECT_EQ(asked[0].user, user);
  EXPECT_EQ(asked[0].maxTokens, maxTokens);
}

TEST(LocalAIStatus, NamesTheFirstUsableModelOwnThenSystemElseTheRulesWhichAnswerNothing) {
  const std::string rules = "No local model \u2014 using built-in rules";
  StandInModel own;
  StandInSystemModel system;
  EXPECT_EQ(LocalAI(&own, &system).statusText(), "Local AI: Qwen2.5 1.5B");
  EXPECT_EQ(LocalAI(nullptr, &system).statusText(), "Local AI: Apple Intelligence");
  EXPECT_EQ(LocalAI(nullptr, nullptr).statusText(), rules);

  // An installed model that failed to load is not usable, and its error is kept.
  own.loadError = "tensor blk.0.attn_q.weight is missing";
  LocalAI ai(&own, &system);
  EXPECT_FALSE(ai.ownModelUsable());
  EXPECT_EQ(ai.statusText(), "Local AI: Apple Intelligence");
  EXPECT_EQ(ai.lastError(), own.loadError);
  system.isAvailable = false;
  EXPECT_EQ(ai.statusText(), rules);
  EXPECT_EQ(LocalAI(nullptr, &system).statusText(), rules);

  own.loadError.reset();
  own.isInstalled = false;
  EXPECT_EQ(LocalAI(&own, nullptr).statusText(), rules);

  // Without a model nothing is answered.
  LocalAI none(nullptr, nullptr);
  EXPECT_FALSE(none.parseIntent("buy the blue shirt"));
  EXPECT_FALSE(none.choose("sign in", {"Sign in", "Sign up"}));
  EXPECT_FALSE(none.summarize("Title", "Some page text", nullptr));
}

TEST(LocalAIParseIntent, FallsThroughToTheSystemModelOnlyWhenTheOwnAnswerIsUnusable) {
  StandInModel own({"unknown||0||", std::nullopt, "type||0|hello|search box"});
  StandInSystemModel system;
  system.intentReply = LLMIntent{"find", "shipping", 0, "", ""};
  LocalAI ai(&own, &system);
  EXPECT_EQ(ai.parseIntent("shipping?"), Intent(intents::Find{"shipping"}));  // own said unknown
  EXPECT_EQ(ai.parseIntent("shipping?"), Intent(intents::Find{"shipping"}));  // own said nothing
  // An invented text is refused, and the system model's answer is mapped against the command too.
  system.intentReply = LLMIntent{"type", "", 0, "hello", ""};
  EXPECT_FALSE(ai.parseIntent("search for shoes"));
  EXPECT_EQ(system.calls, 3);
  EXPECT_EQ(system.messages.back(), "search for shoes");

  system.isAvailable = false;
  StandInModel broken({"back||0||"});
  broken.loadError = "bad file";
  EXPECT_FALSE(LocalAI(&broken, &system).parseIntent("go back"));
  EXPECT_TRUE(broken.requests().empty());
}

// The own model is asked for one short line with the command as typed. Once the line that will
// be read has ended, the model is stopped rather than left to write on to its limit, and the
// answer is the same.
TEST(LocalAIParseIntent, AsksTheOwnModelForOneLine) {
  struct Case {
    const char* reply;
    std::optional<Intent> intent;
    int lastPieceAsked;  // the stand-in asks before each word; it stops before writing this one
  };
  const Case cases[] = {
      // " shirt|2||\nThis" ends the line; " clicks" (piece 2) and the rest are never written.
      {"click|blue shirt|2||\nThis clicks the second blue shirt.", Intent(intents::Click{{"blue shirt", 2}}), 2},
      // A first line without separators is not the answer: the model goes on past it.
      {"Sure, here it is:\nback||0|| \nand more words", Intent(intents::Navigate{{NavAction::Kind::back, 0, ""}}), 5},
      // A single line with no line break after it ends with the model.
      {"find|shipping costs|0||", Intent(intents::Find{"shipping costs"}), 1},
  };
  for (const Case& c : cases) {
    StandInModel own({c.reply});
    int lastAsked = -1;
    own.beforePiece = [&](int piece) { lastAsked = piece; };
    StandInSystemModel system;
    EXPECT_EQ(LocalAI(&own, &system).parseIntent("buy the second blue shirt"), c.intent) << c.reply;
    EXPECT_EQ(lastAsked, c.lastPieceAsked) << c.reply;
    EXPECT_EQ(system.calls, 0);
    expectAskedOnce(own, prompts::intentLine, "buy the second blue shirt", 40);
  }
}

TEST(LocalAIChoose, ChoiceReadsTheOptionNumberFromTheReply) {
  const std::vector<std::string> options = {"Sign in", "Sign up", "Help", "Cart", "Search"};
  StandInSystemModel system;
  system.choiceReply = LLMChoice{4};
  struct Case {
    const char* reply;
    std::optional<int> index;
    int systemCalls;
  };
  for (const Case& c : {Case{"2", 2, 0}, Case{"Option 2.", 2, 0}, Case{" 0\n", 0, 0}, Case{"-1", std::nullopt, 0},
                        Case{"none: -1", std::nullopt, 0}, Case{"7", 4, 1}, Case{"5", 4, 1}, Case{"none", 4, 1},
                        Case{"1-2", 4, 1}, Case{"-3", 4, 1}}) {
    StandInModel own({c.reply});
    system.calls = 0;
    EXPECT_EQ(LocalAI(&own, &system).choose("log in", options), c.index) << c.reply;
    EXPECT_EQ(system.calls, c.systemCalls) << c.reply;
    // The own model is asked for a number among the numbered options.
    expectAskedOnce(own, prompts::chooseLine,
                    "User wants: log in\nOptions:\n0: Sign in\n1: Sign up\n2: Help\n3: Cart\n4: Search", 4);
  }
}

TEST(LocalAIChoose, ChoicesOutsideTheOptionsAreNothing) {
  StandInModel own({"0"});
  StandInSystemModel system;
  system.choiceReply = LLMChoice{0};
  EXPECT_FALSE(LocalAI(&own, &system).choose("anything", {}));
  EXPECT_TRUE(own.requests().empty());
  EXPECT_EQ(system.calls, 0);

  LocalAI ai(nullptr, &system);
  for (int outside : {2, -1}) {
    system.choiceReply = LLMChoice{outside};
    EXPECT_FALSE(ai.choose("x", {"a", "b"})) << outside;
  }
  system.choiceReply = LLMChoice{1};
  EXPECT_EQ(ai.choose("x", {"a", "b"}), 1);
  EXPECT_EQ(system.messages.back(), "User wants: x\nOptions:\n0: a\n1: b");
}

TEST(LocalAISummarize, StreamsTheGrowingSummary) {
  StandInModel own({"• One point. • Another point."});
  LocalAI ai(&own, nullptr);
  std::vector<std::string> partials;
  auto summary = ai.summarize("Pricing", "Plans start at $5.", [&](const std::string& s) { partials.push_back(s); });
  EXPECT_EQ(summary, "• One point. • Another point.");
  ASSERT_GE(partials.size(), 2u);
  EXPECT_EQ(partials.front(), "•");
  EXPECT_EQ(partials.back(), *summary);
  expectAskedOnce(own, prompts::summaryLocal, "Title: Pricing\n\nPlans start at $5.", 260);
}

TEST(LocalAISummarize, NoAnswerFromEitherModelIsNoSummary) {
  StandInModel own({std::nullopt, "  \n"});
  StandInSystemModel system;
  LocalAI ai(&own, &system);
  EXPECT_FALSE(ai.summarize("T", "text", nullptr));
  EXPECT_FALSE(ai.summarize("T", "text", nullptr));  // only white space
  EXPECT_EQ(system.calls, 2);
  system.summaryReply = "• From the system model";
  EXPECT_EQ(ai.summarize("T", "text", nullptr), "• From the system model");
}

TEST(LocalAISummarize, AStoppedRequestStreamsNothingMore) {
  for (bool careful : {true, false}) {
    StandInModel own({"one two three four five"});
    own.honoursStop = careful;
    std::stop_source source;
    own.beforePiece = [&](int piece) {
      if (piece == 2) source.request_stop();
    };
    StandInSystemModel system;
    system.summaryReply = "should not be asked";
    std::vector<std::string> partials;
    auto summary = LocalAI(&own, &system)
                       .summarize(
                           "T", "text", [&](const std::string& s) { partials.push_back(s); }, source.get_token());
    EXPECT_FALSE(summary);
    EXPECT_EQ(partials, (std::vector<std::string>{"one", "one two"})) << careful;
    EXPECT_EQ(system.calls, 0);
  }
}

// A command given up on while the own model thinks gets no second opinion: the system model
// would only answer a question nobody is waiting for.
TEST(LocalAI, AStoppedRequestIsNotPassedOnToTheSystemModel) {
  StandInSystemModel system;
  system.intentReply = LLMIntent{"back", "", 0, "", ""};
  system.choiceReply = LLMChoice{0};
  std::stop_source source;
  StandInModel own({std::nullopt, std::nullopt});
  own.onRequest = [&](std::stop_token) { source.request_stop(); };
  LocalAI ai(&own, &system);
  EXPECT_FALSE(ai.parseIntent("take me home", source.get_token()));
  EXPECT_FALSE(ai.choose("sign in", {"Sign in", "Sign up"}, source.get_token()));
  EXPECT_EQ(own.requests().size(), 2u);
  EXPECT_EQ(system.calls, 0);
}

}  // namespace
}  // namespace skimlet
