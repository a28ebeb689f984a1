// The one door through which the rest of Skimlet asks a language model anything. It tries
// Skimlet's own model first, then the operating system's, and answers nothing when neither
// gives a usable answer; callers then use their built-in rules. It never throws.
#pragma once

#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "ai/chat_model.h"
#include "ai/system_model.h"
#include "intent/intent.h"

namespace skimlet {

class LocalAI {
 public:
  // Either model may be null (no own model configured; no system model on this platform).
  LocalAI(ChatModel* own, SystemModel* system) : own_(own), system_(system) {}

  // "Local AI: Qwen2.5 1.5B", "Local AI: Apple Intelligence" or
  // "No local model — using built-in rules".
  std::string statusText() const;
  // Own model usable: installed and no recorded load error.
  bool ownModelUsable() const;
  // System model usable: present and available.
  bool systemModelUsable() const;
  ChatModel* ownModel() const { return own_; }
  SystemModel* systemModel() const { return system_; }
  // The own model's last error, for the "Why?" lines.
  std::optional<std::string> lastError() const;

  std::optional<Intent> parseIntent(const std::string& command, std::stop_token stop = {}) const;
  std::optional<int> choose(const std::string& query, const std::vector<std::string>& options,
                            std::stop_token stop = {}) const;
  std::optional<std::string> summarize(const std::string& title, const std::string& text, const PartialSink& onPartial,
                                       std::stop_token stop = {}) const;

 private:
  ChatModel* own_;
  SystemModel* system_;
};

}  // namespace skimlet
