// The general pasteboard (NSPasteboard), plain text only.
#pragma once

#include "platform/pasteboard.h"

namespace skimlet::mac {

class MacPasteboard final : public Pasteboard {
 public:
  void clear() override;
  bool setString(const std::string& text) override;
  std::optional<std::string> string() override;
};

}  // namespace skimlet::mac
