// Outcomes as `skimlet run` shows them in a terminal: the headline's light Markdown rendered
// (bold where the terminal shows it, plain in a pipe), the body, numbered items, and the "Why?"
// lines dimmed; a confirmation or a choice says which option answers it. Only headlines and
// bodies are Markdown: items, options and confirmation texts are the page's words as they are.
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "effects/event.h"
#include "engine/outcome.h"

namespace skimlet::cli {

class OutcomeText {
 public:
  // `styled`: whether escape sequences for bold and dim may be written (a terminal, not a pipe).
  explicit OutcomeText(bool styled) : styled_(styled) {}
  bool styled() const { return styled_; }

  // Text from a page made harmless for a terminal: control characters (escape sequences that
  // recolour, clear or retitle it, bells, backspaces, carriage returns) show as "�" instead of
  // acting. Line breaks and tabs stay. Everything below passes what it prints through it.
  static std::string inert(std::string_view s);

  // "Clicked **Sign \*in\***" → Clicked Sign *in*, the bold part bold when styled.
  std::string markdown(const std::string& s) const;
  std::string dim(const std::string& s) const { return styled_ ? "\x1b[2m" + inert(s) + "\x1b[22m" : inert(s); }
  // Plain text (an item, an option, a label) for one line of a list: each line break, with the
  // blanks around it, becomes one space.
  static std::string oneLine(std::string_view s);

  void print(std::ostream& out, const Outcome& outcome) const;
  // A result alone, with its "Why?" lines only when `why`.
  void printResult(std::ostream& out, const ActionResult& result, bool why) const;
  // "Done to the page:" and one line per event; nothing when there were none.
  void printEvents(std::ostream& out, const std::vector<Event>& events) const;
  // "Why?" and the debug lines under it, dimmed; nothing when there are none.
  void printWhy(std::ostream& out, const std::vector<std::string>& debug) const;

 private:
  bool styled_;
};

}  // namespace skimlet::cli
