// The records a language model fills in when it restates a command or picks an element.
#pragma once

#include <string>

namespace skimlet {

struct LLMIntent {
  std::string action;  // one of the fixed action words, e.g. "click", "scroll_down", "unknown"
  std::string target;
  int ordinal = 0;  // 1 first, 2 second, -1 last, 0 none
  std::string text;
  std::string field;
};

struct LLMChoice {
  int index = -1;  // -1: none clearly matches
};

}  // namespace skimlet
