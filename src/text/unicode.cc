#include "text/unicode.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <cstring>
#include <memory>

namespace skimlet::unicode {

bool isAscii(std::string_view s) {
  const unsigned char* p = reinterpret_cast<const unsigned char*>(s.data());
  std::size_t n = s.size(), i = 0;
  // Eight bytes at a time: page text is overwhelmingly ASCII.
  for (; i + 8 <= n; i += 8) {
    std::uint64_t w;
    std::memcpy(&w, p + i, 8);
    if (w & 0x8080808080808080ull) return false;
  }
  for (; i < n; ++i)
    if (p[i] & 0x80) return false;
  return true;
}

bool isValidUtf8(std::string_view s) {
  const auto* p = reinterpret_cast<const uint8_t*>(s.data());
  int32_t n = static_cast<int32_t>(s.size()), i = 0;
  if (s.size() > static_cast<std::size_t>(INT32_MAX)) return false;
  while (i < n) {
    UChar32 c;
    U8_NEXT(p, i, n, c);
    if (c < 0) return false;
  }
  return true;
}

Utf8::Utf8(std::string_view s) : view_(s) {
  ascii_ = isAscii(s);
  if (ascii_ || isValidUtf8(s)) return;
  icu::UnicodeString u = icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())));
  u.toUTF8String(repaired_);
  view_ = repaired_;
}

std::string fromUtf16(std::u16string_view units) {
  std::string out;
  icu::UnicodeString(false, units.data(), static_cast<int32_t>(units.size())).toUTF8String(out);
  return out;
}

std::u16string toUtf16(std::string_view utf8) {
  icu::UnicodeString s = icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
  return std::u16string(s.getBuffer(), static_cast<std::size_t>(s.length()));
}

int codePointAt(std::string_view s, std::size_t at) {
  const auto* p = reinterpret_cast<const uint8_t*>(s.data());
  int32_t i = static_cast<int32_t>(at), n = static_cast<int32_t>(s.size());
  if (i >= n) return -1;
  UChar32 c;
  U8_NEXT(p, i, n, c);
  return c;
}

namespace {

icu::BreakIterator* characterBreaks() {
  thread_local std::unique_ptr<icu::BreakIterator> it = [] {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> b(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) b.reset();
    return b;
  }();
  return it.get();
}

}  // namespace

void forEachGrapheme(std::string_view s, const std::function<bool(std::size_t, std::size_t)>& f) {
  if (s.empty()) return;
  icu::BreakIterator* bi = isAscii(s) ? nullptr : characterBreaks();
  if (!bi) {
    // ASCII: every byte is a cluster except CR LF, which is one.
    for (std::size_t i = 0; i < s.size();) {
      std::size_t end = (s[i] == '\r' && i + 1 < s.size() && s[i + 1] == '\n') ? i + 2 : i + 1;
      if (!f(i, end)) return;
      i = end;
    }
    return;
  }
  UErrorCode status = U_ZERO_ERROR;
  UText ut = UTEXT_INITIALIZER;
  utext_openUTF8(&ut, s.data(), static_cast<int64_t>(s.size()), &status);
  bi->setText(&ut, status);
  if (U_FAILURE(status)) {
    utext_close(&ut);
    f(0, s.size());
    return;
  }
  int32_t start = bi->first();
  for (int32_t end = bi->next(); end != icu::BreakIterator::DONE; start = end, end = bi->next())
    if (!f(static_cast<std::size_t>(start), static_cast<std::size_t>(end))) break;
  utext_close(&ut);
}

}  // namespace skimlet::unicode
