// Skimlet's engine on a real model of the shipped model's architecture and shapes (a Qwen2.5
// 1.5B instruct GGUF in Q4_K_M that scripts/fetch_model.sh assembles). Random weights can't
// show that a prompt is understood or a reply ends, so here every model path runs end to end
// and is checked for what must hold of any good reply, never for its exact wording. Each test
// skips, saying why, when the model or the reference file is absent.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

#include "ai/local_ai.h"
#include "ai/own_model.h"
#include "ai/prompts.h"
#include "engine/understand.h"
#include "llm/local_model_runtime.h"
#include "llm/transformer.h"
#include "support/engine_on_page.h"
#include "support/paths.h"
#include "support/real_model.h"
#include "text/text_util.h"

namespace skimlet {
namespace {

using testing::EngineOnPage;

#define REQUIRE_REAL_MODEL()                              \
  const std::string modelPath = testing::realModelPath(); \
  if (modelPath.empty()) GTEST_SKIP() << "no real model: run scripts/fetch_model.sh (or set SKIMLET_REAL_MODEL)"

// One runtime and model per test program run, as the app has one.
struct RealModel {
  explicit RealModel(const std::string& path)
      : runtime(LocalModelRuntime::Options{path, 2048}), own(runtime, [] { return true; }), ai(&own, nullptr) {}
  LocalModelRuntime runtime;
  OwnModel own;
  LocalAI ai;
};

// Another engine's token ids and top logits on the same file. Both engines round activations to
// 8 bits their own way, so logits agree to a few tenths and only clear winners must agree.
TEST(RealModel, TokenizerAndLogitsAgreeWithAnotherEngine) {
  REQUIRE_REAL_MODEL();
  const std::string refPath = testing::sharedPath("models/qwen-real-ref.json");
  if (!std::filesystem::exists(refPath)) GTEST_SKIP() << "no reference at " << refPath;
  std::ifstream in(refPath);
  const nlohmann::json ref = nlohmann::json::parse(in);
  Transformer model(modelPath, 2048);
  EXPECT_EQ(model.nLayer, 28);
  EXPECT_EQ(model.vocabSize(), 151936);
  for (const auto& t : ref["tokenize"]) {
    EXPECT_EQ(model.tokenizer().encode(t["text"].get<std::string>()), t["ids"].get<std::vector<int>>()) << t["text"];
  }
  for (const auto& [name, s] : ref["logits"].items()) {
    SCOPED_TRACE(name);
    const std::vector<float> logits = model.forward(s["tokens"].get<std::vector<int>>(), 0);
    ASSERT_EQ(logits.size(), 151936u);
    const auto& top = s["top20"];
    for (const auto& pair : top) EXPECT_NEAR(logits[pair[0].get<int>()], pair[1].get<float>(), 0.4f) << pair[0];
    const int best = static_cast<int>(std::max_element(logits.begin(), logits.end()) - logits.begin());
    if (top[0][1].get<float>() - top[1][1].get<float>() > 0.4f) {
      EXPECT_EQ(best, top[0][0].get<int>());
    }
  }
}

TEST(RealModel, AChatTurnEndsAtTheStopToken) {
  REQUIRE_REAL_MODEL();
  RealModel m(modelPath);
  const int cap = 40;
  auto reply = m.runtime.generate("You are a helpful assistant.", "Say hello in one short sentence.", cap);
  ASSERT_TRUE(reply);
  EXPECT_THAT(TextUtil::lower(*reply), ::testing::HasSubstr("hello"));
  ASSERT_TRUE(m.runtime.lastRun());
  // Ended by the model, not by the cap.
  EXPECT_LT(m.runtime.lastRun()->generatedTokens, cap);
}

// Commands the rules miss come back as intents of the right kind; text to type is always the
// user's own.
TEST(RealModel, CommandsTheRulesMissBecomeIntentsOfTheirKind) {
  REQUIRE_REAL_MODEL();
  RealModel m(modelPath);
  const std::pair<std::string, std::string_view> cases[] = {
      {"skip down to the comments", "scroll"},
      {"go bakc", "navigate"},
      {"in the search box enter laptop stand", "type"},
      {"pls clck on checkout", "click"},
  };
  for (const auto& [command, kind] : cases) {
    SCOPED_TRACE(command);
    auto u = understand(command, m.ai);
    ASSERT_TRUE(u);
    EXPECT_EQ(u->stage, Understanding::Stage::model);
    EXPECT_EQ(caseName(u->intent), kind) << title(u->intent);
    if (auto* t = std::get_if<intents::Type>(&u->intent)) {
      EXPECT_THAT(TextUtil::lower(command), ::testing::HasSubstr(TextUtil::lower(t->text)));
    }
  }
}

// Two equal "Save" buttons: the model picks one of them or leaves the choice to the user.
TEST(RealModel, ANearTieIsSettledWithinTheOptionsOrOffered) {
  REQUIRE_REAL_MODEL();
  RealModel m(modelPath);
  EngineOnPage page("engine_checkout.json", &m.own);
  Outcome o = page.command("click save");
  if (const ActionResult* r = o.result()) {
    EXPECT_EQ(r->headline, "Clicked **Save**");
    EXPECT_THAT(r->debug, ::testing::Contains("Ambiguous — on-device model picked “Save”"));
  } else {
    ASSERT_NE(o.choose(), nullptr);
    EXPECT_TRUE(page.events().empty());
  }
  const std::vector<std::string> options = {"Button: Sign in", "Link: Privacy policy", "Button: Sign up"};
  auto pick = m.ai.choose("log in", options);
  EXPECT_TRUE(!pick || (*pick >= 0 && *pick < 3)) << pick.value_or(-1);
}

std::set<std::string> numbersIn(const std::string& s) {
  std::set<std::string> out;
  static const std::regex number(R"(\d+(?:[.,]\d+)*)");
  for (auto it = std::sregex_iterator(s.begin(), s.end(), number); it != std::sregex_iterator(); ++it)
    out.insert(it->str());
  return out;
}

// An answer and a summary of a recorded help page, streamed as they grow: every figure the
// answer gives is on the page, and the summary speaks of the page's own words.
TEST(RealModel, AnswersAndSummariesAreStreamedFromThePage) {
  REQUIRE_REAL_MODEL();
  RealModel m(modelPath);
  EngineOnPage page("help_centre.json", &m.own);
  ActionResult answer = page.run(intents::Ask{"how much does express shipping cost?"});
  const std::string pageText = page.engine->snapshot()->text();
  EXPECT_EQ(answer.debug.back(), "Answered on-device by Qwen2.5 1.5B");
  ASSERT_TRUE(answer.body);
  EXPECT_THAT(*answer.body, ::testing::HasSubstr("12.50"));
  for (const std::string& n : numbersIn(*answer.body)) EXPECT_THAT(pageText, ::testing::HasSubstr(n));
  page.drainMainQueue();
  ASSERT_GE(page.partials.size(), 2u);
  for (const ActionResult& p : page.partials) {
    ASSERT_TRUE(p.body);
    EXPECT_TRUE(answer.body->starts_with(TextUtil::prefix(*p.body, TextUtil::length(*p.body) - 1))) << *p.body;
  }

  page.partials.clear();
  ActionResult summary = page.run(intents::Summarize{});
  ASSERT_TRUE(summary.body);
  EXPECT_TRUE(summary.debug.back().starts_with("Summarized on-device")) << summary.debug.back();
  page.drainMainQueue();
  EXPECT_GE(page.partials.size(), 2u);
  const auto pageWords = TextUtil::contentTokens(pageText);
  const std::set<std::string> onPage(pageWords.begin(), pageWords.end());
  const auto words = TextUtil::contentTokens(*summary.body);
  ASSERT_FALSE(words.empty());
  const auto found = std::count_if(words.begin(), words.end(), [&](const std::string& w) { return onPage.count(w); });
  EXPECT_GE(2 * found, static_cast<long>(words.size())) << *summary.body;
}

// The own model with a user who gives up as soon as the first words appear.
class GivesUpAtFirstWords : public ChatModel {
 public:
  GivesUpAtFirstWords(ChatModel& inner, std::stop_source& stop) : inner_(inner), stop_(stop) {}
  std::string displayName() const override { return inner_.displayName(); }
  bool installed() override { return inner_.installed(); }
  std::optional<std::string> lastError() override { return inner_.lastError(); }
  std::optional<std::string> generate(const std::string& system, const std::string& user, int maxTokens,
                                      const PartialSink& onPartial, std::stop_token stop) override {
    return inner_.generate(
        system, user, maxTokens,
        [&](const std::string& text) {
          if (onPartial) onPartial(text);
          stop_.request_stop();
        },
        std::move(stop));
  }

 private:
  ChatModel& inner_;
  std::stop_source& stop_;
};

TEST(RealModel, AStoppedAnswerEndsAtTheNextTokenAndTheModelServesTheNextRequest) {
  REQUIRE_REAL_MODEL();
  RealModel m(modelPath);
  std::stop_source stop;
  GivesUpAtFirstWords impatient(m.own, stop);
  EngineOnPage page("help_centre.json", &impatient);
  page.engine->run(intents::Ask{"how much does express shipping cost?"}, stop.get_token());
  page.drainMainQueue();
  EXPECT_LE(page.partials.size(), 1u);
  ASSERT_TRUE(m.runtime.lastRun());
  EXPECT_LE(m.runtime.lastRun()->generatedTokens, 2);
  // The next request reuses the stopped one's cached prompt and still answers in full.
  auto u = understand("go bakc", m.ai);
  ASSERT_TRUE(u);
  EXPECT_EQ(caseName(u->intent), "navigate");
}

}  // namespace
}  // namespace skimlet
