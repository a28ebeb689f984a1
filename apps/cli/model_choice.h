// Which language model a command-line front end consults, as chosen by its options:
//   (neither)      the installed model, when there is one
//   --model FILE   that GGUF file instead
//   --no-model     none: rules, then the fallback and extractive answers
// The installed model failing to load is not fatal: it becomes the facade's last error, the
// status reads as no usable model, and commands go on without it. A file the user named is
// different: the front ends load it first and stop when it cannot be loaded.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "ai/local_ai.h"
#include "ai/own_model.h"
#include "cli.h"
#include "llm/local_model_runtime.h"
#include "options.h"

namespace skimlet::cli {

struct ModelChoice {
  enum class Source { installed, file, none };
  Source source = Source::installed;
  std::string file;  // for Source::file
};

// The usage words for the options, to put in a subcommand's usage line.
inline constexpr const char* modelUsage = "[--model FILE | --no-model]";

// Takes a model option when it is the reader's next argument; the reader's problem says what is
// wrong when the option is incomplete or contradicts an earlier one.
bool readModelOption(OptionReader& r, ModelChoice& choice);

// The models of one run of the tool. Keeps the model (and its runtime) alive for as long as the
// LocalAI it hands out, and any engine holding a copy of that, is in use.
class Models {
 public:
  explicit Models(const ModelChoice& choice);
  Models(const Models&) = delete;
  Models& operator=(const Models&) = delete;

  const LocalAI& ai() const { return ai_; }
  // The file the own model is read from; empty when there is none.
  std::string modelPath() const;
  // Loads the own model now rather than at its first request, so that a broken file shows up
  // before any command and timings leave the load out. The load error, if it failed.
  std::optional<std::string> load();
  // Figures of the own model's last request, if one reached it.
  std::optional<LocalModelRuntime::RunStats> lastRun() const;

 private:
  // Declared so that the model goes before the runtime it refers to, and the runtime (which
  // waits for a running request) last.
  std::unique_ptr<LocalModelRuntime> ownRuntime_;  // for --model FILE
  LocalModelRuntime* runtime_ = nullptr;           // the one in use, if any
  std::unique_ptr<OwnModel> own_;
  LocalAI ai_{nullptr, nullptr};
};

}  // namespace skimlet::cli
