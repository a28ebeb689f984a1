#include "support/paths.h"

namespace skimlet::testing {
std::string sourcePath(const std::string& relative) { return std::string(SKIMLET_SOURCE_DIR) + "/" + relative; }
std::string sharedPath(const std::string& relative) { return std::string(SKIMLET_SHARED_DIR) + "/" + relative; }
}  // namespace skimlet::testing
