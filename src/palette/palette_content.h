// What a desktop palette window shows, worked out once from the view model so that a toolkit
// only lays the pieces out: which view is up, the texts with their light Markdown split into
// plain and bold runs, and which option is selected. (Keys go through PaletteKeys.)
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/outcome.h"
#include "palette/light_markdown.h"
#include "palette/palette_view_model.h"
#include "palette/suggestion.h"

namespace skimlet {

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

}  // namespace skimlet
