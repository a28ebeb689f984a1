#include "ai/own_model.h"

#include "llm/model_files.h"

namespace skimlet {

OwnModel::OwnModel(LocalModelRuntime& runtime, std::function<bool()> isInstalled)
    : runtime_(runtime), isInstalled_(std::move(isInstalled)) {}

bool OwnModel::installed() { return isInstalled_ ? isInstalled_() : ModelFiles::isInstalled(); }

}  // namespace skimlet
