// Synthetic keyboard and mouse input for the live browser. The desktop's virtual key codes and
// modifier flags arrive as they would be posted on macOS; the browser's own shortcuts (history,
// tabs, clipboard) become the browser commands they stand for, other keys real key events in
// the page, and typed text is inserted into the focused element.
#pragma once

#include <optional>
#include <string>

#include "backends/chromium/chromium_ax.h"
#include "backends/chromium/live_browser.h"
#include "effects/event_log.h"
#include "platform/input_events.h"
#include "platform/pasteboard.h"

namespace skimlet::chromium {

// A key as the page's key events name it.
struct DomKey {
  std::string key;   // e.g. "Enter", "a"
  std::string code;  // e.g. "Enter", "KeyA"
  int keyCode = 0;   // the Windows virtual key code browsers report
  std::string text;  // what the key types, if anything
};

// The DOM key for a macOS virtual key code; none for codes Skimlet does not know.
std::optional<DomKey> domKeyFor(std::uint16_t virtualKey, bool shift);

class ChromiumInput : public InputEvents {
 public:
  ChromiumInput(LiveBrowser& browser, ChromiumAx& ax, EventLog& events, Pasteboard& pasteboard)
      : browser_(browser), ax_(ax), events_(events), pasteboard_(pasteboard) {}

  bool postKey(Pid pid, std::uint16_t virtualKey, std::uint64_t flags) override;
  bool postText(Pid pid, std::u16string_view units) override;
  bool postMouseClick(Point at) override;
  bool postScrollWheel(Point at, int lines) override;

 private:
  std::string selectedText();
  bool browserShortcut(std::uint16_t virtualKey, std::uint64_t flags);
  void keyEvent(const DomKey& key, std::uint64_t flags, const std::string& command = "");

  LiveBrowser& browser_;
  ChromiumAx& ax_;
  EventLog& events_;
  Pasteboard& pasteboard_;
};

}  // namespace skimlet::chromium
