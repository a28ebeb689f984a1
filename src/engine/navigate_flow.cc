// Back, forward, reload, new tab, and switching or closing tabs. The browser's own toolbar
// button is preferred (it knows when going back is impossible); the keyboard shortcut is the
// fallback, so navigation works even when the window can't be read.
#include <algorithm>
#include <array>

#include "engine/action_engine.h"
#include "match/element_matcher.h"
#include "text/text_util.h"

namespace skimlet {

namespace {
struct ToolbarAction {
  std::vector<std::string> names;  // normalised button labels
  std::uint16_t key;               // with Command
  const char* done;
};

const ToolbarAction* toolbarAction(NavAction::Kind kind) {
  static const ToolbarAction back{{"back", "go back"}, 33, "Went back"};
  static const ToolbarAction forward{{"forward", "go forward"}, 30, "Went forward"};
  static const ToolbarAction reload{{"reload", "reload this page", "reload page", "refresh"}, 15, "Reloaded"};
  static const ToolbarAction newTab{{"new tab", "open a new tab"}, 17, "Opened a new tab"};
  switch (kind) {
    case NavAction::Kind::back: return &back;
    case NavAction::Kind::forward: return &forward;
    case NavAction::Kind::reload: return &reload;
    case NavAction::Kind::newTab: return &newTab;
    default: return nullptr;
  }
}

std::string lowerASCII(std::string s) {
  for (auto& c : s)
    if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
  return s;
}
}  // namespace

std::optional<PageElement> ActionEngine::chromeButton(const std::vector<std::string>& names, const PageSnapshot& snap) {
  for (const auto& e : snap.chrome) {
    if (e.role != "AXButton" && e.role != "AXMenuButton") continue;
    for (const auto& label : e.labels()) {
      std::string n = TextUtil::norm(label);
      for (const auto& name : names)
        if (n.rfind(name, 0) == 0) return e;  // equal, or begins with the name
    }
  }
  return std::nullopt;
}

Outcome ActionEngine::navigate(const NavAction& action, std::vector<std::string> dbg) {
  using K = NavAction::Kind;
  switch (action.kind) {
    case K::tabIndex: {
      int n = std::clamp(action.index, 1, 9);
      sendShortcut(keycode::digits[n - 1], keyflags::command);
      dbg.push_back(platform_.input.keyName(keycode::digits[n - 1], keyflags::command) + " sent");
      return ActionResult::success("Switched to tab **" + std::to_string(n) + "**", std::move(dbg));
    }
    case K::nextTab:
      sendShortcut(keycode::tab, keyflags::control);
      dbg.push_back(platform_.input.keyName(keycode::tab, keyflags::control) + " sent");
      return ActionResult::success("Switched to the **next** tab", std::move(dbg));
    case K::previousTab:
      sendShortcut(keycode::tab, keyflags::controlShift);
      dbg.push_back(platform_.input.keyName(keycode::tab, keyflags::controlShift) + " sent");
      return ActionResult::success("Switched to the **previous** tab", std::move(dbg));
    case K::closeTab: {
      Confirmation c{"Close this tab?", "Unsaved work on the page may be lost.", "Close tab", dbg, {}};
      c.perform = followUp<ActionResult>([dbg](ActionEngine& engine) mutable {
        engine.sendShortcut(keycode::w, keyflags::command);
        dbg.push_back(engine.platform().input.keyName(keycode::w, keyflags::command) + " sent");
        return ActionResult::success("Closed the tab", std::move(dbg));
      });
      return c;
    }
    case K::tabNamed: return switchToTab(action.name, std::move(dbg));
    case K::back:
    case K::forward:
    case K::reload:
    case K::newTab: break;
  }

  const ToolbarAction& a = *toolbarAction(action.kind);
  std::string headline = std::string("**") + a.done + "**";
  if (const PageSnapshot* snap = snapshot()) {
    notePage(*snap, dbg);
    if (auto button = chromeButton(a.names, *snap)) {
      if (!button->enabled)
        return ActionResult::failure("Can't " + lowerASCII(a.done) + " — that button is disabled", std::nullopt,
                                     std::move(dbg));
      if (platform_.ax.performAction(button->element, "AXPress") == ax::Error::success) {
        dbg.push_back("AXPress on toolbar button “" + button->label() + "”");
        return ActionResult::success(headline, std::move(dbg));
      }
    }
  }
  sendShortcut(a.key, keyflags::command);
  dbg.push_back("Toolbar button not available — sent keyboard shortcut");
  return ActionResult::success(headline, std::move(dbg));
}

Outcome ActionEngine::switchToTab(const std::string& name, std::vector<std::string> dbg) {
  const PageSnapshot* snap = snapshot();
  const PageElement* best = nullptr;
  double bestScore = 0;
  if (snap) {
    notePage(*snap, dbg);
    // Browser tabs live in the chrome; page tab strips ("Overview | Specs") count too.
    for (const auto* list : {&snap->chrome, &snap->elements}) {
      for (const auto& e : *list) {
        if (e.role != "AXRadioButton" && e.role != "AXTab") continue;
        if (e.frame && !e.frame->hasArea()) continue;
        double s = ElementMatcher::score(e, name);
        if (s >= 30 && s > bestScore) {
          best = &e;
          bestScore = s;
        }
      }
    }
  }
  if (!best) return ActionResult::failure("No tab matches “" + name + "”", std::nullopt, std::move(dbg));
  std::string label = best->label();
  platform_.ax.performAction(best->element, "AXPress");
  dbg.push_back("Pressed “" + label + "”");
  return ActionResult::success("Switched to **" + TextUtil::md(TextUtil::truncate(label, 50)) + "**", std::move(dbg));
}

}  // namespace skimlet
