#include "outcome_json.h"

#include "outcome_text.h"

namespace skimlet::cli {

using nlohmann::ordered_json;

namespace {

std::string_view kindName(ActionResult::Kind kind) {
  switch (kind) {
    case ActionResult::Kind::success: return "success";
    case ActionResult::Kind::info: return "info";
    case ActionResult::Kind::failure: return "failure";
  }
  return "info";
}

ordered_json optionalText(const std::optional<std::string>& s) { return s ? ordered_json(*s) : ordered_json(nullptr); }

ordered_json resultJson(const ActionResult& r) {
  ordered_json items = ordered_json::array();
  for (const auto& item : r.items) items.push_back(item.text);
  // Headline and body are light Markdown; scripts that show them elsewhere want them plain.
  const OutcomeText plain(false);
  return {{"type", "result"},
          {"kind", kindName(r.kind)},
          {"headline", r.headline},
          {"body", optionalText(r.body)},
          {"items", items},
          {"debug", r.debug},
          {"copyText", optionalText(r.copyText)},
          {"headlineText", plain.markdown(r.headline)},
          {"bodyText", r.body ? ordered_json(plain.markdown(*r.body)) : ordered_json(nullptr)}};
}

}  // namespace

ordered_json outcomeJson(const Outcome& outcome) {
  if (const ActionResult* r = outcome.result()) return resultJson(*r);
  if (const Confirmation* c = outcome.confirm())
    return {{"type", "confirm"},
            {"title", c->title},
            {"message", c->message},
            {"confirmLabel", c->confirmLabel},
            {"debug", c->debug}};
  const ChoiceSet& choice = *outcome.choose();
  ordered_json options = ordered_json::array();
  for (const auto& o : choice.options) options.push_back({{"title", o.title}, {"subtitle", o.subtitle}});
  return {{"type", "choose"}, {"prompt", choice.prompt}, {"options", options}};
}

ordered_json eventJson(const Event& event) {
  ordered_json out = {{"type", typeName(event.type)}};
  const nlohmann::json details = toJson(event);
  for (const auto& [key, value] : details.items())
    if (key != "type") out[key] = ordered_json(value);
  return out;
}

ordered_json runJson(const std::string& intentTitle, const std::vector<Outcome>& outcomes,
                     const std::vector<Event>& events) {
  ordered_json out = {{"intent", intentTitle}, {"outcomes", ordered_json::array()}, {"events", ordered_json::array()}};
  for (const auto& o : outcomes) out["outcomes"].push_back(outcomeJson(o));
  for (const auto& e : events) out["events"].push_back(eventJson(e));
  return out;
}

std::string jsonLine(const ordered_json& json) {
  return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace skimlet::cli
