#include "backends/atspi/xtest_input.h"

#include <X11/XKBlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "backends/atspi/key_map.h"

namespace skimlet::atspi {

namespace {

char32_t nextCodePoint(std::u16string_view units, std::size_t& i) {
  char16_t u = units[i++];
  if (u >= 0xD800 && u < 0xDC00 && i < units.size() && units[i] >= 0xDC00 && units[i] < 0xE000)
    return 0x10000 + ((char32_t(u) - 0xD800) << 10) + (char32_t(units[i++]) - 0xDC00);
  return u;
}

KeySym symFor(char32_t c) {
  if (c == '\n' || c == '\r') return XK_Return;
  if (c == '\t') return XK_Tab;
  // Latin-1 characters are their own keysyms; the rest have Unicode keysyms.
  if ((c >= 0x20 && c < 0x7F) || (c >= 0xA0 && c <= 0xFF)) return KeySym(c);
  return KeySym(0x01000000 | c);
}

}  // namespace

XTestInput::XTestInput(XDisplay* x, Workspace& workspace) : x_(x), workspace_(workspace) {
  if (!x_) return;
  std::lock_guard lock(x_->mutex());
  Display* d = x_->display();
  int minCode = 0, maxCode = 0, perCode = 0;
  XDisplayKeycodes(d, &minCode, &maxCode);
  KeySym* map = XGetKeyboardMapping(d, KeyCode(minCode), maxCode - minCode + 1, &perCode);
  for (int code = minCode; map && code <= maxCode; ++code) {
    KeySym* syms = map + (code - minCode) * perCode;
    if (std::all_of(syms, syms + perCode, [](KeySym s) { return s == NoSymbol; })) spare_.push_back(KeyCode(code));
  }
  if (map) XFree(map);
}

std::string XTestInput::keyName(std::uint16_t virtualKey, std::uint64_t flags) const {
  auto stroke = linuxKeyFor(virtualKey, flags);
  return stroke ? stroke->name : InputEvents::keyName(virtualKey, flags);
}

void XTestInput::bringToFront(Pid pid) {
  if (pid > 0 && !workspace_.isActive(pid)) workspace_.activate(pid);
}

void XTestInput::tap(KeyCode code, bool shift) {
  Display* d = x_->display();
  KeyCode shiftCode = XKeysymToKeycode(d, XK_Shift_L);
  if (shift) XTestFakeKeyEvent(d, shiftCode, True, CurrentTime);
  XTestFakeKeyEvent(d, code, True, CurrentTime);
  XTestFakeKeyEvent(d, code, False, CurrentTime);
  if (shift) XTestFakeKeyEvent(d, shiftCode, False, CurrentTime);
}

void XTestInput::typeSym(KeySym sym) {
  Display* d = x_->display();
  KeyCode code = XKeysymToKeycode(d, sym);
  if (code) {
    if (XkbKeycodeToKeysym(d, code, 0, 0) == sym) return tap(code, false);
    if (XkbKeycodeToKeysym(d, code, 0, 1) == sym) return tap(code, true);
  }
  if (auto it = borrowed_.find(sym); it != borrowed_.end()) return tap(it->second, false);
  if (spare_.empty()) return;
  // Spare codes are used in turn and keep their character, so a word with a few such letters
  // maps each once. A browser reads a changed map when told of it, a moment later; a key
  // pressed before then types nothing.
  KeyCode spare = spare_[nextSpare_++ % spare_.size()];
  std::erase_if(borrowed_, [spare](const auto& entry) { return entry.second == spare; });
  KeySym both[2] = {sym, sym};
  XChangeKeyboardMapping(d, spare, 2, both, 1);
  XSync(d, False);
  borrowed_[sym] = spare;
  std::this_thread::sleep_for(std::chrono::milliseconds(60));
  tap(spare, false);
  XSync(d, False);
}

XTestInput::~XTestInput() {
  if (!x_ || borrowed_.empty()) return;
  std::lock_guard lock(x_->mutex());
  KeySym none[2] = {NoSymbol, NoSymbol};
  for (const auto& [sym, code] : borrowed_) XChangeKeyboardMapping(x_->display(), code, 2, none, 1);
  XSync(x_->display(), False);
}

bool XTestInput::postKey(Pid pid, std::uint16_t virtualKey, std::uint64_t flags) {
  auto stroke = linuxKeyFor(virtualKey, flags);
  if (!x_ || !stroke) return false;
  bringToFront(pid);
  std::lock_guard lock(x_->mutex());
  Display* d = x_->display();
  std::vector<KeyCode> held;
  for (KeySym m : stroke->modifiers)
    if (KeyCode c = XKeysymToKeycode(d, m)) {
      XTestFakeKeyEvent(d, c, True, CurrentTime);
      held.push_back(c);
    }
  KeyCode code = XKeysymToKeycode(d, stroke->key);
  if (code) {
    XTestFakeKeyEvent(d, code, True, CurrentTime);
    XTestFakeKeyEvent(d, code, False, CurrentTime);
  }
  for (auto it = held.rbegin(); it != held.rend(); ++it) XTestFakeKeyEvent(d, *it, False, CurrentTime);
  XSync(d, False);
  return code != 0;
}

bool XTestInput::postText(Pid pid, std::u16string_view units) {
  if (!x_) return false;
  bringToFront(pid);
  std::lock_guard lock(x_->mutex());
  for (std::size_t i = 0; i < units.size();) typeSym(symFor(nextCodePoint(units, i)));
  XSync(x_->display(), False);
  return true;
}

bool XTestInput::postMouseClick(Point at) {
  if (!x_) return false;
  std::lock_guard lock(x_->mutex());
  Display* d = x_->display();
  XTestFakeMotionEvent(d, -1, int(at.x), int(at.y), CurrentTime);
  XTestFakeButtonEvent(d, 1, True, CurrentTime);
  XTestFakeButtonEvent(d, 1, False, CurrentTime);
  XSync(d, False);
  return true;
}

bool XTestInput::postScrollWheel(Point at, int lines) {
  if (!x_ || lines == 0) return false;
  std::lock_guard lock(x_->mutex());
  Display* d = x_->display();
  XTestFakeMotionEvent(d, -1, int(at.x), int(at.y), CurrentTime);
  // Browsers scroll three lines a notch.
  int notches = std::clamp((std::abs(lines) + 2) / 3, 1, 200);
  unsigned button = lines > 0 ? 5 : 4;
  for (int i = 0; i < notches; ++i) {
    XTestFakeButtonEvent(d, button, True, CurrentTime);
    XTestFakeButtonEvent(d, button, False, CurrentTime);
  }
  XSync(d, False);
  return true;
}

}  // namespace skimlet::atspi
