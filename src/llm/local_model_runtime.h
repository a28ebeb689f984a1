// Skimlet's own language model at work: loads the model file on first use, runs every request on
// one worker thread ("skimlet.llm") in the order they arrive, streams the text as it grows,
// stops between tokens when asked, and remembers why the model last failed to load.
#pragma once

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "llm/reply_drafter.h"

namespace skimlet {

class Transformer;

class LocalModelRuntime {
 public:
  // Receives the whole text generated so far, only when it is complete UTF-8 (no character cut
  // in half). Called on the worker thread.
  using PartialText = std::function<void(const std::string&)>;

  struct Options {
    std::filesystem::path modelPath;  // empty: the installed model's place
    int maxContext = 2048;
  };

  // Figures of the last request that reached the model, for the "Why?" lines and the tool.
  struct RunStats {
    int promptTokens = 0;  // after fitting into the context
    int reusedTokens = 0;  // of those, already in the key/value cache from the request before
    int generatedTokens = 0;
    int decodeSteps = 0;     // passes after the prompt's (the first new token comes from the prompt's pass)
    int draftedTokens = 0;   // guessed tokens checked in those passes
    int acceptedDrafts = 0;  // of those, the ones the model agreed with
    int userCharacters = 0;  // of the user text, after fitting
    double promptSeconds = 0;
    double generationSeconds = 0;  // all decode steps together

    double promptTokensPerSecond() const {
      return promptSeconds > 0 ? (promptTokens - reusedTokens) / promptSeconds : 0;
    }
    double decodeTokensPerSecond() const { return generationSeconds > 0 ? decodeSteps / generationSeconds : 0; }
  };

  LocalModelRuntime();  // the installed model
  explicit LocalModelRuntime(Options options);
  // Lets a running request finish, drops the queued ones (they answer none) and stops the worker.
  ~LocalModelRuntime();
  LocalModelRuntime(const LocalModelRuntime&) = delete;
  LocalModelRuntime& operator=(const LocalModelRuntime&) = delete;

  // The process-wide runtime for the installed model.
  static LocalModelRuntime& shared();

  // One greedy chat completion. Blocks until the worker has run it; none when the model can't be
  // loaded, the prompt doesn't fit, nothing but white space came out, or `stop` was requested
  // (even if text was already streamed). `drafter`, when given, guesses how the reply goes on;
  // the reply is the same with or without it. Never throws.
  std::optional<std::string> generate(const std::string& system, const std::string& user, int maxTokens,
                                      const PartialText& onPartial = {}, std::stop_token stop = {},
                                      ReplyDrafter drafter = {});

  // The last load failure; none once the model has loaded.
  std::optional<std::string> lastError() const;
  std::optional<RunStats> lastRun() const;
  const std::filesystem::path& modelPath() const { return options_.modelPath; }

 private:
  struct Request;
  void workerLoop(std::stop_token);
  std::optional<std::string> run(Request& r);
  bool ensureLoaded();
  std::vector<int> draftTokens(const ReplyDrafter& drafter, const std::string& reply,
                               const std::vector<int>& replyTokens, int room);
  void setLastError(std::optional<std::string> e);

  Options options_;
  // Touched only by the worker: the model and the tokens whose keys and values its cache holds
  // at positions 0, 1, ...
  std::unique_ptr<Transformer> model_;
  std::vector<int> cached_;

  mutable std::mutex stateMutex_;  // guards lastError_ and lastRun_
  std::optional<std::string> lastError_;
  std::optional<RunStats> lastRun_;

  std::mutex queueMutex_;
  std::condition_variable_any queueChanged_;
  std::deque<std::shared_ptr<Request>> queue_;
  std::jthread worker_;  // last, so it stops before the members it uses go
};

}  // namespace skimlet
