#include "llm/utf8.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cstdint>

#include "text/unicode.h"

namespace skimlet {

std::string_view trimWhiteSpace(std::string_view s) {
  const auto* p = reinterpret_cast<const std::uint8_t*>(s.data());
  std::int32_t begin = 0, end = static_cast<std::int32_t>(s.size());
  while (begin < end) {
    std::int32_t next = begin;
    UChar32 c;
    U8_NEXT(p, next, end, c);
    if (c < 0 || !u_isUWhiteSpace(c)) break;
    begin = next;
  }
  while (end > begin) {
    std::int32_t last = end;
    UChar32 c;
    U8_PREV(p, begin, last, c);
    if (c < 0 || !u_isUWhiteSpace(c)) break;
    end = last;
  }
  return s.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
}

std::string repairUTF8(std::string_view bytes) { return std::string(unicode::Utf8(bytes).view()); }

}  // namespace skimlet
