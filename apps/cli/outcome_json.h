// Outcomes and page events as the JSON that `skimlet run --json` prints and scripts read.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "effects/event.h"
#include "engine/outcome.h"

namespace skimlet::cli {

// {"type": "result", "kind", "headline", "body", "items", "debug", "copyText"},
// {"type": "confirm", "title", "message", "confirmLabel", "debug"} or
// {"type": "choose", "prompt", "options": [{"title", "subtitle"}…]}.
nlohmann::ordered_json outcomeJson(const Outcome& outcome);
// {"type": …} first, then the event's own details.
nlohmann::ordered_json eventJson(const Event& event);
// The whole answer of a run: {"intent": title, "outcomes": […], "events": […]}.
nlohmann::ordered_json runJson(const std::string& intentTitle, const std::vector<Outcome>& outcomes,
                               const std::vector<Event>& events);
// One line of UTF-8 (bytes that are not UTF-8 replaced), as the tool prints JSON.
std::string jsonLine(const nlohmann::ordered_json& json);

}  // namespace skimlet::cli
