#include "text/regex.h"

#include <atomic>

#include <unicode/regex.h>

namespace skimlet {

namespace {
std::atomic<std::size_t> nextId{0};
// Matching steps before giving up; ICU counts roughly a millisecond per unit on ordinary
// hardware, far beyond what any command of sane length needs.
constexpr int32_t kStepLimit = 20;
}  // namespace

Regex::Regex(std::string_view pattern, bool caseInsensitive) : id_(nextId++) {
  UErrorCode status = U_ZERO_ERROR;
  UParseError parseError;
  std::unique_ptr<icu::RegexPattern> compiled(icu::RegexPattern::compile(
      icu::UnicodeString::fromUTF8(icu::StringPiece(pattern.data(), static_cast<int32_t>(pattern.size()))),
      caseInsensitive ? UREGEX_CASE_INSENSITIVE : 0, parseError, status));
  if (U_SUCCESS(status)) pattern_ = std::move(compiled);
}

Regex::~Regex() = default;

icu::RegexMatcher* Regex::matcher(const icu::UnicodeString& text) const {
  if (!pattern_) return nullptr;
  thread_local std::vector<std::unique_ptr<icu::RegexMatcher>> matchers;
  if (matchers.size() <= id_) matchers.resize(id_ + 1);
  auto& m = matchers[id_];
  if (!m) {
    UErrorCode status = U_ZERO_ERROR;
    m.reset(pattern_->matcher(status));
    if (U_FAILURE(status)) {
      m.reset();
      return nullptr;
    }
    m->setTimeLimit(kStepLimit, status);
  }
  m->reset(text);
  return m.get();
}

std::optional<std::vector<std::string>> Regex::search(const icu::UnicodeString& text) const {
  icu::RegexMatcher* m = matcher(text);
  if (!m) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  if (!m->find(status) || U_FAILURE(status)) return std::nullopt;
  std::vector<std::string> groups;
  int32_t n = m->groupCount();
  groups.reserve(static_cast<std::size_t>(n));
  for (int32_t i = 1; i <= n; ++i) {
    std::string g;
    m->group(i, status).toUTF8String(g);
    groups.push_back(std::move(g));
  }
  if (U_FAILURE(status)) return std::nullopt;
  return groups;
}

std::optional<std::pair<int32_t, int32_t>> Regex::find(const icu::UnicodeString& text) const {
  icu::RegexMatcher* m = matcher(text);
  if (!m) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  if (!m->find(status) || U_FAILURE(status)) return std::nullopt;
  int32_t start = m->start(status), end = m->end(status);
  if (U_FAILURE(status)) return std::nullopt;
  return std::make_pair(start, end);
}

}  // namespace skimlet
