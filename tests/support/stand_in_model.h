// Stand-ins for the language models, with canned replies, so tests can drive everything that
// asks a model without running one. Both record what they were asked.
#pragma once

#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "ai/chat_model.h"
#include "ai/system_model.h"

namespace skimlet::testing {

class StandInModel : public ChatModel {
 public:
  struct Request {
    std::string system;
    std::string user;
    int maxTokens = 0;
  };

  std::string name = "Qwen2.5 1.5B";
  bool isInstalled = true;
  std::optional<std::string> loadError;
  // Replies handed out in order; none once they run out. A reply is streamed word by word.
  std::deque<std::optional<std::string>> replies;
  // Called as each request arrives, e.g. to hold it until the caller gives up.
  std::function<void(std::stop_token)> onRequest;
  // Called before each streamed piece with its position (0, 1, ...), e.g. to stop the request.
  std::function<void(int)> beforePiece;
  // A careless model keeps writing after it has been stopped; a careful one checks between pieces.
  bool honoursStop = true;

  explicit StandInModel(std::vector<std::optional<std::string>> canned = {});

  std::string displayName() const override { return name; }
  bool installed() override { return isInstalled; }
  std::optional<std::string> lastError() override { return loadError; }
  std::optional<std::string> generate(const std::string& system, const std::string& user, int maxTokens,
                                      const PartialSink& onPartial, std::stop_token stop) override;

  std::vector<Request> requests() const;

 private:
  mutable std::mutex mutex_;
  std::vector<Request> requests_;
};

class StandInSystemModel : public SystemModel {
 public:
  bool isAvailable = true;
  std::optional<LLMIntent> intentReply;
  std::optional<LLMChoice> choiceReply;
  std::optional<std::string> summaryReply;
  std::optional<std::string> answerReply;
  int calls = 0;
  std::vector<std::string> messages;  // the command or user message of each request

  bool available() override { return isAvailable; }
  std::optional<LLMIntent> parseIntent(const std::string& command) override { return asked(command, intentReply); }
  std::optional<LLMChoice> choose(const std::string& userMessage) override { return asked(userMessage, choiceReply); }
  std::optional<std::string> summarize(const std::string&, const std::string& text) override {
    return asked(text, summaryReply);
  }
  std::optional<std::string> answer(const std::string& question, const std::string&, const std::string&) override {
    return asked(question, answerReply);
  }

 private:
  template <typename Reply>
  Reply asked(const std::string& message, const Reply& reply) {
    ++calls;
    messages.push_back(message);
    return reply;
  }
};

}  // namespace skimlet::testing
