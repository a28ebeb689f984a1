#include "page/page_snapshot.h"

#include <algorithm>

namespace skimlet {

std::string PageSnapshot::text() const {
  std::string out;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const PageLine& line = lines[i];
    if (i) out += '\n';
    switch (line.kind) {
      case PageLine::Kind::heading:
        // Every heading is preceded by an empty line; levels past 4 print as 4.
        out += '\n';
        out.append(static_cast<std::size_t>(std::clamp(line.level, 1, 4)), '#');
        out += ' ';
        break;
      case PageLine::Kind::text: break;
      case PageLine::Kind::link: out += "→ "; break;
      case PageLine::Kind::button: out += "[Button] "; break;
      case PageLine::Kind::field: out += "[Field] "; break;
      case PageLine::Kind::image: out += "[Image] "; break;
      case PageLine::Kind::item: out += "• "; break;
    }
    out += line.text;
  }
  auto space = [](char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; };
  std::size_t begin = 0, end = out.size();
  while (begin < end && space(out[begin])) ++begin;
  while (end > begin && space(out[end - 1])) --end;
  return out.substr(begin, end - begin);
}

std::optional<std::string> PageSnapshot::sectionTitle(int elementID) const {
  std::optional<std::string> title;
  for (const PageLine& line : lines) {
    if (line.elementID > elementID) break;
    if (line.kind == PageLine::Kind::heading) title = line.text;
  }
  return title;
}

}  // namespace skimlet
