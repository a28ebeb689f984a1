// The operating system's own on-device model, where the platform has one (macOS 26 and later).
// Linux builds have none; the facade asks it only after Skimlet's own model.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ai/chat_model.h"
#include "ai/llm_intent.h"

namespace skimlet {

class SystemModel {
 public:
  virtual ~SystemModel() = default;
  virtual bool available() = 0;
  virtual std::optional<LLMIntent> parseIntent(const std::string& command) = 0;
  virtual std::optional<LLMChoice> choose(const std::string& userMessage) = 0;
  virtual std::optional<std::string> summarize(const std::string& title, const std::string& text) = 0;
  virtual std::optional<std::string> answer(const std::string& question, const std::string& title,
                                            const std::string& excerpts) = 0;
  // The same two requests with the text so far handed to onPartial as the model writes, so the
  // palette shows it growing. A backend that cannot stream answers once, at the end.
  virtual std::optional<std::string> summarizeStreaming(const std::string& title, const std::string& text,
                                                        const PartialSink& onPartial) {
    return summarize(title, text);
  }
  virtual std::optional<std::string> answerStreaming(const std::string& question, const std::string& title,
                                                     const std::string& excerpts, const PartialSink& onPartial) {
    return answer(question, title, excerpts);
  }
};

}  // namespace skimlet
