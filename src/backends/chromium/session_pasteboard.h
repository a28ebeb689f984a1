// The pasteboard of a live session: the desktop clipboard where there is one, every copy also
// recorded as an event of the session.
#pragma once

#include <optional>
#include <string>

#include "effects/event_log.h"
#include "platform/desktop_pasteboard.h"
#include "platform/pasteboard.h"

namespace skimlet::chromium {

class SessionPasteboard : public Pasteboard {
 public:
  explicit SessionPasteboard(EventLog& events, bool useDesktop = true) : events_(events), clipboard_(useDesktop) {}
  void clear() override { clipboard_.clear(); }
  // Always true: the text is kept by the session even when the desktop's tool fails.
  bool setString(const std::string& text) override {
    events_.pasteboard(text);
    clipboard_.setString(text);
    return true;
  }
  std::optional<std::string> string() override { return clipboard_.string(); }
  bool desktop() const { return clipboard_.desktop(); }

 private:
  EventLog& events_;
  DesktopPasteboard clipboard_;
};

}  // namespace skimlet::chromium
