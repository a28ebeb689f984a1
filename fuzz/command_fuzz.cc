// Fuzz target: a typed command through the rule parser, and the title the palette would show.
#include <cstdint>
#include <string_view>

#include "intent/intent.h"
#include "intent/intent_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (auto intent = skimlet::IntentParser::parse(text)) (void)skimlet::title(*intent);
  (void)skimlet::IntentParser::parseTarget(text, skimlet::RoleHint::any);
  return 0;
}
