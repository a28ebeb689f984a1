#include "engine/input_typing.h"

#include "text/text_util.h"

namespace skimlet::Input {

std::u16string utf16(std::string_view s) {
  std::u16string out;
  out.reserve(s.size());
  size_t i = 0;
  while (i < s.size()) {
    unsigned char c = s[i];
    char32_t cp = 0xFFFD;
    size_t len = c < 0x80 ? 1 : (c >> 5) == 0x6 ? 2 : (c >> 4) == 0xE ? 3 : (c >> 3) == 0x1E ? 4 : 0;
    if (len == 0 || i + len > s.size()) {
      ++i;
    } else {
      cp = len == 1 ? c : len == 2 ? (c & 0x1F) : len == 3 ? (c & 0x0F) : (c & 0x07);
      bool ok = true;
      for (size_t k = 1; k < len; ++k) {
        unsigned char cc = s[i + k];
        if ((cc >> 6) != 0x2) { ok = false; break; }
        cp = (cp << 6) | (cc & 0x3F);
      }
      if (!ok) { cp = 0xFFFD; len = 1; }
      i += len;
    }
    if (cp >= 0x10000) {
      cp -= 0x10000;
      out.push_back(char16_t(0xD800 + (cp >> 10)));
      out.push_back(char16_t(0xDC00 + (cp & 0x3FF)));
    } else {
      out.push_back(char16_t(cp));
    }
  }
  return out;
}

void type(InputEvents& input, Clock& clock, std::string_view text, Pid pid) {
  std::string_view rest = text;
  bool first = true;
  while (!rest.empty()) {
    std::string ch = TextUtil::prefix(rest, 1);
    if (ch.empty()) ch = std::string(rest.substr(0, 1));  // never loop on a cut the text helpers refuse
    if (!first) clock.sleep(0.003);
    first = false;
    input.postText(pid, utf16(ch));
    rest.remove_prefix(ch.size());
  }
}

}  // namespace skimlet::Input
