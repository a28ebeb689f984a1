// The operating system's own on-device model, where the platform has one (macOS 26 and later).
// Linux builds have none; the facade asks it only after Skimlet's own model.
#pragma once

#include <optional>
#include <string>
#include <vector>

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
};

}  // namespace skimlet
