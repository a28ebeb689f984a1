#include "palette/suggestion.h"

#include <cctype>

#include "text/text_util.h"

namespace skimlet {
namespace {

Suggestion make(std::string title, std::string icon, std::string fill, bool runs) {
  Suggestion s;
  s.title = std::move(title);
  s.icon = std::move(icon);
  s.fill = std::move(fill);
  s.runs = runs;
  return s;
}

}  // namespace

bool beginsScroll(std::string_view input) {
  size_t b = 0;
  while (b < input.size() && std::isspace(static_cast<unsigned char>(input[b]))) ++b;
  return TextUtil::lower(input.substr(b, 6)) == "scroll";
}

std::vector<Suggestion> suggestionsFor(std::string_view input) {
  if (beginsScroll(input)) {
    return {make("Scroll down", "arrow.down", "Scroll down", true), make("Scroll up", "arrow.up", "Scroll up", true),
            make("Bottom", "arrow.down.to.line", "Scroll to the bottom", true),
            make("Top", "arrow.up.to.line", "Scroll to the top", true)};
  }
  // The fills that end in a space leave the caret after the verb.
  return {make("Read page", "doc.text", "Read page", true),
          make("Summarize", "text.alignleft", "Summarize this page", true),
          make("Find\u2026", "magnifyingglass", "Find ", false),
          make("Click\u2026", "cursorarrow.click", "Click ", false),
          make("Scroll\u2026", "arrow.up.and.down", "Scroll ", false)};
}

}  // namespace skimlet
