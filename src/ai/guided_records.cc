#include "ai/guided_records.h"

#include <cmath>

#include <nlohmann/json.hpp>

#include "ai/prompts.h"

namespace skimlet::GuidedRecords {

using Kind = Field::Kind;

const Record& intent() {
  static const Record r{"LLMIntent",
                        {{"action", Kind::text, std::string(prompts::intentActionGuide)},
                         {"target", Kind::text, std::string(prompts::intentTargetGuide)},
                         {"ordinal", Kind::integer, std::string(prompts::intentOrdinalGuide)},
                         {"text", Kind::text, std::string(prompts::intentTextGuide)},
                         {"field", Kind::text, std::string(prompts::intentFieldGuide)}}};
  return r;
}

const Record& choice() {
  static const Record r{"LLMChoice", {{"index", Kind::integer, std::string(prompts::choiceIndexGuide)}}};
  return r;
}

std::string describe(const Record& record) {
  nlohmann::ordered_json fields = nlohmann::ordered_json::array();
  for (const Field& f : record.fields)
    fields.push_back({{"name", f.name}, {"kind", f.kind == Kind::text ? "text" : "integer"}, {"guide", f.guide}});
  return nlohmann::ordered_json{{"name", record.name}, {"fields", fields}}.dump();
}

namespace {

std::optional<nlohmann::json> object(std::string_view json) {
  auto parsed = nlohmann::json::parse(json, nullptr, /*allow_exceptions=*/false);
  if (!parsed.is_object()) return std::nullopt;
  return parsed;
}

std::string text(const nlohmann::json& o, const char* key) {
  auto it = o.find(key);
  return it != o.end() && it->is_string() ? it->get<std::string>() : std::string();
}

// Integers may come back as numbers with a fraction part of zero; anything else is `fallback`.
int integer(const nlohmann::json& o, const char* key, int fallback) {
  auto it = o.find(key);
  if (it == o.end() || !it->is_number()) return fallback;
  double d = it->get<double>();
  if (!std::isfinite(d) || d != std::trunc(d) || std::fabs(d) > 1e9) return fallback;
  return static_cast<int>(d);
}

}  // namespace

std::optional<LLMIntent> readIntent(std::string_view json) {
  auto o = object(json);
  if (!o) return std::nullopt;
  return LLMIntent{text(*o, "action"), text(*o, "target"), integer(*o, "ordinal", 0), text(*o, "text"),
                   text(*o, "field")};
}

std::optional<LLMChoice> readChoice(std::string_view json) {
  auto o = object(json);
  if (!o) return std::nullopt;
  return LLMChoice{integer(*o, "index", -1)};
}

}  // namespace skimlet::GuidedRecords
