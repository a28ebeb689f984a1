// Splits text into the pieces BPE merges within, with the GPT-style expression below, using ICU's
// regular expressions so that letters, digits and white space mean what ICU says they mean.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

namespace skimlet {

class PreTokenizer {
 public:
  static constexpr const char* kExpression =
      "(?i:'s|'t|'re|'ve|'m|'ll|'d)|[^\\r\\n\\p{L}\\p{N}]?\\p{L}+|\\p{N}| ?[^\\s\\p{L}\\p{N}]+[\\r\\n]*|"
      "\\s*[\\r\\n]+|\\s+(?!\\S)|\\s+";

  // Throws std::runtime_error if ICU cannot compile the expression.
  PreTokenizer();
  ~PreTokenizer();

  // Every match over the whole text, in order, as views into `text`.
  std::vector<std::string_view> split(std::string_view text);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace skimlet
