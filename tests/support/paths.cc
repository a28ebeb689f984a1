#include "support/paths.h"

#include <gtest/gtest.h>
#include <stdlib.h>

namespace skimlet::testing {
std::string sourcePath(const std::string& relative) { return std::string(SKIMLET_SOURCE_DIR) + "/" + relative; }
std::string sharedPath(const std::string& relative) { return std::string(SKIMLET_SHARED_DIR) + "/" + relative; }

std::string scratchPath(const std::string& name) {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  return ::testing::TempDir() + "skimlet-" + info->test_suite_name() + "-" + info->name() + "-" + name;
}

std::string scratchDir() {
  std::string pattern = ::testing::TempDir() + "skimlet-XXXXXX";
  return mkdtemp(pattern.data()) ? pattern : std::string();
}
}  // namespace skimlet::testing
