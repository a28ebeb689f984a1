#include "llm/utf8.h"

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

}  // namespace

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
