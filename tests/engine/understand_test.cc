// How a submitted command becomes an intent: rules, then a model, then the fallback.
#include "engine/understand.h"

#include <gtest/gtest.h>

#include "support/stand_in_model.h"

namespace skimlet {
namespace {

using testing::StandInModel;
using testing::StandInSystemModel;
using Stage = Understanding::Stage;

TEST(Understand, TheModelOnlyWhenTheRulesFail) {
  StandInModel model({"scroll_down||0||"});
  LocalAI ai(&model, nullptr);
  int announced = 0;
  auto before = [&] {
    // The palette shows "Understanding…" here, so the model must not have been asked yet.
    EXPECT_EQ(model.requests().size(), static_cast<size_t>(announced));
    ++announced;
  };

  auto ruled = understand("  Scroll down ", ai, before);
  ASSERT_TRUE(ruled);
  EXPECT_EQ(stageName(ruled->stage), "rules");
  EXPECT_EQ(ruled->intent, Intent(intents::Scroll{ScrollSpec{.kind = ScrollSpec::Kind::down, .section = {}}}));
  EXPECT_EQ(announced, 0);
  EXPECT_TRUE(model.requests().empty());

  auto modelled = understand("  show me more of this\n", ai, before);
  ASSERT_TRUE(modelled);
  EXPECT_EQ(stageName(modelled->stage), "model");
  EXPECT_EQ(modelled->intent, Intent(intents::Scroll{ScrollSpec{.kind = ScrollSpec::Kind::down, .section = {}}}));
  EXPECT_EQ(announced, 1);
  ASSERT_EQ(model.requests().size(), 1u);
  EXPECT_EQ(model.requests()[0].user, "show me more of this");  // trimmed before it is asked

  // A model that answers nothing usable still leaves the user with the fallback.
  model.replies = {"unknown||0||"};
  auto refused = understand("show me more of this", ai, before);
  ASSERT_TRUE(refused);
  EXPECT_EQ(stageName(refused->stage), "fallback");
  EXPECT_EQ(refused->intent, Intent(intents::Ask{"show me more of this"}));
  EXPECT_EQ(announced, 2);
}

TEST(Understand, BeforeModelOnlyWhenAModelIsUsable) {
  int announced = 0;
  auto before = [&] { ++announced; };

  EXPECT_EQ(understand("organic cotton", LocalAI(nullptr, nullptr), before)->stage, Stage::fallback);
  StandInModel absent({"scroll_down||0||"});
  absent.isInstalled = false;
  EXPECT_EQ(understand("organic cotton", LocalAI(&absent, nullptr), before)->stage, Stage::fallback);
  StandInSystemModel unavailable;
  unavailable.isAvailable = false;
  EXPECT_EQ(understand("organic cotton", LocalAI(nullptr, &unavailable), before)->stage, Stage::fallback);
  EXPECT_EQ(announced, 0);
  EXPECT_TRUE(absent.requests().empty());
  EXPECT_EQ(unavailable.calls, 0);

  StandInSystemModel system;
  system.intentReply = LLMIntent{.action = "scroll_up", .target = {}, .ordinal = 0, .text = {}, .field = {}};
  auto answered = understand("organic cotton", LocalAI(nullptr, &system), before);
  EXPECT_EQ(answered->stage, Stage::model);
  EXPECT_EQ(answered->intent, Intent(intents::Scroll{ScrollSpec{.kind = ScrollSpec::Kind::up, .section = {}}}));
  EXPECT_EQ(announced, 1);
}

TEST(Understand, BlankCommandsAreNotUnderstoodAtAll) {
  StandInModel model({"scroll_down||0||"});
  int announced = 0;
  for (std::string blank : {"", "   ", "\t\n", "\u00a0\u3000"}) {
    EXPECT_FALSE(understand(blank, LocalAI(&model, nullptr), [&] { ++announced; })) << blank;
  }
  EXPECT_EQ(announced, 0);
  EXPECT_TRUE(model.requests().empty());
}

TEST(Understand, FallbackDependsOnLength) {
  LocalAI none(nullptr, nullptr);
  auto four = understand("  organic cotton shirts anywhere  ", none);
  ASSERT_TRUE(four);
  EXPECT_EQ(four->intent, Intent(intents::Find{"organic cotton shirts anywhere"}));
  auto five = understand("these shirts organic cotton maybe", none);
  ASSERT_TRUE(five);
  EXPECT_EQ(five->intent, Intent(intents::Ask{"these shirts organic cotton maybe"}));

  // Words are counted on any white space, runs of it included, and the text is kept as typed
  // between its first and last word.
  auto spaced = understand("\u00a0organic\t\tcotton \u3000shirts\nanywhere\u00a0", none);
  EXPECT_EQ(spaced->intent, Intent(intents::Find{"organic\t\tcotton \u3000shirts\nanywhere"}));
  auto oneWord = understand("zebra", none);
  EXPECT_EQ(oneWord->intent, Intent(intents::Find{"zebra"}));
}

}  // namespace
}  // namespace skimlet
