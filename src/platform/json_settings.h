// Settings kept in a JSON object in one file, for platforms without user defaults. The file
// holds the user's name, e-mail and phone, so it is private (0600, its new folders 0700).
//
// The file is read when the store is made. Every change is made to the file as it is then on
// disk, under a lock shared with other processes (a lock file beside it), and written whole
// through a temporary file in the same folder and a rename: a crash never leaves half a file
// behind, and two processes changing different keys at once both keep their change. A symbolic
// link is followed, so the file it points to is the one replaced.
//
// A missing file is an empty store. A file that cannot be read as a JSON object is corrupt:
// the store reads as empty and says so (problem()), and the first change first moves the file
// aside (to "settings.json.corrupt", then ".corrupt.1" and so on), never overwriting it.
// A change that cannot be written is reported by saveError(). Safe to use from several threads.
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "platform/settings.h"

namespace skimlet {

class JsonSettings final : public Settings {
 public:
  explicit JsonSettings(std::string path);
  // $XDG_CONFIG_HOME/skimlet/settings.json, else ~/.config/skimlet/settings.json; empty when
  // neither variable is set. A relative XDG_CONFIG_HOME is ignored, as the XDG rules ask.
  static std::string defaultPath();

  const std::string& path() const { return path_; }
  // What is wrong with the file (corrupt, or kept aside), for the user; none when all is well.
  std::optional<std::string> problem();
  // Why the last change could not be written; none when it was.
  std::optional<std::string> saveError();

  std::optional<std::string> string(std::string_view key) override;
  std::optional<std::int64_t> integer(std::string_view key) override;
  void setString(std::string_view key, const std::string& value) override;
  void setInteger(std::string_view key, std::int64_t value) override;
  void remove(std::string_view key) override;

 private:
  // Applies `change` to the file's current contents and writes them; with mutex_ held.
  template <class Change>
  void update(Change change);

  std::string path_;
  std::mutex mutex_;
  nlohmann::json values_ = nlohmann::json::object();
  std::optional<std::string> problem_;
  std::optional<std::string> saveError_;
};

}  // namespace skimlet
