// Typing into a field: the focused one, or one found by description. Keystrokes go first,
// because pages react to real typing (autocomplete, validation); where they don't arrive, the
// field's value is set directly.
#include "engine/action_engine.h"
#include "engine/input_typing.h"
#include "engine/secrets.h"
#include "match/element_matcher.h"
#include "page/roles.h"
#include "text/text_util.h"

namespace skimlet {

namespace {
constexpr double kLeadForSure = 6;  // points by which a best field must lead to be taken unasked
}  // namespace

Outcome ActionEngine::typeFlow(const std::string& text, const std::optional<TargetSpec>& field, bool replace,
                               std::vector<std::string> dbg) {
  if (text.empty()) return ActionResult::failure("Nothing to type", std::nullopt, std::move(dbg));

  auto withPage = [&]() -> Outcome {
    const PageSnapshot* snap = snapshot();
    if (!snap) return unreadable(std::move(dbg));
    notePage(*snap, dbg);
    return chooseField(text, field, replace, *snap, std::move(dbg));
  };
  if (field && !field->query.empty()) return withPage();

  if (auto focused = target_.focusedElement(platform_.ax)) {
    std::string role = attributeText(*focused, "AXRole");
    if (Roles::textInput(role) || isSettable(*focused, "AXValue")) {
      dbg.push_back("Typing into the focused " + role);
      bool secure = attributeText(*focused, "AXSubrole") == "AXSecureTextField";
      return write(text, *focused, replace, secure, "focused field", std::move(dbg));
    }
  }
  if (!field)
    return ActionResult::failure("No text field is focused",
                                 "Click a field first, or say “Type … into the email field”.", std::move(dbg));
  return withPage();
}

Outcome ActionEngine::chooseField(const std::string& text, const std::optional<TargetSpec>& field, bool replace,
                                  const PageSnapshot& snap, std::vector<std::string> dbg) {
  TargetSpec spec = field.value_or(TargetSpec{});
  if (!field) spec.role = RoleHint::field;
  auto found = ElementMatcher::matches(spec, snap.elements, MatchPurpose::field);
  const std::vector<Match>& candidates = found.matches;
  // "set quantity to 3", "set size to Large": no text field by that name, but a number stepper
  // or a drop-down list is set the same way.
  if (candidates.empty() && field && !field->query.empty())
    if (auto set = setControl(text, *field, snap, dbg)) return std::move(*set);
  if (candidates.empty())
    return ActionResult::failure("Couldn't find that field",
                                 "Ask “What fields are on this page?” to see what's available.", std::move(dbg));

  auto writeInto = [text, replace](ActionEngine& engine, const PageElement& e, std::vector<std::string> trail) {
    trail.push_back("Field: " + elementDebug(e));
    std::string name = e.label().empty() ? "field" : e.label();
    bool secure = e.role == "AXSecureTextField" || e.subrole == "AXSecureTextField";
    return engine.write(text, e.element, replace, secure, name, std::move(trail));
  };

  if (candidates.size() == 1 || candidates[0].score - candidates[1].score >= kLeadForSure)
    return writeInto(*this, candidates[0].element, std::move(dbg));

  std::vector<std::string> options;
  for (size_t i = 0; i < candidates.size() && i < 8; ++i) {
    auto label = candidates[i].element.label();
    options.push_back(label.empty() ? "unlabeled field" : label);
  }
  if (auto pick = ai_.choose(spec.summary(), options, stop_); pick && *pick >= 0 && *pick < int(options.size()))
    return writeInto(*this, candidates[*pick].element, std::move(dbg));
  modelNote(dbg);

  ChoiceSet choice{"Which field do you mean?", {}};
  for (const auto& m : candidates) {
    ChoiceOption o;
    auto label = m.element.label();
    o.title = label.empty() ? "(unlabeled field)" : label;
    if (auto section = snap.sectionTitle(m.element.id)) o.subtitle = TextUtil::truncate(*section, 40);
    o.element = m.element;
    o.run = followUp<Outcome>(
        [writeInto, e = m.element, dbg](ActionEngine& engine) { return Outcome(writeInto(engine, e, dbg)); });
    choice.options.push_back(std::move(o));
  }
  return choice;
}

ActionResult ActionEngine::write(const std::string& text, const ax::ElementRef& into, bool replace, bool secure,
                                 const std::string& name, std::vector<std::string> dbg) {
  auto& ax = platform_.ax;
  auto& clock = platform_.clock;
  Pid pid = target_.app.pid;
  // The command's own words are in the trail ("Intent: Type “hunter2” in “password” field"),
  // whole or cut short; once the text turns out to go into a password field, every copy goes.
  if (secure) {
    secrets_.push_back(text);
    for (auto& line : dbg) line = Secrets::mask(line, {text});
  }

  if (auto frame = currentFrame(into)) platform_.highlighter.show(*frame, 1.5);
  ax.setAttributeValue(into, "AXFocused", ax::Value(true));
  clock.sleep(0.100);

  std::string before = attributeText(into, "AXValue");
  if (replace) {
    platform_.input.postKey(pid, keycode::a, keyflags::command);  // select all, so typing replaces
    clock.sleep(0.040);
  }
  Input::type(platform_.input, clock, text, pid);
  clock.sleep(0.150);
  std::string after = attributeText(into, "AXValue");

  bool delivered = after.find(text) != std::string::npos || (after != before && !after.empty());
  bool done = delivered;
  if (delivered) {
    dbg.push_back("Typed via keyboard events");
  } else if (isSettable(into, "AXValue")) {
    std::string value = replace ? text : before + text;
    done = ax.setAttributeValue(into, "AXValue", ax::Value(value)) == ax::Error::success;
    dbg.push_back("Keystrokes didn't register; set AXValue directly");
  } else {
    dbg.push_back("Typed via keyboard events");
  }

  if (!done)
    return ActionResult::failure("Couldn't type into **" + TextUtil::md(name) + "**", "The field didn't accept input.",
                                 std::move(dbg));
  std::string shown = secure ? Secrets::masked : TextUtil::truncate(text, 40);
  return ActionResult::success(
      std::string(replace ? "Filled **" : "Typed in **") + TextUtil::md(name) + "** with “" + TextUtil::md(shown) + "”",
      std::move(dbg));
}

}  // namespace skimlet
