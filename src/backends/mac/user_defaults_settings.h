// Settings in the user defaults, where macOS applications keep them ("hotkeyPreset",
// "profile.name", …). Safe to use from any thread, as NSUserDefaults is.
#pragma once

#include "platform/settings.h"

namespace skimlet::mac {

class UserDefaultsSettings final : public Settings {
 public:
  std::optional<std::string> string(std::string_view key) override;
  std::optional<std::int64_t> integer(std::string_view key) override;
  void setString(std::string_view key, const std::string& value) override;
  void setInteger(std::string_view key, std::int64_t value) override;
  void remove(std::string_view key) override;
};

}  // namespace skimlet::mac
