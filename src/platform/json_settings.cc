#include "platform/json_settings.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace skimlet {

namespace fs = std::filesystem;

JsonSettings::JsonSettings(std::string path) : path_(std::move(path)) { reload(); }

bool JsonSettings::reload() {
  std::ifstream in(path_);
  if (!in) return false;
  std::stringstream text;
  text << in.rdbuf();
  auto parsed = nlohmann::json::parse(text.str(), nullptr, /*allow_exceptions=*/false);
  if (!parsed.is_object()) return false;
  std::lock_guard lock(mutex_);
  values_ = std::move(parsed);
  return true;
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
  auto it = values_.find(key);
  if (it == values_.end() || !it->is_string()) return std::nullopt;
  return it->get<std::string>();
}

std::optional<std::int64_t> JsonSettings::integer(std::string_view key) {
  std::lock_guard lock(mutex_);
  auto it = values_.find(key);
  if (it == values_.end() || !it->is_number_integer()) return std::nullopt;
  return it->get<std::int64_t>();
}

void JsonSettings::setString(std::string_view key, const std::string& value) {
  std::lock_guard lock(mutex_);
  values_[std::string(key)] = value;
  save();
}

void JsonSettings::setInteger(std::string_view key, std::int64_t value) {
  std::lock_guard lock(mutex_);
  values_[std::string(key)] = value;
  save();
}

void JsonSettings::remove(std::string_view key) {
  std::lock_guard lock(mutex_);
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
  if (ec) fs::remove(temp, ec);
}

}  // namespace skimlet
