// The whole way from a typed command to Skimlet's own engine and back, on a small random model
// chosen as `--model FILE` would choose it. Its replies are noise, so what is checked is that
// every step runs, answers something sane and leaves its figures behind.
#include <gtest/gtest.h>

#include <algorithm>

#include "engine/understand.h"
#include "model_choice.h"
#include "support/engine_on_page.h"
#include "support/gguf_writer.h"
#include "support/paths.h"

namespace skimlet::cli {
namespace {

TEST(LocalModelPath, ACommandTheRulesMissReachesTheEngine) {
  const std::string path = testing::scratchPath("model.gguf");
  testing::writeRandomModel(path, testing::RandomModel{}, 7);
  Models models(ModelChoice{ModelChoice::Source::file, path});
  ASSERT_EQ(models.load(), std::nullopt);
  const LocalAI& ai = models.ai();
  EXPECT_EQ(ai.statusText(), "Local AI: Qwen2.5 1.5B");

  const std::string command = "would you kindly bring up whatever they say about refunds";
  bool asked = false;
  auto understood = understand(command, ai, [&] { asked = true; });
  ASSERT_TRUE(understood);
  EXPECT_TRUE(asked);
  EXPECT_NE(understood->stage, Understanding::Stage::rules);
  EXPECT_FALSE(title(understood->intent).empty());
  if (understood->stage == Understanding::Stage::fallback) {
    EXPECT_EQ(title(understood->intent), "Ask: " + command);
  }

  auto run = models.lastRun();
  ASSERT_TRUE(run);
  EXPECT_GT(run->promptTokens, 100);  // the one-line instructions and the command
  EXPECT_LE(run->generatedTokens, 40);
  EXPECT_GT(run->promptSeconds, 0);
  EXPECT_EQ(ai.lastError(), std::nullopt);

  // Choosing answers an index in range or none, never anything else.
  auto picked = ai.choose("the refund policy", {"Refunds", "Shipping", "Contact"});
  if (picked) {
    EXPECT_TRUE(*picked >= 0 && *picked < 3) << *picked;
  }
  EXPECT_LE(models.lastRun()->generatedTokens, 4);

  // A page question goes to the same model, and the "Why?" lines say who answered.
  testing::EngineOnPage page("help_centre.json", ai.ownModel());
  ActionResult r = page.run(intents::Ask{"How much does express shipping cost?"});
  EXPECT_EQ(r.kind, ActionResult::Kind::info);
  EXPECT_TRUE(r.body && !r.body->empty());
  const bool onDevice =
      std::find(r.debug.begin(), r.debug.end(), "Answered on-device by Qwen2.5 1.5B") != r.debug.end();
  const bool extractive =
      std::find(r.debug.begin(), r.debug.end(), "Extractive answer (no local model answered)") != r.debug.end();
  EXPECT_TRUE(onDevice != extractive);
  EXPECT_LE(models.lastRun()->generatedTokens, 220);

  // So does a summary; whatever the model wrote, or failed to write, the user gets one.
  r = page.run(intents::Summarize{});
  EXPECT_TRUE(r.body && !r.body->empty());
  ASSERT_FALSE(r.debug.empty());
  EXPECT_TRUE(r.debug.back().starts_with("Summarized on-device from ") ||
              r.debug.back() == "Extractive summary (no local model answered)")
      << r.debug.back();
  EXPECT_LE(models.lastRun()->generatedTokens, 260);
}

}  // namespace
}  // namespace skimlet::cli
