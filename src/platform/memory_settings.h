// Settings held in memory for the life of the object: for tests, and for runs that must not
// touch the user's own settings.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <variant>

#include "platform/settings.h"

namespace skimlet {

class MemorySettings final : public Settings {
 public:
  std::optional<std::string> string(std::string_view key) override;
  std::optional<std::int64_t> integer(std::string_view key) override;
  void setString(std::string_view key, const std::string& value) override;
  void setInteger(std::string_view key, std::int64_t value) override;
  void remove(std::string_view key) override;

 private:
  std::mutex mutex_;
  std::map<std::string, std::variant<std::string, std::int64_t>, std::less<>> values_;
};

}  // namespace skimlet
