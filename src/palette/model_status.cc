#include "palette/model_status.h"

#include <cmath>
#include <cstdio>
#include <type_traits>

namespace skimlet {

namespace {

std::string megabytes(int64_t bytes) {
  char buf[32];
  if (bytes >= 1'000'000'000) {
    std::snprintf(buf, sizeof buf, "%.1f GB", bytes / 1e9);
  } else {
    std::snprintf(buf, sizeof buf, "%lld MB", static_cast<long long>(bytes / 1'000'000));
  }
  return buf;
}

}  // namespace

ModelStatus modelStatus(const ModelStore::State& state) {
  return std::visit(
      [](const auto& s) -> ModelStatus {
        using T = std::decay_t<decltype(s)>;
        if constexpr (std::is_same_v<T, ModelStore::Downloading>) {
          ModelStatus m{.canCancel = true};
          if (s.expected > 0) {
            const int percent = static_cast<int>(std::floor(s.progress * 100));
            m.text = "Downloading\u2026 " + std::to_string(percent) + "% (" + megabytes(s.received) + " of " +
                     megabytes(s.expected) + ")";
            m.progress = s.progress;
          } else {
            m.text = "Downloading\u2026 " + megabytes(s.received);
          }
          return m;
        } else if constexpr (std::is_same_v<T, ModelStore::Failed>) {
          return {.text = s.message, .canDownload = true};
        } else if constexpr (std::is_same_v<T, ModelStore::Missing>) {
          return {.text = "Not installed", .canDownload = true};
        } else {
          return {.text = "Installed", .canRemove = true};
        }
      },
      state);
}

}  // namespace skimlet
