#include "backends/chromium/chromium_input.h"

#include <algorithm>
#include <unordered_map>

#include "text/unicode.h"

namespace skimlet::chromium {

namespace {

constexpr std::uint64_t kModifierMask = keyflags::command | keyflags::control | keyflags::shift | keyflags::option;

// The ANSI layout's letter, digit and punctuation keys by macOS virtual key code.
const std::unordered_map<std::uint16_t, char>& characterKeys() {
  static const std::unordered_map<std::uint16_t, char> keys = {
      {0, 'a'},   {1, 's'},  {2, 'd'},  {3, 'f'},  {4, 'h'},  {5, 'g'},  {6, 'z'},  {7, 'x'},   {8, 'c'},  {9, 'v'},
      {11, 'b'},  {12, 'q'}, {13, 'w'}, {14, 'e'}, {15, 'r'}, {16, 'y'}, {17, 't'}, {18, '1'},  {19, '2'}, {20, '3'},
      {21, '4'},  {22, '6'}, {23, '5'}, {24, '='}, {25, '9'}, {26, '7'}, {27, '-'}, {28, '8'},  {29, '0'}, {30, ']'},
      {31, 'o'},  {32, 'u'}, {33, '['}, {34, 'i'}, {35, 'p'}, {37, 'l'}, {38, 'j'}, {39, '\''}, {40, 'k'}, {41, ';'},
      {42, '\\'}, {43, ','}, {44, '/'}, {45, 'n'}, {46, 'm'}, {47, '.'}, {50, '`'}, {49, ' '}};
  return keys;
}

std::string codeFor(char c) {
  if (c >= 'a' && c <= 'z') return std::string("Key") + static_cast<char>(c - 'a' + 'A');
  if (c >= '0' && c <= '9') return std::string("Digit") + c;
  static const std::unordered_map<char, std::string> punctuation = {
      {'=', "Equal"},  {'-', "Minus"},     {']', "BracketRight"}, {'[', "BracketLeft"},
      {'\'', "Quote"}, {';', "Semicolon"}, {'\\', "Backslash"},   {',', "Comma"},
      {'/', "Slash"},  {'.', "Period"},    {'`', "Backquote"},    {' ', "Space"}};
  auto it = punctuation.find(c);
  return it == punctuation.end() ? "" : it->second;
}

int modifiersFor(std::uint64_t flags) {
  int m = 0;
  if (flags & keyflags::option) m |= 1;  // Alt
  // The desktop's Command shortcuts are Control shortcuts in a Linux browser.
  if (flags & (keyflags::control | keyflags::command)) m |= 2;
  if (flags & keyflags::shift) m |= 8;
  return m;
}

// Which of Command-1 to Command-9 a key is; 0 for none.
int tabNumber(std::uint16_t virtualKey) {
  for (int i = 0; i < 9; ++i)
    if (keycode::digits[i] == virtualKey) return i + 1;
  return 0;
}

constexpr const char* kSelectedText = R"JS((() => {
  const a = document.activeElement;
  if (a instanceof HTMLInputElement || a instanceof HTMLTextAreaElement) {
    if (a.type === 'password') return '';
    let start = null, end = null;
    try { start = a.selectionStart; end = a.selectionEnd; } catch (e) {}
    if (start !== null && end !== null) return a.value.substring(start, end);
    // Some input types (email, number) have no selection range of their own; Chromium then
    // reports the field's selected text as the document's selection.
  }
  return String(getSelection());
})())JS";

}  // namespace

std::optional<DomKey> domKeyFor(std::uint16_t virtualKey, bool shift) {
  switch (virtualKey) {
    case keycode::returnKey:
    case keycode::keypadEnter: return DomKey{"Enter", "Enter", 13, "\r"};
    case keycode::tab: return DomKey{"Tab", "Tab", 9, ""};
    case keycode::space: return DomKey{" ", "Space", 32, " "};
    case keycode::deleteBackward: return DomKey{"Backspace", "Backspace", 8, ""};
    case keycode::escape: return DomKey{"Escape", "Escape", 27, ""};
    case keycode::deleteForward: return DomKey{"Delete", "Delete", 46, ""};
    case keycode::left: return DomKey{"ArrowLeft", "ArrowLeft", 37, ""};
    case keycode::right: return DomKey{"ArrowRight", "ArrowRight", 39, ""};
    case keycode::down: return DomKey{"ArrowDown", "ArrowDown", 40, ""};
    case keycode::up: return DomKey{"ArrowUp", "ArrowUp", 38, ""};
    case keycode::home: return DomKey{"Home", "Home", 36, ""};
    case keycode::end: return DomKey{"End", "End", 35, ""};
    case keycode::pageUp: return DomKey{"PageUp", "PageUp", 33, ""};
    case keycode::pageDown: return DomKey{"PageDown", "PageDown", 34, ""};
    default: break;
  }
  auto it = characterKeys().find(virtualKey);
  if (it == characterKeys().end()) return std::nullopt;
  char c = it->second;
  std::string text(1, shift && c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c);
  int keyCode = c >= 'a' && c <= 'z' ? c - 'a' + 'A' : (c >= '0' && c <= '9' ? c : 0);
  return DomKey{text, codeFor(c), keyCode, text};
}

void ChromiumInput::keyEvent(const DomKey& key, std::uint64_t flags, const std::string& command) {
  int modifiers = modifiersFor(flags);
  bool typesText = !key.text.empty() && !(modifiers & 3);
  Json down = {{"type", typesText ? "keyDown" : "rawKeyDown"},
               {"modifiers", modifiers},
               {"key", key.key},
               {"code", key.code},
               {"windowsVirtualKeyCode", key.keyCode},
               {"nativeVirtualKeyCode", key.keyCode}};
  if (typesText) down["text"] = down["unmodifiedText"] = key.text;
  if (!command.empty()) down["commands"] = Json::array({command});
  Json up = {{"type", "keyUp"},
             {"modifiers", modifiers},
             {"key", key.key},
             {"code", key.code},
             {"windowsVirtualKeyCode", key.keyCode},
             {"nativeVirtualKeyCode", key.keyCode}};
  browser_.tabCalls({{"Input.dispatchKeyEvent", down}, {"Input.dispatchKeyEvent", up}});
}

std::string ChromiumInput::selectedText() {
  Json selected = browser_.evaluate(kSelectedText);
  if (selected.is_string() && !selected.get<std::string>().empty()) return selected.get<std::string>();
  // Whatever else the page selected: the page's own copy command, read back from the browser's
  // clipboard. Not a Control-C key event: headless Chromium answers that with the page's URL
  // rather than the selection.
  try {
    browser_.evaluate("navigator.clipboard.writeText('').catch(() => {})");
    browser_.evaluate("document.execCommand('copy')");
    Json copied = browser_.evaluate("navigator.clipboard.readText().catch(() => '')");
    if (copied.is_string()) return copied.get<std::string>();
  } catch (const CdpError&) {
  }
  return "";
}

bool ChromiumInput::browserShortcut(std::uint16_t virtualKey, std::uint64_t flags) {
  std::uint64_t mods = flags & kModifierMask;
  if (mods == keyflags::control && virtualKey == keycode::tab) {  // next tab, wrapping around
    int n = static_cast<int>(browser_.tabs().size());
    if (n > 0) browser_.activate((browser_.activeIndex() + 1) % n);
    return true;
  }
  if (mods == keyflags::controlShift && virtualKey == keycode::tab) {  // previous tab
    int n = static_cast<int>(browser_.tabs().size());
    if (n > 0) browser_.activate((browser_.activeIndex() + n - 1) % n);
    return true;
  }
  if (mods != keyflags::command) return false;
  if (int n = tabNumber(virtualKey)) {
    // Command-9 is always the last tab; the others go to that position when it exists.
    int count = static_cast<int>(browser_.tabs().size());
    if (n == 9) browser_.activate(count - 1);
    else if (n <= count) browser_.activate(n - 1);
    return true;
  }
  switch (virtualKey) {
    case keycode::leftBracket: browser_.goBack(); return true;
    case keycode::rightBracket: browser_.goForward(); return true;
    case keycode::r: browser_.reload(); return true;
    case keycode::t: browser_.openTab("about:blank"); return true;
    case keycode::w:
      // The last tab's Command-W closes the window; Skimlet keeps its session's window open.
      if (browser_.tabs().size() > 1) browser_.closeActiveTab();
      return true;
    case keycode::a:
      keyEvent(*domKeyFor(keycode::a, false), flags, "selectAll");
      browser_.changed(false);
      return true;
    case keycode::c: {
      std::string text = selectedText();
      if (!text.empty()) pasteboard_.setString(text);
      return true;
    }
    case keycode::v: {
      if (auto text = pasteboard_.string(); text && !text->empty())
        browser_.tabCall("Input.insertText", {{"text", *text}});
      browser_.changed(false);
      return true;
    }
    case keycode::x: {
      std::string text = selectedText();
      if (!text.empty()) {
        pasteboard_.setString(text);
        browser_.evaluate("document.execCommand('delete')");
      }
      browser_.changed(false);
      return true;
    }
    case keycode::z:
      keyEvent(*domKeyFor(keycode::z, false), flags, "undo");
      browser_.changed(false);
      return true;
    default: return false;
  }
}

bool ChromiumInput::postKey(Pid pid, std::uint16_t virtualKey, std::uint64_t flags) {
  auto turn = browser_.take();
  if (pid != browser_.pid() || !browser_.alive()) return false;
  events_.key(virtualKey, flags);
  try {
    if (browserShortcut(virtualKey, flags)) return true;
    auto key = domKeyFor(virtualKey, flags & keyflags::shift);
    if (!key) return true;  // posted, but no key the page would see
    keyEvent(*key, flags);
    // Return submits forms and follows links; let such a navigation finish.
    browser_.changed(virtualKey == keycode::returnKey || virtualKey == keycode::keypadEnter ||
                     virtualKey == keycode::space);
  } catch (const CdpError&) {
    browser_.changed(false);
  }
  return true;
}

bool ChromiumInput::postText(Pid pid, std::u16string_view units) {
  auto turn = browser_.take();
  if (pid != browser_.pid() || !browser_.alive()) return false;
  std::string text = unicode::fromUtf16(units);
  try {
    Json secure = browser_.evaluate("document.activeElement?.type === 'password'");
    events_.type(text, secure.is_boolean() && secure.get<bool>());
    if (text == "\r" || text == "\n") {
      keyEvent(*domKeyFor(keycode::returnKey, false), 0);
      browser_.changed(true);
    } else {
      browser_.tabCall("Input.insertText", {{"text", text}});
      browser_.changed(false);
    }
  } catch (const CdpError&) {
    browser_.changed(false);
  }
  return true;
}

bool ChromiumInput::postMouseClick(Point at) {
  auto turn = browser_.take();
  if (!browser_.alive()) return false;
  events_.mouseClick(at);
  try {
    Rect view = browser_.viewportFrame();
    if (at.x >= view.x && at.y >= view.y && at.x < view.x + view.width && at.y < view.y + view.height) {
      Json base = {{"x", at.x - view.x}, {"y", at.y - view.y}, {"button", "left"}, {"clickCount", 1}};
      Json down = base, up = base;
      down["type"] = "mousePressed";
      up["type"] = "mouseReleased";
      Json moved = {{"type", "mouseMoved"}, {"x", at.x - view.x}, {"y", at.y - view.y}};
      browser_.tabCalls(
          {{"Input.dispatchMouseEvent", moved}, {"Input.dispatchMouseEvent", down}, {"Input.dispatchMouseEvent", up}});
      browser_.changed(true);
    } else if (auto element = ax_.chromeElementAt(at)) {
      // The browser's own bands: the click lands on a tab or a toolbar button.
      ax_.performAction(element, "AXPress");
    }
  } catch (const CdpError&) {
    browser_.changed(false);
  }
  return true;
}

bool ChromiumInput::postScrollWheel(Point at, int lines) {
  auto turn = browser_.take();
  if (!browser_.alive()) return false;
  events_.scrollWheel(at, lines);
  try {
    Rect view = browser_.viewportFrame();
    double x = std::clamp(at.x - view.x, 0.0, view.width - 1), y = std::clamp(at.y - view.y, 0.0, view.height - 1);
    browser_.tabCall("Input.dispatchMouseEvent",
                     {{"type", "mouseWheel"}, {"x", x}, {"y", y}, {"deltaX", 0}, {"deltaY", lines * 40}});
    // Wheel scrolling is applied on the next frame; wait for it so a read afterwards sees it.
    browser_.evaluate("new Promise(r => requestAnimationFrame(() => requestAnimationFrame(r)))");
    browser_.changed(false);
  } catch (const CdpError&) {
    browser_.changed(false);
  }
  return true;
}

}  // namespace skimlet::chromium
