#include "palette/light_markdown.h"

namespace skimlet {

std::vector<TextRun> lightMarkdownRuns(std::string_view s) {
  std::vector<TextRun> runs;
  bool bold = false;
  auto add = [&](char c) {
    if (runs.empty() || runs.back().bold != bold) runs.push_back(TextRun{"", bold});
    runs.back().text += c;
  };
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '\\' && i + 1 < s.size()) {
      add(s[++i]);  // an escaped character stands for itself
    } else if (s.substr(i, 2) == "**") {
      bold = !bold;
      ++i;
    } else {
      add(s[i]);
    }
  }
  return runs;
}

}  // namespace skimlet
