#include "platform/json_settings.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace skimlet {

namespace fs = std::filesystem;

JsonSettings::JsonSettings(std::string path) : path_(std::move(path)) {
  std::lock_guard lock(mutex_);
  refresh();
}

void JsonSettings::refresh() {
  if (path_.empty()) return;
  std::error_code ec;
  const auto modified = fs::last_write_time(path_, ec);
  if (ec || modified == readTime_) return;
  std::ifstream in(path_);
  if (!in) return;
  std::stringstream text;
  text << in.rdbuf();
  auto parsed = nlohmann::json::parse(text.str(), nullptr, /*allow_exceptions=*/false);
  // A file caught half-written by a program that does not rename into place is read next time.
  if (!parsed.is_object()) return;
  values_ = std::move(parsed);
  readTime_ = modified;
}

std::string JsonSettings::defaultPath() {
  const char* xdg = std::getenv("XDG_CONFIG_HOME");
  if (xdg && *xdg) return (fs::path(xdg) / "skimlet" / "settings.json").string();
  const char* home = std::getenv("HOME");
  if (home && *home) return (fs::path(home) / ".config" / "skimlet" / "settings.json").string();
  return {};
}

std::optional<std::string> JsonSettings::string(std::string_view key) {
  std::lock_guard lock(mutex_);
  refresh();
  auto it = values_.find(key);
  if (it == values_.end() || !it->is_string()) return std::nullopt;
  return it->get<std::string>();
}

std::optional<std::int64_t> JsonSettings::integer(std::string_view key) {
  std::lock_guard lock(mutex_);
  refresh();
  auto it = values_.find(key);
  if (it == values_.end() || !it->is_number_integer()) return std::nullopt;
  return it->get<std::int64_t>();
}

void JsonSettings::setString(std::string_view key, const std::string& value) {
  std::lock_guard lock(mutex_);
  refresh();  // keep what another process wrote meanwhile
  values_[std::string(key)] = value;
  save();
}

void JsonSettings::setInteger(std::string_view key, std::int64_t value) {
  std::lock_guard lock(mutex_);
  refresh();  // keep what another process wrote meanwhile
  values_[std::string(key)] = value;
  save();
}

void JsonSettings::remove(std::string_view key) {
  std::lock_guard lock(mutex_);
  refresh();  // keep what another process wrote meanwhile
  if (values_.erase(std::string(key)) > 0) save();
}

void JsonSettings::save() {
  if (path_.empty()) return;
  fs::path target(path_);
  std::error_code ec;
  if (target.has_parent_path()) fs::create_directories(target.parent_path(), ec);
  fs::path temp = target;
  temp += ".tmp." + std::to_string(::getpid());
  {
    std::ofstream out(temp, std::ios::trunc);
    if (!out) return;
    out << values_.dump(2) << "\n";
    out.flush();
    if (!out) {
      out.close();
      fs::remove(temp, ec);
      return;
    }
  }
  fs::rename(temp, target, ec);
  if (ec) {
    fs::remove(temp, ec);
    return;
  }
  // Our own write is what the store holds already.
  readTime_ = fs::last_write_time(target, ec);
}

}  // namespace skimlet
