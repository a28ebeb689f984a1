// Form controls that are not typed into: ticking a check box, choosing in a drop-down list,
// setting a number. People name them the way they name fields ("set quantity to 3", "choose
// Large from size", "tick remember me"), so they are found by their labels like fields, and
// acted on through their value, which is what a screen reader user would change too.
#include <charconv>

#include "engine/action_engine.h"
#include "match/element_matcher.h"
#include "match/safety.h"
#include "text/text_util.h"

namespace skimlet {

namespace {
constexpr double kMinScore = 30;  // the matcher's own threshold for a label

bool isTickable(const PageElement& e) { return e.role == "AXCheckBox" || e.role == "AXRadioButton"; }

std::optional<double> number(std::string_view text) {
  std::string t = TextUtil::clean(text);
  double value = 0;
  auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), value);
  if (ec != std::errc() || end != t.data() + t.size() || t.empty()) return std::nullopt;
  return value;
}

// The best-named visible element that passes `wanted`, if its label matches well enough.
std::optional<Match> bestNamed(const std::string& query, const PageSnapshot& snap, bool (*wanted)(const PageElement&)) {
  std::optional<Match> best;
  for (const auto& e : snap.elements) {
    if (!e.frame || !e.frame->hasArea() || !wanted(e)) continue;
    const double score = query.empty() ? 50 : ElementMatcher::score(e, query);
    if (score >= kMinScore && (!best || score > best->score)) best = Match{e, score, "label matches “" + query + "”"};
  }
  return best;
}
}  // namespace

bool ActionEngine::isValueControl(const PageElement& e) {
  return e.role == "AXIncrementor" || e.role == "AXPopUpButton" || e.role == "AXSlider";
}

std::optional<bool> ActionEngine::isTicked(const PageElement& e) {
  if (!isTickable(e)) return std::nullopt;
  const std::string v = TextUtil::norm(e.value);
  return v == "1" || v == "true";
}

Outcome ActionEngine::setChecked(const TargetSpec& target, bool on, const PageSnapshot& snap,
                                 std::vector<std::string> dbg) {
  auto found = bestNamed(target.query, snap, isTickable);
  if (!found)
    return ActionResult::failure("Couldn't find a check box " + target.summary(),
                                 "Ask “What fields are on this page?” to see the form's controls.", std::move(dbg));
  const PageElement& box = found->element;
  const std::string label = box.label().empty() ? "check box" : box.label();
  dbg.push_back("Selected: " + roleName(box.role) + " “" + label + "” — " + found->reason + " (score " +
                std::to_string(static_cast<long long>(found->score)) + ")");
  dbg.push_back(elementDebug(box));
  // The box as it is now, not as the page read found it: an earlier command may have ticked it.
  PageElement now = box;
  now.value = attributeText(box.element, "AXValue");
  if (isTicked(now) == on) {
    highlight(box);
    return ActionResult::info("**" + TextUtil::md(label) + "** is already " + (on ? "ticked" : "unticked"),
                              std::nullopt, std::move(dbg));
  }
  auto toggle = [box, label, on](ActionEngine& engine, std::vector<std::string> trail) -> ActionResult {
    ActionResult r = engine.doPress(box, label, std::move(trail));
    if (r.kind != ActionResult::Kind::success) return r;
    r.headline = std::string(on ? "Ticked **" : "Unticked **") + TextUtil::md(label) + "**";
    return r;
  };
  // Ticking "I agree to the terms" is as weighty as clicking it.
  auto risk = Safety::assess(label);
  if (!risk) return toggle(*this, std::move(dbg));
  Confirmation c{std::string(on ? "Tick “" : "Untick “") + label + "”?", *risk, on ? "Tick" : "Untick", dbg, {}};
  c.perform = followUp<ActionResult>([toggle, dbg](ActionEngine& engine) { return toggle(engine, dbg); });
  return c;
}

std::optional<Outcome> ActionEngine::setControl(const std::string& value, const TargetSpec& target,
                                                const PageSnapshot& snap, std::vector<std::string>& dbg,
                                                bool listsOnly) {
  auto found = bestNamed(
      target.query, snap,
      listsOnly ? +[](const PageElement& e) { return e.role == "AXPopUpButton"; }
                : +[](const PageElement& e) { return isValueControl(e); });
  if (!found) return std::nullopt;
  const PageElement& control = found->element;
  const std::string name = control.label().empty() ? roleName(control.role) : control.label();
  dbg.push_back("Control: " + roleName(control.role) + " “" + name + "” — " + found->reason);
  dbg.push_back(elementDebug(control));
  highlight(control);
  const bool list = control.role == "AXPopUpButton";
  ax::Value newValue;
  if (list) {
    newValue = value;
  } else if (auto n = number(value)) {
    newValue = *n;
  } else {
    return ActionResult::failure("**" + TextUtil::md(name) + "** takes a number",
                                 "Say a number, as in “set " + TextUtil::lower(name) + " to 3”.", std::move(dbg));
  }
  if (platform_.ax.setAttributeValue(control.element, "AXValue", newValue) != ax::Error::success) {
    if (list)
      return ActionResult::failure("**" + TextUtil::md(name) + "** has no option “" + TextUtil::md(value) + "”",
                                   "Click **" + TextUtil::md(name) + "** to see its options.", std::move(dbg));
    return ActionResult::failure("Couldn't set **" + TextUtil::md(name) + "**", "The control didn't accept the value.",
                                 std::move(dbg));
  }
  dbg.push_back("Set AXValue");
  const std::string now = attributeText(control.element, "AXValue");
  const std::string shown = now.empty() ? value : now;
  if (list)
    return ActionResult::success("Chose “" + TextUtil::md(shown) + "” in **" + TextUtil::md(name) + "**",
                                 std::move(dbg));
  return ActionResult::success("Set **" + TextUtil::md(name) + "** to “" + TextUtil::md(shown) + "”", std::move(dbg));
}

}  // namespace skimlet
