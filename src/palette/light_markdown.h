// Result headlines are written in light Markdown: **bold** and backslash escapes, nothing else.
// Shells turn the runs into their own styled text (Pango markup, attributed strings).
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace skimlet {

struct TextRun {
  std::string text;
  bool bold = false;
  bool operator==(const TextRun&) const = default;
};

// The text in runs of equal style, markers removed and escapes resolved; adjacent runs differ.
// An unclosed "**" makes the rest bold, as the terminal shows it.
std::vector<TextRun> lightMarkdownRuns(std::string_view markdown);

}  // namespace skimlet
