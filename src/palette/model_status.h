// How the Settings window describes the own model's download state, and which of its buttons
// apply, for every desktop.
#pragma once

#include <optional>
#include <string>

#include "llm/model_store.h"

namespace skimlet {

struct ModelStatus {
  std::string text;                // "Installed", "Downloading… 42% (450 MB of 1.1 GB)", …
  std::optional<double> progress;  // 0–1 while downloading with a known size
  bool canDownload = false;
  bool canCancel = false;
  bool canRemove = false;
};

ModelStatus modelStatus(const ModelStore::State& state);

}  // namespace skimlet
