#include "ai/bridged_system_model.h"

#include "ai/guided_records.h"
#include "ai/prompts.h"
#include "text/text_util.h"

namespace skimlet {

namespace {

struct Collected {
  std::string text;
  bool called = false;
  const PartialSink* partial = nullptr;
};

void collect(void* context, const char* utf8) {
  auto* c = static_cast<Collected*>(context);
  c->text = utf8 ? utf8 : "";
  c->called = true;
  if (c->partial && *c->partial) (*c->partial)(c->text);
}

}  // namespace

bool BridgedSystemModel::available() { return bridge_.available && bridge_.available() != 0; }

std::optional<std::string> BridgedSystemModel::record(std::string_view instructions, const std::string& prompt,
                                                      const std::string& recordJSON) {
  if (!bridge_.generateRecord) return std::nullopt;
  Collected out;
  int status =
      bridge_.generateRecord(std::string(instructions).c_str(), prompt.c_str(), recordJSON.c_str(), collect, &out);
  if (status != 0 || !out.called) return std::nullopt;
  return out.text;
}

std::optional<std::string> BridgedSystemModel::text(std::string_view instructions, const std::string& prompt,
                                                    const PartialSink& onPartial) {
  if (!bridge_.streamText) return std::nullopt;
  Collected out;
  out.partial = &onPartial;
  int status = bridge_.streamText(std::string(instructions).c_str(), prompt.c_str(), collect, &out);
  // A stream that broke off leaves a partial text the user has seen grow; it is still no answer.
  if (status != 0 || !out.called) return std::nullopt;
  return out.text;
}

std::optional<LLMIntent> BridgedSystemModel::parseIntent(const std::string& command) {
  auto json =
      record(prompts::intentStructured, "Command: " + command, GuidedRecords::describe(GuidedRecords::intent()));
  if (!json) return std::nullopt;
  return GuidedRecords::readIntent(*json);
}

std::optional<LLMChoice> BridgedSystemModel::choose(const std::string& userMessage) {
  auto json = record(prompts::chooseStructured, userMessage, GuidedRecords::describe(GuidedRecords::choice()));
  if (!json) return std::nullopt;
  return GuidedRecords::readChoice(*json);
}

std::optional<std::string> BridgedSystemModel::summarize(const std::string& title, const std::string& text) {
  return summarizeStreaming(title, text, {});
}

std::optional<std::string> BridgedSystemModel::answer(const std::string& question, const std::string& title,
                                                      const std::string& excerpts) {
  return answerStreaming(question, title, excerpts, {});
}

std::optional<std::string> BridgedSystemModel::summarizeStreaming(const std::string& title, const std::string& page,
                                                                  const PartialSink& onPartial) {
  const std::string prompt = "Title: " + title + "\n\n" + TextUtil::prefix(page, summaryInputChars) +
                             "\n\nSummarize in at most 6 bullet points.";
  return text(prompts::summarySystem, prompt, onPartial);
}

std::optional<std::string> BridgedSystemModel::answerStreaming(const std::string& question, const std::string& title,
                                                               const std::string& excerpts,
                                                               const PartialSink& onPartial) {
  const std::string prompt = "Page title: " + title + "\n\nExcerpts:\n" + excerpts + "\n\nQuestion: " + question;
  return text(prompts::questionSystem, prompt, onPartial);
}

}  // namespace skimlet
