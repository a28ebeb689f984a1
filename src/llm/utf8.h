// Model files are not trusted to hold valid UTF-8; names and vocabulary are repaired on read.
#pragma once

#include <string>
#include <string_view>

namespace skimlet {

// `bytes` as UTF-8, each maximal invalid subsequence replaced by U+FFFD.
std::string repairUTF8(std::string_view bytes);

// `s` without white space and line breaks at either end, in the Unicode sense: spaces of every
// width, no-break spaces, line and paragraph separators and NEL as well as ASCII's. Models pad
// their answers with any of them.
std::string_view trimWhiteSpace(std::string_view s);

// Length of the UTF-8 sequence starting with byte `lead` (1 for a stray byte).
inline int utf8Length(unsigned char lead) {
  if (lead < 0x80) return 1;
  if ((lead & 0xE0) == 0xC0) return 2;
  if ((lead & 0xF0) == 0xE0) return 3;
  if ((lead & 0xF8) == 0xF0) return 4;
  return 1;
}

}  // namespace skimlet
