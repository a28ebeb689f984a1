// The pasteboard of a live session: the desktop clipboard through xclip or wl-copy where one of
// them is installed and a display is there, otherwise a clipboard kept in the session itself.
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "effects/event_log.h"
#include "platform/pasteboard.h"

namespace skimlet::chromium {

class SessionPasteboard : public Pasteboard {
 public:
  explicit SessionPasteboard(EventLog& events, bool useDesktop = true);
  void clear() override;
  bool setString(const std::string& text) override;
  std::optional<std::string> string() override;
  bool desktop() const { return !copyCommand_.empty(); }

 private:
  EventLog& events_;
  std::mutex mutex_;
  std::optional<std::string> text_;
  std::string copyCommand_, pasteCommand_;
};

}  // namespace skimlet::chromium
