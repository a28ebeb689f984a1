// The shortcuts offered under an empty or partly typed command.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/outcome.h"

namespace skimlet {

struct Suggestion {
  std::string id = newUUID();
  std::string title;
  std::string icon;   // a system symbol name
  std::string fill;   // put into the command field
  bool runs = false;  // submit at once; otherwise the user completes the command
};

// Whether the command, lower-cased and trimmed, begins with "scroll": the choices then are ways
// to scroll.
bool beginsScroll(std::string_view input);

// Scrolling choices once the user has begun typing "scroll", otherwise the common commands.
std::vector<Suggestion> suggestionsFor(std::string_view input);

}  // namespace skimlet
