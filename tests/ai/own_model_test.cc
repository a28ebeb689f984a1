#include "ai/own_model.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "ai/local_ai.h"
#include "support/gguf_writer.h"
#include "support/stand_in_model.h"

namespace skimlet {
namespace {

std::string modelFile(const std::string& name) {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  return ::testing::TempDir() + "skimlet-" + info->name() + "-" + name;
}

// The facade over the real runtime: a model file that is there but can't be loaded shows up as
// the runtime's last error, the status stops naming the own model, and the request goes on to
// the system model.
TEST(OwnModel, ALoadFailureMovesTheFacadeOnToTheNextModel) {
  const std::string path = modelFile("plain.gguf");
  testing::RandomModel plain;
  plain.chatMarkers = false;
  testing::writeRandomModel(path, plain, 1);
  LocalModelRuntime runtime(LocalModelRuntime::Options{path, 2048});
  OwnModel own(runtime, [] { return true; });
  testing::StandInSystemModel system;
  system.choiceReply = LLMChoice{1};
  LocalAI ai(&own, &system);

  EXPECT_EQ(ai.statusText(), "Local AI: Qwen2.5 1.5B");  // nothing tried yet
  EXPECT_EQ(ai.choose("sign in", {"Sign up", "Sign in"}), 1);
  EXPECT_EQ(system.calls, 1);
  EXPECT_EQ(ai.lastError(), "Model isn't a ChatML-style instruct model");
  EXPECT_EQ(ai.statusText(), "Local AI: Apple Intelligence");
  system.isAvailable = false;
  EXPECT_EQ(ai.statusText(), "No local model \u2014 using built-in rules");
}

}  // namespace
}  // namespace skimlet
