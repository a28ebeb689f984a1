// What a desktop palette window shows, worked out once from the view model so that every
// toolkit (AppKit on macOS, GTK on Linux) only lays the pieces out: which view is up, the texts
// with their light Markdown split into plain and bold runs, and which option is selected.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/outcome.h"
#include "palette/palette_view_model.h"
#include "palette/suggestion.h"

namespace skimlet {

// A piece of a line in one style.
struct TextRun {
  std::string text;
  bool bold = false;
  bool operator==(const TextRun&) const = default;
};

// "Clicked **Sign \*in\***" → "Clicked ", bold "Sign *in*". A backslash makes the next
// character stand for itself; an unclosed "**" makes the rest bold. Adjacent runs differ in style.
std::vector<TextRun> markdownRuns(std::string_view markdown);

struct PaletteContent {
  enum class View { onboarding, idle, working, result, confirm, choose };
  struct Option {
    std::string title;
    std::string subtitle;
    bool selected = false;
  };

  View view = View::idle;
  std::string placeholder;  // of the command field
  std::string badge;        // which model answers, under the field

  // idle: what Return would do, and the shortcuts under an empty or scroll-starting field.
  std::optional<std::string> preview;
  std::vector<Suggestion> suggestions;

  // working: the text beside the spinner. A streamed partial answer is a result with `partial`.
  std::string workingText;

  // result, and the title/message of a confirmation or the prompt of a choice.
  ActionResult::Kind kind = ActionResult::Kind::info;
  bool partial = false;
  std::vector<TextRun> headline;
  std::vector<TextRun> body;
  std::vector<std::string> items;  // one line each, revealed on the page when chosen
  std::vector<std::string> why;    // shown only when the user asked for them
  std::string message;             // a confirmation's warning
  std::string confirmLabel;        // the button that accepts a confirmation
  std::vector<Option> options;     // a choice's candidates

  // onboarding: Skimlet may not read other applications yet.
  std::string grantLabel;
};

inline constexpr std::string_view kPalettePlaceholder = "What do you want to do?";

// The palette as it should look now. `modelStatus` is LocalAI::statusText().
PaletteContent paletteContent(const PaletteViewModel& vm, const std::string& modelStatus);

// Keys a palette window passes on before its text field sees them.
enum class PaletteKey { up, down, enter, escape, digit };

// What the window does after a key.
struct PaletteKeyResult {
  bool handled = false;  // the field must not see the key
  bool close = false;    // hide the palette
};

// Up and Down move a choice's selection; a digit 1–9 picks that option while choosing (one that
// names no option is swallowed, so the choice stays on screen); Return
// submits (or confirms, or picks the selection); Escape steps back and closes from idle. Keys
// the palette has no use for in the current phase go to the field. `digit` is 1–9 for
// PaletteKey::digit.
PaletteKeyResult handlePaletteKey(PaletteViewModel& vm, PaletteKey key, int digit = 0);

}  // namespace skimlet
