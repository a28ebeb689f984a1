// Where Skimlet's own language model lives on disk and whether it is installed.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace skimlet::ModelFiles {

inline constexpr const char* fileName = "qwen2.5-1.5b-instruct-q4_k_m.gguf";
// A complete download of the model is a little over 1 GB; anything at or below this is a
// partial or wrong file.
inline constexpr int64_t installedSizeFloor = 899'999'999;
// The smallest download accepted as the model.
inline constexpr int64_t minimumDownloadSize = 900'000'000;
// The published file itself: a download must match it exactly.
inline constexpr int64_t downloadSize = 1'117'320'736;
inline constexpr const char* downloadSHA256 = "6a1a2eb6d15622bf3c96857206351ba97e1af16c30d7a74ee38970e434e9407e";

// The user's data folder for Skimlet: $XDG_DATA_HOME/skimlet or ~/.local/share/skimlet on Linux,
// ~/Library/Application Support/Skimlet on macOS, the temporary folder + "Skimlet" otherwise.
std::filesystem::path directory();
// directory() / fileName.
std::filesystem::path modelPath();
// Where the model is fetched from (one HTTPS download).
const std::string& remoteURL();

// The model file in `dir` exists and is larger than installedSizeFloor bytes.
bool isInstalled(const std::filesystem::path& dir);
inline bool isInstalled() { return isInstalled(directory()); }

}  // namespace skimlet::ModelFiles
