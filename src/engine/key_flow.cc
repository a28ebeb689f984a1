// Single keys pressed in the browser ("press enter", "select all").
#include <cstdint>

#include "engine/action_engine.h"

namespace skimlet {

namespace {
struct KeyStroke {
  std::uint16_t code;
  std::uint64_t flags;
};

KeyStroke strokeFor(KeyAction key) {
  switch (key) {
    case KeyAction::copy: return {keycode::c, keyflags::command};
    case KeyAction::paste: return {keycode::v, keyflags::command};
    case KeyAction::selectAll: return {keycode::a, keyflags::command};
    case KeyAction::enter: return {keycode::returnKey, keyflags::none};
    case KeyAction::escape: return {keycode::escape, keyflags::none};
    case KeyAction::tab: return {keycode::tab, keyflags::none};
    case KeyAction::del: return {keycode::deleteBackward, keyflags::none};
    case KeyAction::up: return {keycode::up, keyflags::none};
    case KeyAction::down: return {keycode::down, keyflags::none};
    case KeyAction::left: return {keycode::left, keyflags::none};
    case KeyAction::right: return {keycode::right, keyflags::none};
  }
  return {keycode::returnKey, keyflags::none};
}
}  // namespace

void ActionEngine::sendShortcut(std::uint16_t virtualKey, std::uint64_t flags) {
  // Keys go to the process, but a browser in the background may ignore them.
  Pid pid = target_.app.pid;
  if (!platform_.workspace.isActive(pid)) platform_.workspace.activate(pid);
  platform_.input.postKey(pid, virtualKey, flags);
}

ActionResult ActionEngine::pressKey(KeyAction key, std::vector<std::string> dbg) {
  auto stroke = strokeFor(key);
  sendShortcut(stroke.code, stroke.flags);
  dbg.push_back("Keyboard event sent to " + browserName());
  return ActionResult::success("Pressed **" + title(key) + "**", std::move(dbg));
}

}  // namespace skimlet
