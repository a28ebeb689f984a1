// Pressing one element: the risky-click gate, then AXPress with a mouse click at the element's
// centre as the fallback for controls that don't take the action.
#include "engine/action_engine.h"
#include "match/element_matcher.h"
#include "match/safety.h"
#include "text/text_util.h"

namespace skimlet {

ChoiceOption ActionEngine::describe(const Match& match, const PageSnapshot& snap) {
  const PageElement& e = match.element;
  ChoiceOption o;
  // Text standing in for an unnamed control is shown as that control.
  std::string role = roleName(ElementMatcher::pressable(e, snap.elements).role);
  o.title = e.label().empty() ? "(unlabeled " + role + ")" : e.label();
  o.subtitle = role;
  if (auto section = snap.sectionTitle(e.id)) o.subtitle += " · under “" + TextUtil::truncate(*section, 40) + "”";
  if (e.frame && snap.webArea && snap.webArea->frame && snap.webArea->frame->height > 0) {
    const Rect& area = *snap.webArea->frame;
    double where = (e.frame->midY() - area.y) / area.height;
    o.subtitle += where < 0.33 ? " · top of view" : where < 0.66 ? " · middle of view" : " · bottom of view";
  }
  o.element = e;
  o.run = followUp<Outcome>(
      [match, trail = std::vector<std::string>{"Picked by you from " + o.subtitle}](ActionEngine& engine) {
        const PageSnapshot* snap = engine.snapshot();
        if (!snap) return Outcome(engine.unreadable(trail));
        return engine.press(match, *snap, trail);
      });
  return o;
}

Outcome ActionEngine::press(const Match& match, const PageSnapshot& snap, std::vector<std::string> dbg) {
  PageElement target = ElementMatcher::pressable(match.element, snap.elements);
  std::string label = match.element.label();
  if (label.empty()) label = target.label();
  if (label.empty()) label = roleName(target.role);
  dbg.push_back(elementDebug(target));

  auto risk = Safety::assess(label);
  if (!risk) return doPress(target, label, std::move(dbg));
  Confirmation c{"Click “" + label + "”?", *risk, "Click", dbg, {}};
  c.perform =
      followUp<ActionResult>([target, label, dbg](ActionEngine& engine) { return engine.doPress(target, label, dbg); });
  return c;
}

ActionResult ActionEngine::doPress(const PageElement& element, const std::string& label, std::vector<std::string> dbg) {
  highlight(element);
  ax::Error error = platform_.ax.performAction(element.element, "AXPress");
  if (error == ax::Error::success) {
    dbg.push_back("AXPress succeeded");
  } else {
    dbg.push_back("AXPress failed (" + std::to_string(static_cast<int>(error)) + ")");
    auto frame = currentFrame(element.element);
    // An element the browser no longer knows has lost its frame, or kept only a collapsed one;
    // one that is merely squashed flat still has a place on screen to aim at.
    bool gone = error == ax::Error::invalidUIElement || error == ax::Error::cannotComplete;
    if (gone && (!frame || frame->width == 0))
      return ActionResult::failure("That element is no longer available",
                                   "The page changed after it was read. Try the command again.", std::move(dbg));
    // Never click blind: without a position on screen there is nothing to aim at.
    if (!gone && (!frame || !frame->hasArea()))
      return ActionResult::failure("Couldn't click “" + label + "”",
                                   "The element doesn't support pressing and has no on-screen position.",
                                   std::move(dbg));
    dbg.push_back("Falling back to a mouse click at element center");
    platform_.input.postMouseClick(Point{frame->midX(), frame->midY()});
  }
  return ActionResult::success("Clicked **" + TextUtil::md(label) + "**", std::move(dbg));
}

}  // namespace skimlet
