#include "llm/model_files.h"

#include <cstdlib>
#include <system_error>

namespace skimlet::ModelFiles {

namespace fs = std::filesystem;

static fs::path fromEnv(const char* name) {
  const char* v = std::getenv(name);
  // Relative values are ignored, as the XDG base-directory rules ask.
  if (v && *v && fs::path(v).is_absolute()) return fs::path(v);
  return {};
}

fs::path directory() {
  fs::path home = fromEnv("HOME");
#if defined(__APPLE__)
  if (!home.empty()) return home / "Library" / "Application Support" / "Skimlet";
#else
  if (fs::path data = fromEnv("XDG_DATA_HOME"); !data.empty()) return data / "skimlet";
  if (!home.empty()) return home / ".local" / "share" / "skimlet";
#endif
  std::error_code ec;
  fs::path tmp = fs::temp_directory_path(ec);
  return (ec ? fs::path("/tmp") : tmp) / "Skimlet";
}

fs::path modelPath() { return directory() / fileName; }

const std::string& remoteURL() {
  static const std::string url =
      "https://huggingface.co/Qwen/Qwen2.5-1.5B-Instruct-GGUF/resolve/main/qwen2.5-1.5b-instruct-q4_k_m.gguf";
  return url;
}

bool isInstalled(const fs::path& dir) {
  std::error_code ec;
  auto size = fs::file_size(dir / fileName, ec);
  return !ec && static_cast<int64_t>(size) > installedSizeFloor;
}

}  // namespace skimlet::ModelFiles
