// A language model that answers one chat request at a time: Skimlet's own GGUF engine, or a
// scripted stand-in in tests.
#pragma once

#include <functional>
#include <optional>
#include <stop_token>
#include <string>

#include "llm/reply_drafter.h"

namespace skimlet {

// Receives the whole text generated so far (always valid UTF-8), possibly from another thread.
using PartialSink = std::function<void(const std::string&)>;

class ChatModel {
 public:
  virtual ~ChatModel() = default;
  // Shown after "Local AI: " in the status line, e.g. "Qwen2.5 1.5B".
  virtual std::string displayName() const = 0;
  // Whether the model file is there at all (it may still fail to load).
  virtual bool installed() = 0;
  // The last load failure, if any; read under the model's own lock.
  virtual std::optional<std::string> lastError() = 0;
  // One chat completion, greedy. Blocks until done; none when nothing usable came out or the
  // request was stopped. Never throws.
  virtual std::optional<std::string> generate(const std::string& system, const std::string& user, int maxTokens,
                                              const PartialSink& onPartial, std::stop_token stop) = 0;
  // The same, with a guess of how the reply goes on that a model may check ahead in batches (see
  // ReplyDrafter). The reply is the one generate() gives; a model that can't use guesses ignores it.
  virtual std::optional<std::string> generateDrafted(const std::string& system, const std::string& user, int maxTokens,
                                                     const PartialSink& onPartial, std::stop_token stop,
                                                     const ReplyDrafter& drafter) {
    (void)drafter;
    return generate(system, user, maxTokens, onPartial, std::move(stop));
  }
};

}  // namespace skimlet
