// The operating system's model reached through its C bridge: the prompts, the records to
// generate and the reading of what comes back, for a bridge that only calls the system.
#pragma once

#include "ai/system_model.h"
#include "ai/system_model_bridge.h"

namespace skimlet {

class BridgedSystemModel final : public SystemModel {
 public:
  explicit BridgedSystemModel(const SkimletSystemModelBridge& bridge) : bridge_(bridge) {}

  bool available() override;
  std::optional<LLMIntent> parseIntent(const std::string& command) override;
  std::optional<LLMChoice> choose(const std::string& userMessage) override;
  std::optional<std::string> summarize(const std::string& title, const std::string& text) override;
  std::optional<std::string> answer(const std::string& question, const std::string& title,
                                    const std::string& excerpts) override;
  std::optional<std::string> summarizeStreaming(const std::string& title, const std::string& text,
                                                const PartialSink& onPartial) override;
  std::optional<std::string> answerStreaming(const std::string& question, const std::string& title,
                                             const std::string& excerpts, const PartialSink& onPartial) override;

  // How much of the page a summary request carries, in characters: the system model's context
  // is small.
  static constexpr int summaryInputChars = 5000;

 private:
  std::optional<std::string> record(std::string_view instructions, const std::string& prompt,
                                    const std::string& recordJSON);
  std::optional<std::string> text(std::string_view instructions, const std::string& prompt,
                                  const PartialSink& onPartial);

  SkimletSystemModelBridge bridge_;
};

}  // namespace skimlet
