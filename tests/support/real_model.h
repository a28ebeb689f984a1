// Where the real model is: the file scripts/fetch_model.sh assembles in its cache folder, or the
// file $SKIMLET_REAL_MODEL names. Shared by the real-model tests and the benchmarks.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace skimlet::testing {

// Empty when the file is not there.
inline std::string realModelPath() {
  namespace fs = std::filesystem;
  auto env = [](const char* name) -> std::string {
    const char* v = std::getenv(name);
    return v && *v ? v : "";
  };
  fs::path path;
  if (std::string given = env("SKIMLET_REAL_MODEL"); !given.empty()) {
    path = given;
  } else {
    // The fetch script's folder, found the same way it finds it.
    fs::path dir;
    if (std::string c = env("SKIMLET_MODEL_CACHE"); !c.empty()) dir = c;
    else if (std::string x = env("XDG_CACHE_HOME"); !x.empty()) dir = fs::path(x) / "skimlet" / "models";
    else dir = fs::path(env("HOME")) / ".cache" / "skimlet" / "models";
    path = dir / "qwen2.5-coder-1.5b-instruct-q4_k_m.gguf";
  }
  std::error_code ec;
  return fs::is_regular_file(path, ec) ? path.string() : "";
}

}  // namespace skimlet::testing
