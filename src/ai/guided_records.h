// The records the operating system's model fills in by guided generation, described as data:
// each field's name, kind and guide. The system-model bridge builds its generation schema from
// these descriptions at run time and hands back the generated content as JSON, which is read
// here, so the field names and guides are written once, beside the other prompts.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ai/llm_intent.h"

namespace skimlet::GuidedRecords {

struct Field {
  enum class Kind { text, integer };
  std::string name;
  Kind kind = Kind::text;
  std::string guide;
};

struct Record {
  std::string name;
  std::vector<Field> fields;
};

// LLMIntent: action, target, ordinal, text, field, in that order.
const Record& intent();
// LLMChoice: index.
const Record& choice();

// The description the bridge builds its schema from: {"name", "fields": [{"name", "kind":
// "text" | "integer", "guide"}]}.
std::string describe(const Record& record);

// The generated content's JSON as a record. Fields the model left out read as empty (or 0, or -1
// for the choice's index); a text that is not a JSON object is none.
std::optional<LLMIntent> readIntent(std::string_view json);
std::optional<LLMChoice> readChoice(std::string_view json);

}  // namespace skimlet::GuidedRecords
