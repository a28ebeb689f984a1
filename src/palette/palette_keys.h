// The palette's keys as every desktop shell delivers them, turned into view-model calls. The
// shells (GTK, AppKit) only translate their key events into PaletteKey and apply the answer, so
// the palette behaves the same everywhere and is tested without a window.
//
//   Return   runs the highlighted suggestion, confirms, picks the selected option, or submits
//   Escape   stops the running command or puts away what is shown; when idle, closes
//   Up/Down  move a choice's selection, else walk the suggestions under an empty or partial field
//   Tab      reveals a result's items on the page one after another, else walks the suggestions
//   digits   typed while a choice is shown pick option n (1-based)
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "palette/palette_view_model.h"
#include "palette/suggestion.h"

namespace skimlet {

enum class PaletteKey { up, down, tab, backTab, enter, escape };

class PaletteKeys {
 public:
  struct Answer {
    bool handled = true;               // false: the command field should have the key
    bool close = false;                // the palette should close
    std::optional<std::string> field;  // new contents for the command field
  };

  // The view model must outlive this object.
  explicit PaletteKeys(PaletteViewModel& vm) : vm_(vm) {}

  Answer press(PaletteKey key);
  // The command field now holds `text` (typed, pasted or cleared).
  Answer edited(const std::string& text);
  // The palette was shown again: nothing highlighted.
  void reset();

  // Whether the suggestions belong under the field now: idle, with an empty field or one
  // that begins a scroll.
  bool showsSuggestions() const;
  std::vector<Suggestion> suggestions() const { return vm_.suggestions(); }
  // The highlighted suggestion, -1 for none.
  int suggestion() const { return suggestion_; }
  // The result item revealed last, -1 for none.
  int item() const { return item_; }
  // Runs or fills in suggestion `index` (a click on it).
  Answer use(int index);

 private:
  Answer walkSuggestions(int delta);
  Answer revealNext(int delta);

  PaletteViewModel& vm_;
  int suggestion_ = -1;
  int item_ = -1;
};

}  // namespace skimlet
