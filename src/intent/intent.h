// The vocabulary shared by everything that understands or carries out a command: what the
// user wants done, independent of how it was understood.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace skimlet {

enum class RoleHint { any, button, link, field, checkbox, tab, image, heading, result };
std::string_view rawValue(RoleHint r);
std::string_view noun(RoleHint r);
std::optional<RoleHint> roleHintFromRaw(std::string_view raw);  // exact, case-sensitive

enum class KeyAction { copy, paste, selectAll, enter, escape, tab, del, up, down, left, right };
std::string_view rawValue(KeyAction k);  // del's raw value is "delete"
std::string title(KeyAction k);
std::optional<KeyAction> keyActionFromRaw(std::string_view raw);

enum class ProfileField { name, email, phone };
std::string_view rawValue(ProfileField f);
std::optional<ProfileField> profileFieldFromRaw(std::string_view raw);

// Which page element a command means.
struct TargetSpec {
  std::string query;           // the words naming the element; may be empty
  std::optional<int> ordinal;  // 1-based among equally good candidates; -1 is the last
  RoleHint role = RoleHint::any;
  std::optional<std::string> nextTo;  // a landmark the element must be near
  bool operator==(const TargetSpec&) const = default;
  std::string summary() const;  // e.g. second “sign in” button
};

struct ScrollSpec {
  enum class Kind { section, down, up, top, bottom };
  Kind kind = Kind::down;
  std::string section;  // for Kind::section
  bool operator==(const ScrollSpec&) const = default;
};

struct NavAction {
  enum class Kind { tabIndex, tabNamed, back, forward, reload, newTab, closeTab, nextTab, previousTab };
  Kind kind = Kind::back;
  int index = 0;     // for tabIndex: the tab number as typed
  std::string name;  // for tabNamed
  bool operator==(const NavAction&) const = default;
};

namespace intents {
struct Click {
  TargetSpec target;
  bool operator==(const Click&) const = default;
};
struct OpenLink {
  TargetSpec target;
  bool operator==(const OpenLink&) const = default;
};
struct OpenLinks {
  std::string matching;
  bool operator==(const OpenLinks&) const = default;
};
struct Ask {
  std::string question;
  bool operator==(const Ask&) const = default;
};
struct Find {
  std::string text;
  bool operator==(const Find&) const = default;
};
struct FindAll {
  std::string text;
  bool operator==(const FindAll&) const = default;
};
struct Scroll {
  ScrollSpec spec;
  bool operator==(const Scroll&) const = default;
};
struct Type {
  std::string text;
  std::optional<TargetSpec> field;
  bool replace = false;
  bool operator==(const Type&) const = default;
};
struct FillProfile {
  ProfileField profile = ProfileField::name;
  std::optional<TargetSpec> field;
  bool operator==(const FillProfile&) const = default;
};
struct Key {
  KeyAction key = KeyAction::enter;
  bool operator==(const Key&) const = default;
};
struct Navigate {
  NavAction action;
  bool operator==(const Navigate&) const = default;
};
struct List {
  RoleHint role = RoleHint::any;
  bool operator==(const List&) const = default;
};
struct OpenArticle {
  bool operator==(const OpenArticle&) const = default;
};
struct Read {
  bool operator==(const Read&) const = default;
};
struct Summarize {
  bool operator==(const Summarize&) const = default;
};
struct CopyArticle {
  bool operator==(const CopyArticle&) const = default;
};
// "tick remember me", "uncheck the newsletter box": a check box brought to a state, which a
// click (a toggle) cannot promise.
struct SetChecked {
  TargetSpec target;
  bool on = true;
  bool operator==(const SetChecked&) const = default;
};
}  // namespace intents

// The cases in their fixed order; the variant index is the case index.
using Intent =
    std::variant<intents::Click, intents::OpenLink, intents::OpenLinks, intents::Ask, intents::Find, intents::FindAll,
                 intents::Scroll, intents::Type, intents::FillProfile, intents::Key, intents::Navigate, intents::List,
                 intents::OpenArticle, intents::Read, intents::Summarize, intents::CopyArticle, intents::SetChecked>;

// The one-line label shown for a pending command and in the "Why?" lines.
std::string title(const Intent& intent);
// The case name: "click", "openLink", ... "copyArticle", "setChecked".
std::string_view caseName(const Intent& intent);

}  // namespace skimlet
