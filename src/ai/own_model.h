// Skimlet's own GGUF model as the facade sees it: the shared runtime behind the ChatModel
// interface, with the status name the palette shows.
#pragma once

#include <functional>

#include "ai/chat_model.h"
#include "llm/local_model_runtime.h"

namespace skimlet {

class OwnModel : public ChatModel {
 public:
  // `isInstalled` defaults to whether the downloaded model is in its folder.
  explicit OwnModel(LocalModelRuntime& runtime, std::function<bool()> isInstalled = {});

  std::string displayName() const override { return "Qwen2.5 1.5B"; }
  bool installed() override;
  std::optional<std::string> lastError() override { return runtime_.lastError(); }
  std::optional<std::string> generate(const std::string& system, const std::string& user, int maxTokens,
                                      const PartialSink& onPartial, std::stop_token stop) override {
    return runtime_.generate(system, user, maxTokens, onPartial, std::move(stop));
  }
  std::optional<std::string> generateDrafted(const std::string& system, const std::string& user, int maxTokens,
                                             const PartialSink& onPartial, std::stop_token stop,
                                             const ReplyDrafter& drafter) override {
    return runtime_.generate(system, user, maxTokens, onPartial, std::move(stop), drafter);
  }

 private:
  LocalModelRuntime& runtime_;
  std::function<bool()> isInstalled_;
};

}  // namespace skimlet
