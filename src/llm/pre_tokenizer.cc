#include "llm/pre_tokenizer.h"

#include <unicode/regex.h>
#include <unicode/utext.h>

#include <stdexcept>

namespace skimlet {

struct PreTokenizer::Impl {
  std::unique_ptr<icu::RegexPattern> pattern;
  std::unique_ptr<icu::RegexMatcher> matcher;
};

PreTokenizer::PreTokenizer() : impl_(std::make_unique<Impl>()) {
  UErrorCode status = U_ZERO_ERROR;
  UParseError parseError;
  impl_->pattern.reset(icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(kExpression), 0, parseError, status));
  if (U_FAILURE(status)) throw std::runtime_error("Can't compile the pre-tokenizer expression");
  impl_->matcher.reset(impl_->pattern->matcher(status));
  if (U_FAILURE(status)) throw std::runtime_error("Can't compile the pre-tokenizer expression");
}

PreTokenizer::~PreTokenizer() = default;

std::vector<std::string_view> PreTokenizer::split(std::string_view text) {
  std::vector<std::string_view> pieces;
  if (text.empty()) return pieces;
  UErrorCode status = U_ZERO_ERROR;
  // Matching over UTF-8 directly keeps the match offsets in bytes of `text`.
  UText* ut = utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status);
  if (U_FAILURE(status)) return pieces;
  icu::RegexMatcher& m = *impl_->matcher;
  m.reset(ut);
  while (m.find(status) && U_SUCCESS(status)) {
    int64_t begin = m.start64(status), end = m.end64(status);
    if (U_FAILURE(status)) break;
    if (end > begin) pieces.push_back(text.substr(static_cast<size_t>(begin), static_cast<size_t>(end - begin)));
  }
  m.reset(icu::UnicodeString());
  utext_close(ut);
  return pieces;
}

}  // namespace skimlet
