#include "llm/utf8.h"

#include <cstdint>

namespace skimlet {

namespace {

// Length of the valid sequence at s[i], or the length of its maximal invalid prefix as a
// negative number (at least -1), following the Unicode recommendation for replacement.
int sequenceAt(std::string_view s, size_t i) {
  auto b = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
  unsigned char c = b(i);
  if (c < 0x80) return 1;
  int need;
  unsigned char lo = 0x80, hi = 0xBF;
  if (c >= 0xC2 && c <= 0xDF) need = 1;
  else if (c == 0xE0) need = 2, lo = 0xA0;
  else if (c >= 0xE1 && c <= 0xEC) need = 2;
  else if (c == 0xED) need = 2, hi = 0x9F;
  else if (c >= 0xEE && c <= 0xEF) need = 2;
  else if (c == 0xF0) need = 3, lo = 0x90;
  else if (c >= 0xF1 && c <= 0xF3) need = 3;
  else if (c == 0xF4) need = 3, hi = 0x8F;
  else return -1;
  for (int k = 1; k <= need; ++k) {
    if (i + k >= s.size()) return -k;
    unsigned char t = b(i + k);
    if (k == 1 ? (t < lo || t > hi) : (t < 0x80 || t > 0xBF)) return -k;
  }
  return need + 1;
}

bool isWhiteSpace(uint32_t cp) {
  return (cp >= 0x09 && cp <= 0x0D) || cp == 0x20 || cp == 0x85 || cp == 0xA0 || cp == 0x1680 ||
         (cp >= 0x2000 && cp <= 0x200A) || cp == 0x2028 || cp == 0x2029 || cp == 0x202F || cp == 0x205F ||
         cp == 0x3000;
}

// The code point of the valid `len`-byte sequence at s[i].
uint32_t codePoint(std::string_view s, size_t i, int len) {
  auto b = [&](size_t k) { return static_cast<uint32_t>(static_cast<unsigned char>(s[k])); };
  if (len == 1) return b(i);
  uint32_t cp = b(i) & (0xFFu >> (len + 1));
  for (int k = 1; k < len; ++k) cp = (cp << 6) | (b(i + k) & 0x3F);
  return cp;
}

}  // namespace

std::string_view trimWhiteSpace(std::string_view s) {
  size_t begin = 0;
  while (begin < s.size()) {
    const int len = sequenceAt(s, begin);
    if (len < 0 || !isWhiteSpace(codePoint(s, begin, len))) break;
    begin += len;
  }
  size_t end = s.size();
  while (end > begin) {
    size_t lead = end - 1;
    while (lead > begin && end - lead < 4 && (static_cast<unsigned char>(s[lead]) & 0xC0) == 0x80) --lead;
    const int len = sequenceAt(s, lead);
    if (len < 0 || lead + len != end || !isWhiteSpace(codePoint(s, lead, len))) break;
    end = lead;
  }
  return s.substr(begin, end - begin);
}

std::string repairUTF8(std::string_view bytes) {
  size_t i = 0;
  while (i < bytes.size()) {
    int len = sequenceAt(bytes, i);
    if (len < 0) break;
    i += len;
  }
  if (i == bytes.size()) return std::string(bytes);
  std::string out(bytes.substr(0, i));
  while (i < bytes.size()) {
    int len = sequenceAt(bytes, i);
    if (len > 0) {
      out.append(bytes.substr(i, len));
      i += len;
    } else {
      out.append("\xEF\xBF\xBD");
      i += -len;
    }
  }
  return out;
}

}  // namespace skimlet
