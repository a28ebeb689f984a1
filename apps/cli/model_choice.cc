#include "model_choice.h"

#include "llm/model_files.h"

namespace skimlet::cli {

bool readModelOption(OptionReader& r, ModelChoice& choice) {
  const auto before = choice.source;
  std::string file;
  if (r.flag("--no-model")) {
    choice = ModelChoice{ModelChoice::Source::none, ""};
  } else if (r.value("--model", file)) {
    if (!r.problem().empty()) return true;
    choice = ModelChoice{ModelChoice::Source::file, file};
  } else {
    return false;
  }
  if (before != ModelChoice::Source::installed && before != choice.source)
    r.fail("--model and --no-model exclude each other");
  return true;
}

Models::Models(const ModelChoice& choice) {
  switch (choice.source) {
    case ModelChoice::Source::none: return;
    case ModelChoice::Source::installed:
      // Without a download there is nothing to load, and the status says so.
      if (!ModelFiles::isInstalled()) return;
      runtime_ = &LocalModelRuntime::shared();
      own_ = std::make_unique<OwnModel>(*runtime_);
      break;
    case ModelChoice::Source::file:
      ownRuntime_ = std::make_unique<LocalModelRuntime>(LocalModelRuntime::Options{choice.file, 2048});
      runtime_ = ownRuntime_.get();
      // A file named on the command line counts as installed whatever its size; whether it is
      // a model at all is the load's to say, and its error then reads as the reason.
      own_ = std::make_unique<OwnModel>(*runtime_, [] { return true; });
      break;
  }
  ai_ = LocalAI(own_.get(), nullptr);
}

std::string Models::modelPath() const { return runtime_ ? runtime_->modelPath().string() : ""; }

std::optional<std::string> Models::load() {
  if (!runtime_) return std::nullopt;
  // A request for no new tokens loads the model on the worker and ends there.
  runtime_->generate("", "", 0);
  return runtime_->lastError();
}

std::optional<LocalModelRuntime::RunStats> Models::lastRun() const {
  return runtime_ ? runtime_->lastRun() : std::nullopt;
}

}  // namespace skimlet::cli
