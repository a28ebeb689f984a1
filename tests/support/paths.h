// Where tests find the project's files and the shared reference material.
#pragma once
#include <string>

namespace skimlet::testing {
// Absolute path of a file under the project's source tree, e.g. "tests/pages/login.json".
std::string sourcePath(const std::string& relative);
// Absolute path of a file in the shared folder beside the checkout, e.g. "models/tiny-f16.gguf".
std::string sharedPath(const std::string& relative);
}  // namespace skimlet::testing
