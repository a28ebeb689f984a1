#include "ai/intent_mapper.h"

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <unordered_map>

#include "llm/utf8.h"

namespace skimlet::IntentMapper {
namespace {

// Composed and case-folded, so "É" typed as one code point or as E + accent compare equal.
icu::UnicodeString folded(std::string_view s) {
  icu::UnicodeString u = icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())));
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
  if (U_SUCCESS(status)) {
    icu::UnicodeString n = nfc->normalize(u, status);
    if (U_SUCCESS(status)) u = n;
  }
  return u.foldCase(U_FOLD_CASE_DEFAULT);
}

TargetSpec anyTarget(const std::string& query, int ordinal) {
  TargetSpec t;
  t.query = query;
  if (ordinal != 0) t.ordinal = ordinal;
  return t;
}

std::optional<Intent> simple(std::string_view action) {
  using NK = NavAction::Kind;
  static const std::unordered_map<std::string_view, Intent> table = {
      {"read", intents::Read{}},
      {"summarize", intents::Summarize{}},
      {"scroll_down", intents::Scroll{{ScrollSpec::Kind::down, {}}}},
      {"scroll_up", intents::Scroll{{ScrollSpec::Kind::up, {}}}},
      {"scroll_top", intents::Scroll{{ScrollSpec::Kind::top, {}}}},
      {"scroll_bottom", intents::Scroll{{ScrollSpec::Kind::bottom, {}}}},
      {"back", intents::Navigate{{NK::back, 0, {}}}},
      {"forward", intents::Navigate{{NK::forward, 0, {}}}},
      {"reload", intents::Navigate{{NK::reload, 0, {}}}},
      {"new_tab", intents::Navigate{{NK::newTab, 0, {}}}},
      {"close_tab", intents::Navigate{{NK::closeTab, 0, {}}}},
      {"next_tab", intents::Navigate{{NK::nextTab, 0, {}}}},
      {"previous_tab", intents::Navigate{{NK::previousTab, 0, {}}}},
      {"copy", intents::Key{KeyAction::copy}},
      {"paste", intents::Key{KeyAction::paste}},
      {"select_all", intents::Key{KeyAction::selectAll}},
      {"enter", intents::Key{KeyAction::enter}},
      {"escape", intents::Key{KeyAction::escape}},
      {"list_buttons", intents::List{RoleHint::button}},
      {"list_links", intents::List{RoleHint::link}},
  };
  auto it = table.find(action);
  if (it == table.end()) return std::nullopt;
  return it->second;
}

}  // namespace

bool containsIgnoringCase(std::string_view haystack, std::string_view text) {
  return folded(haystack).indexOf(folded(text)) >= 0;
}

std::optional<Intent> map(std::string_view action, std::string_view rawTarget, int ordinal, std::string_view text,
                          std::string_view field, std::string_view input) {
  const std::string target(trimWhiteSpace(rawTarget));
  if (action == "click" || action == "open_link") {
    if (target.empty() && ordinal == 0) return std::nullopt;
    if (action == "click") return intents::Click{anyTarget(target, ordinal)};
    return intents::OpenLink{anyTarget(target, ordinal)};
  }
  if (action == "ask") return intents::Ask{std::string(input)};
  if (action == "find") {
    if (target.empty()) return std::nullopt;
    return intents::Find{target};
  }
  if (action == "scroll_to") {
    if (target.empty()) return std::nullopt;
    return intents::Scroll{{ScrollSpec::Kind::section, target}};
  }
  if (action == "type") {
    // A model may not invent text to type: only what the user wrote is typed.
    if (text.empty() || !containsIgnoringCase(input, text)) return std::nullopt;
    intents::Type t;
    t.text = std::string(text);
    if (!field.empty()) {
      TargetSpec f;
      f.query = std::string(field);
      f.role = RoleHint::field;
      t.field = f;
    }
    return t;
  }
  return simple(action);
}

std::optional<Intent> map(const LLMIntent& a, std::string_view input) {
  return map(a.action, a.target, a.ordinal, a.text, a.field, input);
}

}  // namespace skimlet::IntentMapper
