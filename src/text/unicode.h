// Low-level UTF-8 and grapheme-cluster walking for the text module. Everything here takes
// byte offsets into UTF-8, so callers can slice their own strings without copying.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace skimlet::unicode {

bool isAscii(std::string_view s);
bool isValidUtf8(std::string_view s);

// Valid UTF-8 for s: s itself when it already is, else a copy with U+FFFD for each bad sequence.
class Utf8 {
 public:
  explicit Utf8(std::string_view s);
  std::string_view view() const { return view_; }
  bool ascii() const { return ascii_; }

 private:
  std::string repaired_;
  std::string_view view_;
  bool ascii_ = true;
};

// Conversions between the platform's UTF-16 and UTF-8; malformed input (a lone surrogate, a
// bad byte sequence) becomes U+FFFD.
std::string fromUtf16(std::u16string_view units);
std::u16string toUtf16(std::string_view utf8);

// The first code point of valid UTF-8 starting at `at`.
int codePointAt(std::string_view s, std::size_t at);

// Calls f(begin, end) with the byte range of each grapheme cluster of valid UTF-8 s, in order,
// until f returns false. f must not itself walk graphemes (the break iterator behind this is
// one per thread).
void forEachGrapheme(std::string_view s, const std::function<bool(std::size_t, std::size_t)>& f);

}  // namespace skimlet::unicode
