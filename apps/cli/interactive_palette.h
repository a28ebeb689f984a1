// The palette in an interactive terminal: the command is edited in place with a live preview and
// suggestions under it, a spinner shows the working text, a streaming answer grows under it,
// confirmations and choices are answered with keys, and finished results stay in the scrollback.
// Every decision is the view model's; this only maps keys to its calls and draws what it shows.
//
// Keys: Return submits (or confirms, or picks the highlighted option); ↑↓ move through a choice,
// else through earlier commands; a digit picks an option; y and n answer a confirmation; Tab
// walks the suggestions under an empty field, or shows a result's items on the page one after
// another; Esc does what the palette's Escape does (a second Esc gives a fresh palette); Ctrl-C
// stops a running command or clears the field; Ctrl-Y shows or hides the "Why?" lines; Ctrl-D
// on an empty field ends.
#pragma once

#include <string>
#include <vector>

#include "line_editor.h"
#include "outcome_text.h"
#include "palette/palette_view_model.h"
#include "platform/run_loop.h"
#include "terminal_keys.h"

namespace skimlet::cli {

class InteractivePalette {
 public:
  // The view model's steps arrive through `mainLoop`, which this drains between keys.
  InteractivePalette(RunLoop& mainLoop, PaletteViewModel& vm);

  // Runs until the user ends it. Standard input and output must be a terminal.
  void run();

 private:
  void handle(const Key& key);
  void edit(const Key& key);
  void submitInput();
  void answerConfirmation(bool yes);
  void pick(int index);
  void stop();
  void history(int delta);
  void cycleSuggestion(int delta);
  void showNextItem();
  void toggleWhy();
  // Prints a finished result into the scrollback once, when one has just arrived.
  void settle();

  // Writes `text` above the live region, which is then drawn again.
  void printAbove(const std::string& text);
  void draw();
  void erase();
  std::string eraseSequence() const;

  RunLoop& loop_;
  PaletteViewModel& vm_;
  OutcomeText style_{true};
  KeyDecoder keys_;
  LineEditor editor_;

  bool quit_ = false;
  bool dirty_ = true;
  bool awaitingOutcome_ = false;  // a command or follow-up runs whose outcome is not yet printed
  int spinner_ = 0;
  int suggestion_ = -1;
  int item_ = -1;  // the result item shown last with Tab
  std::vector<std::string> history_;
  int historyAt_ = 0;
  int drawnCursorLine_ = 0;  // where the cursor was left in the drawn region
  int columns_ = 0;          // the terminal's width at the last look
  bool drawn_ = false;
};

}  // namespace skimlet::cli
