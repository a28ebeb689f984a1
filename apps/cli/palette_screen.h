// The live part of the terminal palette: the prompt with the command being typed, and under it
// whatever the palette's phase shows (a preview or suggestions, the working spinner and a
// streaming answer, a confirmation, a choice). It is redrawn in place below everything already
// printed; finished results go above it into the terminal's scrollback instead.
//
// Layout is a pure function of what is on screen, so it is tested without a terminal.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "outcome_text.h"
#include "palette/palette_view_model.h"
#include "palette/suggestion.h"

namespace skimlet::cli {

struct PaletteScreenState {
  const PaletteViewModel::Phase* phase = nullptr;
  std::string_view input;
  std::size_t cursor = 0;               // byte offset into input
  std::optional<std::string> preview;   // what Return would do, by the rules alone
  std::vector<Suggestion> suggestions;  // shown only when the layout calls for them
  int suggestion = -1;                  // the highlighted one, -1 for none
  int selected = 0;                     // the highlighted option of a choice
  int spinner = 0;                      // frame counter of the working indicator
};

struct ScreenLines {
  std::vector<std::string> lines;  // each fits in one terminal row
  int cursorLine = 0;
  int cursorColumn = 0;
};

// `width` and `height` are the terminal's columns and rows.
ScreenLines layoutPalette(const PaletteScreenState& s, const OutcomeText& style, int width, int height);

// Whether suggestions belong under this command text: an empty field, or one starting a scroll.
bool showsSuggestions(std::string_view input);

// Columns `s` takes in a terminal: escape sequences take none, East Asian wide characters and
// emoji two, combining marks none.
int displayWidth(std::string_view s);

// `s` cut to at most `columns` columns, ending in "…" when something was cut; escape sequences
// are kept whole and styling is reset at the cut.
std::string fitColumns(std::string_view s, int columns);

}  // namespace skimlet::cli
