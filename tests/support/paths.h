// Where tests find the project's files and the shared reference material, and where they write.
#pragma once
#include <string>

namespace skimlet::testing {
// Absolute path of a file under the project's source tree, e.g. "tests/pages/login.json".
std::string sourcePath(const std::string& relative);
// Absolute path of a file in the shared folder beside the checkout, e.g. "models/tiny-f16.gguf".
std::string sharedPath(const std::string& relative);
// A file of the running test's own under the test temp folder: tests running side by side
// never share one.
std::string scratchPath(const std::string& name);
// A fresh empty folder under the test temp folder.
std::string scratchDir();
}  // namespace skimlet::testing
