// Settings kept in a JSON object in one file, for platforms without user defaults.
//
// The file is read when the store is made and read again whenever it changed on disk since
// (another process, such as `skimlet profile set` while `browse` runs, may write it), so every
// command sees the settings as they are now. Every change rewrites it whole through a
// temporary file in the same folder and a rename, so a crash never leaves half a file behind.
// A missing or unreadable file is an empty store (it is not overwritten until the first change).
// Safe to use from several threads.
#pragma once

#include <filesystem>
#include <mutex>
#include <string>

#include <nlohmann/json.hpp>

#include "platform/settings.h"

namespace skimlet {

class JsonSettings final : public Settings {
 public:
  explicit JsonSettings(std::string path);
  // $XDG_CONFIG_HOME/skimlet/settings.json, else ~/.config/skimlet/settings.json; empty when
  // neither variable is set.
  static std::string defaultPath();

  const std::string& path() const { return path_; }

  std::optional<std::string> string(std::string_view key) override;
  std::optional<std::int64_t> integer(std::string_view key) override;
  void setString(std::string_view key, const std::string& value) override;
  void setInteger(std::string_view key, std::int64_t value) override;
  void remove(std::string_view key) override;

 private:
  void save();     // with mutex_ held
  void refresh();  // with mutex_ held: reads the file again when it changed on disk

  std::string path_;
  std::mutex mutex_;
  nlohmann::json values_ = nlohmann::json::object();
  std::filesystem::file_time_type readTime_{};  // the file's modification time when last read
};

}  // namespace skimlet
