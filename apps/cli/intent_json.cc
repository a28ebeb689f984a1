#include "intent_json.h"

namespace skimlet::cli {

using nlohmann::ordered_json;

namespace {

ordered_json optionalTarget(const std::optional<TargetSpec>& t) { return t ? targetJson(*t) : ordered_json(nullptr); }

ordered_json scrollJson(const ScrollSpec& s) {
  switch (s.kind) {
    case ScrollSpec::Kind::down: return "down";
    case ScrollSpec::Kind::up: return "up";
    case ScrollSpec::Kind::top: return "top";
    case ScrollSpec::Kind::bottom: return "bottom";
    case ScrollSpec::Kind::section: return ordered_json{{"section", s.section}};
  }
  return nullptr;
}

ordered_json navJson(const NavAction& a) {
  switch (a.kind) {
    case NavAction::Kind::tabIndex: return ordered_json{{"tabIndex", a.index}};
    case NavAction::Kind::tabNamed: return ordered_json{{"tabNamed", a.name}};
    case NavAction::Kind::back: return "back";
    case NavAction::Kind::forward: return "forward";
    case NavAction::Kind::reload: return "reload";
    case NavAction::Kind::newTab: return "newTab";
    case NavAction::Kind::closeTab: return "closeTab";
    case NavAction::Kind::nextTab: return "nextTab";
    case NavAction::Kind::previousTab: return "previousTab";
  }
  return nullptr;
}

}  // namespace

ordered_json targetJson(const TargetSpec& t) {
  ordered_json j;
  j["query"] = t.query;
  j["ordinal"] = t.ordinal ? ordered_json(*t.ordinal) : ordered_json(nullptr);
  j["role"] = std::string(rawValue(t.role));
  j["nextTo"] = t.nextTo ? ordered_json(*t.nextTo) : ordered_json(nullptr);
  return j;
}

ordered_json intentJson(const std::optional<Intent>& intent) {
  ordered_json j;
  if (!intent) {
    j["intent"] = nullptr;
    j["title"] = nullptr;
    return j;
  }
  j["intent"] = std::string(caseName(*intent));
  j["title"] = title(*intent);
  std::visit(
      [&](const auto& i) {
        using T = std::decay_t<decltype(i)>;
        if constexpr (std::is_same_v<T, intents::Click> || std::is_same_v<T, intents::OpenLink>) {
          j["target"] = targetJson(i.target);
        } else if constexpr (std::is_same_v<T, intents::SetChecked>) {
          j["target"] = targetJson(i.target);
          j["checked"] = i.on;
        } else if constexpr (std::is_same_v<T, intents::OpenLinks>) {
          j["matching"] = i.matching;
        } else if constexpr (std::is_same_v<T, intents::Ask>) {
          j["text"] = i.question;
        } else if constexpr (std::is_same_v<T, intents::Find> || std::is_same_v<T, intents::FindAll>) {
          j["text"] = i.text;
        } else if constexpr (std::is_same_v<T, intents::Type>) {
          j["text"] = i.text;
          j["field"] = optionalTarget(i.field);
          j["replace"] = i.replace;
        } else if constexpr (std::is_same_v<T, intents::FillProfile>) {
          j["profile"] = std::string(rawValue(i.profile));
          j["field"] = optionalTarget(i.field);
        } else if constexpr (std::is_same_v<T, intents::Scroll>) {
          j["scroll"] = scrollJson(i.spec);
        } else if constexpr (std::is_same_v<T, intents::Key>) {
          j["key"] = std::string(rawValue(i.key));
        } else if constexpr (std::is_same_v<T, intents::Navigate>) {
          j["nav"] = navJson(i.action);
        } else if constexpr (std::is_same_v<T, intents::List>) {
          j["role"] = std::string(rawValue(i.role));
        }
      },
      *intent);
  return j;
}

}  // namespace skimlet::cli
