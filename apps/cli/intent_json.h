// An Intent as the JSON object that `skimlet parse --json` prints and scripts read.
#pragma once

#include <optional>

#include <nlohmann/json.hpp>

#include "intent/intent.h"

namespace skimlet::cli {

nlohmann::ordered_json targetJson(const TargetSpec& t);
// {"intent": null, "title": null} without an intent.
nlohmann::ordered_json intentJson(const std::optional<Intent>& intent);

}  // namespace skimlet::cli
