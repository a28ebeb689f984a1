#include "palette_screen.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <variant>

#include "text/text_util.h"

namespace skimlet::cli {
namespace {

constexpr const char* kSpinner[] = {"⠋", "⠙", "⠹", "⠸", "⠼", "⠴", "⠦", "⠧", "⠇", "⠏"};
constexpr std::string_view kPrompt = "› ";

std::string reverse(const std::string& s, bool styled) { return styled ? "\x1b[7m" + s + "\x1b[27m" : "[" + s + "]"; }

// One step through `s` from `at`: the escape sequence or character there, its byte length and
// the columns it takes.
struct Step {
  std::size_t length;
  int columns;
};

Step stepAt(std::string_view s, std::size_t at) {
  const unsigned char c = static_cast<unsigned char>(s[at]);
  if (c == 0x1b) {
    std::size_t i = at + 1;
    if (i < s.size() && s[i] == '[') {
      ++i;
      while (i < s.size() && !(s[i] >= 0x40 && s[i] <= 0x7e)) ++i;
      if (i < s.size()) ++i;
    }
    return {i - at, 0};
  }
  if (c < 0x80) return {1, c < 0x20 || c == 0x7f ? 0 : 1};
  const std::size_t length = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 1;
  if (length == 1 || at + length > s.size()) return {1, 1};
  UChar32 cp = c & (length == 2 ? 0x1F : length == 3 ? 0x0F : 0x07);
  for (std::size_t k = 1; k < length; ++k) {
    const unsigned char b = static_cast<unsigned char>(s[at + k]);
    if ((b & 0xC0) != 0x80) return {1, 1};
    cp = (cp << 6) | (b & 0x3F);
  }
  const int type = u_charType(cp);
  if (type == U_NON_SPACING_MARK || type == U_ENCLOSING_MARK || cp == 0x200D || (cp >= 0xFE00 && cp <= 0xFE0F))
    return {length, 0};
  const int eaw = u_getIntPropertyValue(cp, UCHAR_EAST_ASIAN_WIDTH);
  const bool wide = eaw == U_EA_WIDE || eaw == U_EA_FULLWIDTH || u_hasBinaryProperty(cp, UCHAR_EMOJI_PRESENTATION);
  return {length, wide ? 2 : 1};
}

// Greedy word wrap to `columns`; a word wider than a whole row is cut.
std::vector<std::string> wrap(std::string_view text, int columns) {
  std::vector<std::string> rows;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t nl = text.find('\n', start);
    if (nl == std::string_view::npos) nl = text.size();
    std::string_view paragraph = text.substr(start, nl - start);
    std::string row;
    int used = 0;
    std::size_t i = 0;
    while (i < paragraph.size()) {
      std::size_t j = paragraph.find(' ', i);
      if (j == std::string_view::npos) j = paragraph.size();
      const std::string_view word = paragraph.substr(i, j - i);
      const int w = displayWidth(word);
      if (used > 0 && used + 1 + w > columns) {
        rows.push_back(std::move(row));
        row.clear();
        used = 0;
      }
      if (used > 0) row += ' ', ++used;
      row += fitColumns(word, columns);
      used += std::min(w, columns);
      i = j + 1;
    }
    rows.push_back(std::move(row));
    start = nl + 1;
  }
  return rows;
}

void addPromptLine(const PaletteScreenState& s, int usable, ScreenLines& out) {
  const int room = std::max(4, usable - static_cast<int>(displayWidth(kPrompt)));
  std::string_view before = s.input.substr(0, std::min(s.cursor, s.input.size()));
  const std::string_view after = s.input.substr(before.size());
  // A command wider than the row scrolls sideways so that the cursor stays in view.
  std::string lead;
  if (displayWidth(before) > room - 1) {
    lead = "…";
    while (!before.empty() && displayWidth(before) > room - 2) before.remove_prefix(stepAt(before, 0).length);
  }
  const std::string left = lead + std::string(before);
  const int leftColumns = displayWidth(left);
  out.lines.push_back(std::string(kPrompt) + left + fitColumns(after, room - leftColumns));
  out.cursorLine = static_cast<int>(out.lines.size()) - 1;
  out.cursorColumn = displayWidth(kPrompt) + leftColumns;
}

}  // namespace

int displayWidth(std::string_view s) {
  int columns = 0;
  for (std::size_t i = 0; i < s.size();) {
    const Step step = stepAt(s, i);
    columns += step.columns;
    i += step.length;
  }
  return columns;
}

std::string fitColumns(std::string_view s, int columns) {
  if (displayWidth(s) <= columns) return std::string(s);
  if (columns <= 0) return {};
  std::string out;
  int used = 0;
  bool styled = false;
  for (std::size_t i = 0; i < s.size();) {
    const Step step = stepAt(s, i);
    if (step.columns == 0) {
      styled = styled || s[i] == 0x1b;
      out.append(s.substr(i, step.length));
    } else if (used + step.columns > columns - 1) {
      break;
    } else {
      out.append(s.substr(i, step.length));
      used += step.columns;
    }
    i += step.length;
  }
  out += "…";
  if (styled) out += "\x1b[0m";
  return out;
}

bool showsSuggestions(std::string_view input) {
  return input.find_first_not_of(" \t") == std::string_view::npos || beginsScroll(input);
}

ScreenLines layoutPalette(const PaletteScreenState& s, const OutcomeText& style, int width, int height) {
  const int usable = std::max(12, width - 1);
  const bool styled = style.styled();
  ScreenLines out;
  addPromptLine(s, usable, out);
  auto add = [&](const std::string& line) { out.lines.push_back(fitColumns(line, usable)); };
  const std::string frame = kSpinner[static_cast<unsigned>(s.spinner) % std::size(kSpinner)];
  const PaletteViewModel::Phase& phase = *s.phase;

  if (const auto* working = std::get_if<PaletteViewModel::Working>(&phase)) {
    add(style.dim(frame + " " + working->text));
    add(style.dim("  Esc or Ctrl-C stops"));
  } else if (const auto* result = std::get_if<ActionResult>(&phase)) {
    if (result->isPartial) {
      // An answer still being written: its newest lines, as many as the screen has room for.
      add(frame + " " + style.markdown(result->headline));
      auto rows = wrap(result->body.value_or(""), usable - 2);
      const std::size_t room = static_cast<std::size_t>(std::max(3, height - 4));
      if (rows.size() > room) rows.erase(rows.begin(), rows.end() - static_cast<std::ptrdiff_t>(room));
      for (const auto& row : rows) add("  " + style.markdown(row));
    } else if (s.input.empty()) {
      add(style.dim(!result->items.empty() ? "Tab shows the items on the page · Ctrl-Y why · Esc dismisses"
                                           : "Ctrl-Y why · Esc dismisses · type the next command"));
    }
  } else if (const auto* confirmation = std::get_if<Confirmation>(&phase)) {
    add("? " + OutcomeText::oneLine(confirmation->title));
    add("  " + OutcomeText::oneLine(confirmation->message));
    add(style.dim("  Return or y: " + confirmation->confirmLabel + " · Esc or n: cancel"));
  } else if (const auto* choice = std::get_if<ChoiceSet>(&phase)) {
    add("? " + OutcomeText::oneLine(choice->prompt));
    const int count = static_cast<int>(choice->options.size());
    for (int i = 0; i < count; ++i) {
      const ChoiceOption& o = choice->options[static_cast<std::size_t>(i)];
      std::string line = std::to_string(i + 1) + ". " + OutcomeText::oneLine(o.title);
      line = i == s.selected ? "❯ " + reverse(line, styled) : "  " + line;
      if (!o.subtitle.empty()) line += style.dim(" — " + o.subtitle);
      add(line);
    }
    add(style.dim("  ↑↓ move · Return or 1–" + std::to_string(count) + " picks · Esc cancels"));
  }

  if (std::holds_alternative<PaletteViewModel::Idle>(phase) ||
      (std::holds_alternative<ActionResult>(phase) && !std::get<ActionResult>(phase).isPartial && !s.input.empty())) {
    if (!TextUtil::clean(s.input).empty()) {
      add(style.dim("↵ " + (s.preview
                                ? *s.preview
                                : std::string("no rule matches: Return asks the model, else searches the page"))));
    }
    if (showsSuggestions(s.input) && !s.suggestions.empty()) {
      std::string line = style.dim("Tab:");
      for (int i = 0; i < static_cast<int>(s.suggestions.size()); ++i) {
        const std::string& title = s.suggestions[static_cast<std::size_t>(i)].title;
        line += "  " + (i == s.suggestion ? reverse(title, styled) : title);
      }
      add(line);
    }
    if (s.input.empty()) add(style.dim("Ctrl-Y why · Ctrl-D quits"));
  }
  return out;
}

}  // namespace skimlet::cli
