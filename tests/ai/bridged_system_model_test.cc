// The operating system's model through its C bridge: what each request sends, and how the
// records and streamed texts that come back are read.
#include "ai/bridged_system_model.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "ai/guided_records.h"

namespace skimlet {
namespace {

// One scripted bridge at a time: what it was asked, and what it answers.
struct Script {
  std::string instructions, prompt, record;
  std::vector<std::string> replies;  // handed to the sink in turn
  int status = 0;
};
Script script;

void answer(SkimletTextSink sink, void* context) {
  for (const auto& r : script.replies) sink(context, r.c_str());
}
int available() { return 1; }
int generateRecord(const char* instructions, const char* prompt, const char* record, SkimletTextSink sink,
                   void* context) {
  script.instructions = instructions;
  script.prompt = prompt;
  script.record = record;
  answer(sink, context);
  return script.status;
}
int streamText(const char* instructions, const char* prompt, SkimletTextSink sink, void* context) {
  script.instructions = instructions;
  script.prompt = prompt;
  answer(sink, context);
  return script.status;
}

const SkimletSystemModelBridge kBridge{available, generateRecord, streamText};

TEST(BridgedSystemModel, IntentRecordsCarryTheGuidesAndReadBackWithDefaults) {
  script = {.replies = {R"({"action":"type","target":"","ordinal":0,"text":"hello","field":"search box"})"}};
  BridgedSystemModel model(kBridge);
  auto intent = model.parseIntent("put hello in the search box");
  ASSERT_TRUE(intent);
  EXPECT_EQ(intent->action, "type");
  EXPECT_EQ(intent->text, "hello");
  EXPECT_EQ(intent->field, "search box");
  EXPECT_EQ(script.prompt, "Command: put hello in the search box");
  EXPECT_EQ(script.instructions.rfind("You translate a short command", 0), 0u);

  auto described = nlohmann::json::parse(script.record);
  EXPECT_EQ(described["name"], "LLMIntent");
  ASSERT_EQ(described["fields"].size(), 5u);
  EXPECT_EQ(described["fields"][2]["name"], "ordinal");
  EXPECT_EQ(described["fields"][2]["kind"], "integer");
  EXPECT_EQ(described["fields"][2]["guide"], "Ordinal requested: 1 for first, 2 for second, -1 for last, 0 if none.");

  // Fields the model left out, or filled with the wrong kind, read as empty.
  auto sparse = GuidedRecords::readIntent(R"({"action":"click","ordinal":"2"})");
  ASSERT_TRUE(sparse);
  EXPECT_EQ(sparse->ordinal, 0);
  EXPECT_EQ(sparse->target, "");
  EXPECT_EQ(GuidedRecords::readChoice(R"({"index":2.0})")->index, 2);
  EXPECT_EQ(GuidedRecords::readChoice(R"({"index":1.5})")->index, -1);
  EXPECT_FALSE(GuidedRecords::readChoice("[1]"));

  script = {.replies = {R"({"action":"click"})"}, .status = 1};  // the session threw
  EXPECT_FALSE(model.parseIntent("do it"));
}

TEST(BridgedSystemModel, SummariesStreamFromAPageCutToFiveThousandCharacters) {
  script = {.replies = {"\u2022 Free", "\u2022 Free shipping"}};
  BridgedSystemModel model(kBridge);
  std::vector<std::string> partials;
  auto summary = model.summarizeStreaming("Shop", std::string(6000, 'x') + "tail",
                                          [&](const std::string& s) { partials.push_back(s); });
  EXPECT_EQ(summary, "\u2022 Free shipping");
  EXPECT_EQ(partials, script.replies);
  EXPECT_EQ(script.prompt, "Title: Shop\n\n" + std::string(5000, 'x') + "\n\nSummarize in at most 6 bullet points.");

  script = {.replies = {"It ships in two"}, .status = 1};  // broke off midway
  EXPECT_FALSE(model.answer("When does it ship?", "Shop", "Ships in two days."));
  EXPECT_EQ(script.prompt, "Page title: Shop\n\nExcerpts:\nShips in two days.\n\nQuestion: When does it ship?");
}

}  // namespace
}  // namespace skimlet
