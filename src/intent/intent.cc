#include "intent/intent.h"

#include <array>
#include <cassert>
#include <cctype>
#include <vector>

#include "text/text_util.h"

namespace skimlet {

namespace {

constexpr std::array<std::string_view, 9> kRoleRaw = {"any", "button", "link",    "field", "checkbox",
                                                      "tab", "image",  "heading", "result"};
constexpr std::array<std::string_view, 9> kRoleNoun = {"element", "button", "link",    "field", "checkbox",
                                                       "tab",     "image",  "heading", "result"};
constexpr std::array<std::string_view, 11> kKeyRaw = {"copy",   "paste", "selectAll", "enter", "escape", "tab",
                                                      "delete", "up",    "down",      "left",  "right"};
constexpr std::array<std::string_view, 3> kProfileRaw = {"name", "email", "phone"};

template <typename E, std::size_t N>
std::optional<E> fromRaw(const std::array<std::string_view, N>& table, std::string_view raw) {
  for (std::size_t i = 0; i < N; ++i)
    if (table[i] == raw) return static_cast<E>(i);
  return std::nullopt;
}

std::string capitalised(std::string_view s) {
  std::string out(s);
  if (!out.empty()) out[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(out[0])));
  return out;
}

std::string quoted(std::string_view s) { return "“" + std::string(s) + "”"; }

std::string ordinalWord(int n) {
  static constexpr std::array<std::string_view, 11> words = {"",      "first",   "second", "third", "fourth", "fifth",
                                                             "sixth", "seventh", "eighth", "ninth", "tenth"};
  assert(n >= 0 && "negative ordinals other than -1 never reach the word table");
  if (n < 0) return "";
  if (n > 10) return "#" + std::to_string(n);
  return std::string(words[static_cast<std::size_t>(n)]);
}

std::string scrollTitle(const ScrollSpec& s) {
  switch (s.kind) {
    case ScrollSpec::Kind::down: return "Scroll down";
    case ScrollSpec::Kind::up: return "Scroll up";
    case ScrollSpec::Kind::top: return "Scroll to top";
    case ScrollSpec::Kind::bottom: return "Scroll to bottom";
    case ScrollSpec::Kind::section: return "Scroll to " + quoted(s.section);
  }
  return "";
}

std::string navTitle(const NavAction& a) {
  switch (a.kind) {
    case NavAction::Kind::tabIndex: return "Switch to tab " + std::to_string(a.index);
    case NavAction::Kind::tabNamed: return "Switch to tab " + quoted(a.name);
    case NavAction::Kind::back: return "Go back";
    case NavAction::Kind::forward: return "Go forward";
    case NavAction::Kind::reload: return "Reload";
    case NavAction::Kind::newTab: return "New tab";
    case NavAction::Kind::closeTab: return "Close tab";
    case NavAction::Kind::nextTab: return "Next tab";
    case NavAction::Kind::previousTab: return "Previous tab";
  }
  return "";
}

template <class... F>
struct Overloaded : F... {
  using F::operator()...;
};
template <class... F>
Overloaded(F...) -> Overloaded<F...>;

}  // namespace

std::string_view rawValue(RoleHint r) { return kRoleRaw[static_cast<std::size_t>(r)]; }
std::string_view noun(RoleHint r) { return kRoleNoun[static_cast<std::size_t>(r)]; }
std::optional<RoleHint> roleHintFromRaw(std::string_view raw) { return fromRaw<RoleHint>(kRoleRaw, raw); }

std::string_view rawValue(KeyAction k) { return kKeyRaw[static_cast<std::size_t>(k)]; }
std::optional<KeyAction> keyActionFromRaw(std::string_view raw) { return fromRaw<KeyAction>(kKeyRaw, raw); }

std::string title(KeyAction k) {
  switch (k) {
    case KeyAction::selectAll: return "Select all";
    case KeyAction::enter: return "Return";
    case KeyAction::up:
    case KeyAction::down:
    case KeyAction::left:
    case KeyAction::right: return capitalised(rawValue(k)) + " arrow";
    default: return capitalised(rawValue(k));
  }
}

std::string_view rawValue(ProfileField f) { return kProfileRaw[static_cast<std::size_t>(f)]; }
std::optional<ProfileField> profileFieldFromRaw(std::string_view raw) {
  return fromRaw<ProfileField>(kProfileRaw, raw);
}

std::string TargetSpec::summary() const {
  std::vector<std::string> parts;
  // Ordinal 0 has no word: it adds nothing rather than an empty part.
  if (ordinal && *ordinal != 0) parts.push_back(*ordinal == -1 ? std::string("last") : ordinalWord(*ordinal));
  if (!query.empty()) parts.push_back(quoted(query));
  if (role != RoleHint::any) parts.emplace_back(noun(role));
  if (nextTo) parts.push_back("next to " + quoted(*nextTo));
  if (parts.empty()) return "element";
  std::string out;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i) out += ' ';
    out += parts[i];
  }
  return out;
}

std::string title(const Intent& intent) {
  return std::visit(
      Overloaded{
          [](const intents::Click& c) { return "Click " + c.target.summary(); },
          [](const intents::OpenLink& o) { return "Open " + o.target.summary(); },
          [](const intents::OpenLinks& o) { return "Open every link mentioning " + quoted(o.matching); },
          [](const intents::Ask& a) { return "Ask: " + a.question; },
          [](const intents::Find& f) { return "Find " + quoted(f.text); },
          [](const intents::FindAll& f) { return "Find every " + quoted(f.text); },
          [](const intents::Scroll& s) { return scrollTitle(s.spec); },
          [](const intents::Type& t) {
            std::string out = (t.replace ? "Replace with " : "Type ") + quoted(TextUtil::truncate(t.text, 24));
            if (t.field) out += " in " + t.field->summary();
            return out;
          },
          [](const intents::FillProfile& f) {
            std::string out = "Fill my " + std::string(rawValue(f.profile));
            if (f.field) out += " in " + f.field->summary();
            return out;
          },
          [](const intents::Key& k) { return "Press " + title(k.key); },
          [](const intents::Navigate& n) { return navTitle(n.action); },
          [](const intents::List& l) {
            return l.role == RoleHint::any ? std::string("List elements") : "List " + std::string(noun(l.role)) + "s";
          },
          [](const intents::OpenArticle&) { return std::string("Open this article"); },
          [](const intents::Read&) { return std::string("Read page"); },
          [](const intents::Summarize&) { return std::string("Summarize page"); },
          [](const intents::CopyArticle&) { return std::string("Copy page text"); },
          [](const intents::SetChecked& c) { return (c.on ? "Tick " : "Untick ") + c.target.summary(); },
      },
      intent);
}

std::string_view caseName(const Intent& intent) {
  static constexpr std::array<std::string_view, 17> names = {
      "click", "openLink", "openLinks", "ask",         "find", "findAll",   "scroll",      "type",      "fillProfile",
      "key",   "navigate", "list",      "openArticle", "read", "summarize", "copyArticle", "setChecked"};
  return names[intent.index()];
}

}  // namespace skimlet
