// The palette one line at a time, for standard input that is not a terminal (a pipe, a script):
// each line is a command handled as Return in the palette handles it, a confirmation is answered
// by a line saying y or n, a choice by a line with the option's number. Outcomes are printed as
// they land, so the output reads as a transcript.
#pragma once

#include <optional>
#include <string>

#include "outcome_text.h"
#include "palette/palette_view_model.h"
#include "platform/run_loop.h"

namespace skimlet::cli {

class LinePalette {
 public:
  LinePalette(RunLoop& mainLoop, PaletteViewModel& vm, bool styled);

  // Runs commands until the input ends, a line says "quit", or Ctrl-C comes at the prompt.
  void run();

 private:
  std::optional<std::string> prompt(const std::string& label);
  void perform(const std::string& command);
  void waitWhileBusy();
  bool answerConfirmation(const Confirmation& c);
  bool answerChoice(const ChoiceSet& choice);
  void onChange();
  void endStream();
  void showHelp();

  RunLoop& loop_;
  PaletteViewModel& vm_;
  OutcomeText text_;
  bool echo_;
  std::string buffer_;
  bool eof_ = false;
  std::string lastWorking_;
  std::string streamed_;
};

}  // namespace skimlet::cli
