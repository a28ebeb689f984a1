// "what buttons are there?": the visible named controls of one kind, in page order, so the user
// can see what to say next. Controls with the same kind and name are listed once.
#include <set>
#include <unordered_map>

#include "engine/action_engine.h"
#include "match/element_matcher.h"
#include "text/text_util.h"

namespace skimlet {

namespace {
constexpr std::size_t maxItems = 100;
constexpr int itemChars = 80;

std::string plural(RoleHint role, std::size_t n) {
  std::string word = role == RoleHint::any ? "control" : std::string(noun(role));
  if (n == 1) return word;
  return word + (word.ends_with("x") ? "es" : "s");
}

// Anything pressable fits "button" when clicking; a list of buttons reads better without the
// check boxes, switches and tabs, which have lists of their own or show under "any".
bool isToggleOrTab(const PageElement& e) {
  return e.role == "AXCheckBox" || e.role == "AXRadioButton" || e.role == "AXSwitch" || e.role == "AXTab";
}

// "What fields are on this page?" means the whole form: text fields, and the number steppers,
// drop-down lists and check boxes beside them.
bool listed(const PageElement& e, RoleHint role) {
  if (role == RoleHint::field)
    return ElementMatcher::fits(e, role) || ActionEngine::isValueControl(e) || ActionEngine::isTicked(e).has_value();
  return ElementMatcher::fits(e, role);
}

// What a list line says about one control: its state where it has one, and its kind when the
// list mixes kinds.
std::string itemText(const PageElement& e, const std::string& name, RoleHint role) {
  std::string text = name;
  if (auto ticked = ActionEngine::isTicked(e)) {
    text = (*ticked ? "☑ " : "☐ ") + text;
  } else if ((ElementMatcher::fits(e, RoleHint::field) || ActionEngine::isValueControl(e)) &&
             e.subrole != "AXSecureTextField") {
    if (std::string v = TextUtil::clean(e.value); !v.empty()) text += ": " + v;
  }
  text = TextUtil::truncate(text, itemChars);
  if (role == RoleHint::any) text += " · " + ActionEngine::roleName(e.role);
  else if (role == RoleHint::field && e.role == "AXPopUpButton") text += " · drop-down list";
  else if (role == RoleHint::field && e.role == "AXIncrementor") text += " · number";
  if (!e.enabled) text += " (disabled)";
  return text;
}
}  // namespace

Outcome ActionEngine::list(RoleHint role, const PageSnapshot& snap, std::vector<std::string> dbg) {
  ActionResult result;
  result.kind = ActionResult::Kind::info;
  std::set<std::pair<std::string, std::string>> seen;  // role, normalised name
  std::size_t found = 0, repeats = 0;
  // Some browsers leave a heading or link unnamed and put its words in the text inside it; the
  // page's line for the element has them.
  std::unordered_map<int, const std::string*> lineText;
  for (const auto& line : snap.lines) lineText.emplace(line.elementID, &line.text);
  for (const auto& e : snap.elements) {
    if (!e.frame || !e.frame->hasArea() || e.role == "AXWebArea" || !listed(e, role)) continue;
    if (role == RoleHint::any && !ElementMatcher::canPress(e) && !ElementMatcher::fits(e, RoleHint::field)) continue;
    if (role == RoleHint::button && isToggleOrTab(e)) continue;
    std::string name = e.label();
    if (auto it = lineText.find(e.id); name.empty() && it != lineText.end()) name = *it->second;
    const std::string key = TextUtil::norm(name);
    if (key.empty()) continue;
    if (!seen.emplace(e.role, key).second) {
      ++repeats;
      continue;
    }
    ++found;
    if (result.items.size() < maxItems) result.items.push_back({.text = itemText(e, name, role), .element = e});
  }
  if (found == 0)
    return ActionResult::failure("No " + plural(role, 2) + " on this page", "Try “list links”, or “find …” for text.",
                                 std::move(dbg));

  result.headline = "Found **" + std::to_string(found) + "** " + plural(role, found);
  if (found > maxItems) result.body = "Showing the first " + std::to_string(maxItems) + ".";
  if (repeats > 0) dbg.push_back("Left out " + std::to_string(repeats) + " repeated name" + (repeats == 1 ? "" : "s"));
  result.debug = std::move(dbg);
  return result;
}

}  // namespace skimlet
