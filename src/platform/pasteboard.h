// The general pasteboard (clipboard).
#pragma once

#include <optional>
#include <string>

namespace skimlet {

class Pasteboard {
 public:
  virtual ~Pasteboard() = default;
  virtual void clear() = 0;
  virtual bool setString(const std::string& text) = 0;
  virtual std::optional<std::string> string() = 0;
};

}  // namespace skimlet
