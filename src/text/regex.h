// A regular expression with ICU's semantics, compiled once and matched from any thread. Each
// thread keeps its own matcher per expression, so matching costs no allocation after the first
// use; expressions are meant to be compiled once and kept for the program's life.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <unicode/unistr.h>

U_NAMESPACE_BEGIN
class RegexPattern;
class RegexMatcher;
U_NAMESPACE_END

namespace skimlet {

class Regex {
 public:
  // An expression that does not compile matches nothing.
  explicit Regex(std::string_view pattern, bool caseInsensitive = false);
  ~Regex();
  Regex(const Regex&) = delete;
  Regex& operator=(const Regex&) = delete;

  bool valid() const { return pattern_ != nullptr; }

  // The capture groups 1…n of the first match in `text` (a group that took no part is empty),
  // or none. A match that runs past the engine's step limit counts as no match, so hostile
  // input cannot hang a caller.
  std::optional<std::vector<std::string>> search(const icu::UnicodeString& text) const;
  // Where the first match starts and ends (UTF-16 offsets), or none.
  std::optional<std::pair<int32_t, int32_t>> find(const icu::UnicodeString& text) const;

 private:
  icu::RegexMatcher* matcher(const icu::UnicodeString& text) const;

  std::unique_ptr<icu::RegexPattern> pattern_;
  std::size_t id_;
};

}  // namespace skimlet
