#include "platform/memory_settings.h"

namespace skimlet {

std::optional<std::string> MemorySettings::string(std::string_view key) {
  std::lock_guard lock(mutex_);
  auto it = values_.find(key);
  if (it == values_.end()) return std::nullopt;
  if (auto s = std::get_if<std::string>(&it->second)) return *s;
  return std::nullopt;
}
std::optional<std::int64_t> MemorySettings::integer(std::string_view key) {
  std::lock_guard lock(mutex_);
  auto it = values_.find(key);
  if (it == values_.end()) return std::nullopt;
  if (auto i = std::get_if<std::int64_t>(&it->second)) return *i;
  return std::nullopt;
}
void MemorySettings::setString(std::string_view key, const std::string& value) {
  std::lock_guard lock(mutex_);
  values_[std::string(key)] = value;
}
void MemorySettings::setInteger(std::string_view key, std::int64_t value) {
  std::lock_guard lock(mutex_);
  values_[std::string(key)] = value;
}
void MemorySettings::remove(std::string_view key) {
  std::lock_guard lock(mutex_);
  if (auto it = values_.find(key); it != values_.end()) values_.erase(it);
}

}  // namespace skimlet
