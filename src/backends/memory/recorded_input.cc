#include "backends/memory/recorded_input.h"

#include "page/ax_helpers.h"
#include "text/unicode.h"

namespace skimlet::memory {

namespace {

void dropLastCodePoint(std::string& s) {
  if (s.empty()) return;
  std::size_t i = s.size() - 1;
  while (i > 0 && (static_cast<unsigned char>(s[i]) & 0xC0) == 0x80) --i;
  s.erase(i);
}

}  // namespace

bool RecordedInput::postKey(Pid pid, std::uint16_t virtualKey, std::uint64_t flags) {
  browser_.with([&](BrowserState& s) {
    s.log.key(virtualKey, flags);
    LiveNode* f = pid == s.app.pid ? s.field() : nullptr;
    if (!f) return;
    const bool command = flags & keyflags::command;
    if (virtualKey == keycode::a && command) {
      s.selectAll = true;
      return;
    }
    if (virtualKey == keycode::v && command) {
      if (s.pasteboard) s.insert(*f, *s.pasteboard);
    } else if (virtualKey == keycode::deleteBackward && !command) {
      std::string v = s.selectAll ? std::string() : AX::str(f->value);
      if (!s.selectAll) dropLastCodePoint(v);
      f->value = v;
    }
    s.selectAll = false;
  });
  return true;
}

bool RecordedInput::postText(Pid pid, std::u16string_view units) {
  std::string text = unicode::fromUtf16(units);
  browser_.with([&](BrowserState& s) {
    LiveNode* f = pid == s.app.pid ? s.field() : nullptr;
    s.log.type(text, s.focused && s.focused->secure());
    if (f) s.insert(*f, text);
  });
  return true;
}

bool RecordedInput::postMouseClick(Point at) {
  browser_.with([&](BrowserState& s) { s.log.mouseClick(at); });
  return true;
}

bool RecordedInput::postScrollWheel(Point at, int lines) {
  browser_.with([&](BrowserState& s) { s.log.scrollWheel(at, lines); });
  return true;
}

}  // namespace skimlet::memory
