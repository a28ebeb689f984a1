// The user's stored settings (user defaults on macOS; a JSON file on Linux).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace skimlet {

class Settings {
 public:
  virtual ~Settings() = default;
  virtual std::optional<std::string> string(std::string_view key) = 0;
  virtual std::optional<std::int64_t> integer(std::string_view key) = 0;
  virtual void setString(std::string_view key, const std::string& value) = 0;
  virtual void setInteger(std::string_view key, std::int64_t value) = 0;
  virtual void remove(std::string_view key) = 0;
};

}  // namespace skimlet
