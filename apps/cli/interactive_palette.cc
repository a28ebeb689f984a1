#include "interactive_palette.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <variant>

#include "interrupt.h"
#include "palette_screen.h"
#include "text/text_util.h"

namespace skimlet::cli {
namespace {

void writeOut(const std::string& s) {
  std::size_t done = 0;
  while (done < s.size()) {
    const ssize_t n = ::write(STDOUT_FILENO, s.data() + done, s.size() - done);
    if (n <= 0) return;
    done += static_cast<std::size_t>(n);
  }
}

// Whether the command on screen is still at work. A command that was stopped may take a moment
// to end on its worker, but the palette has left it behind and takes new commands at once.
bool atWork(const PaletteViewModel::Phase& phase) {
  if (std::holds_alternative<PaletteViewModel::Working>(phase)) return true;
  const auto* result = std::get_if<ActionResult>(&phase);
  return result && result->isPartial;
}

bool allDigits(const std::string& s) {
  return !s.empty() && s.size() < 4 && s.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

InteractivePalette::InteractivePalette(RunLoop& mainLoop, PaletteViewModel& vm) : loop_(mainLoop), vm_(vm) {
  vm_.observe([this] { dirty_ = true; });
}

void InteractivePalette::run() {
  RawTerminal raw;
  InterruptScope signals;  // a SIGTERM ends the session cleanly, with the terminal restored
  if (!raw.active()) return;
  draw();
  while (!quit_ && !signals.interrupted()) {
    const int timeout = atWork(vm_.phase()) ? 80 : keys_.hasPending() ? 30 : 250;
    pollfd fd{STDIN_FILENO, POLLIN, 0};
    bool gotBytes = false;
    if (::poll(&fd, 1, timeout) > 0) {
      char chunk[4096];
      const ssize_t n = ::read(STDIN_FILENO, chunk, sizeof chunk);
      if (n > 0) {
        keys_.feed(std::string_view(chunk, static_cast<std::size_t>(n)));
        gotBytes = true;
      } else if (n == 0 || (fd.revents & (POLLHUP | POLLERR))) {
        quit_ = true;  // the terminal went away
      }
    }
    while (auto key = keys_.next(gotBytes)) handle(*key);
    loop_.runPending();
    settle();
    if (atWork(vm_.phase())) {
      ++spinner_;
      dirty_ = true;
    }
    if (const int columns = RawTerminal::columns(); columns != columns_) {
      columns_ = columns;  // a resized terminal gets its live region laid out again
      dirty_ = true;
    }
    if (dirty_) draw();
  }
  if (vm_.busy()) vm_.cancel();
  erase();
  writeOut("\n");
}

void InteractivePalette::handle(const Key& key) {
  using T = Key::Type;
  const PaletteViewModel::Phase& phase = vm_.phase();
  const bool busy = atWork(phase);
  const bool confirming = !busy && std::holds_alternative<Confirmation>(phase);
  const bool choosing = !busy && std::holds_alternative<ChoiceSet>(phase);
  dirty_ = true;
  switch (key.type) {
    case T::endOfInput:
      if (editor_.text().empty() && !busy) quit_ = true;
      else edit(Key{T::deleteForward, {}});
      return;
    case T::interrupt:
      if (busy) stop();
      else if (!editor_.text().empty()) edit(Key{T::clearLine, {}});
      else quit_ = true;
      return;
    case T::toggleWhy: toggleWhy(); return;
    case T::redraw:
      writeOut("\x1b[2J\x1b[H");
      drawn_ = false;
      return;
    case T::escape:
      if (busy) {
        stop();
      } else if (confirming) {
        answerConfirmation(false);
      } else if (choosing) {
        printAbove(style_.dim("Not picked.") + "\n");
        vm_.escape();
      } else if (!std::holds_alternative<PaletteViewModel::Idle>(phase)) {
        vm_.escape();
      } else if (!editor_.text().empty()) {
        edit(Key{T::clearLine, {}});
      } else if (!vm_.escape()) {
        // The palette would close here; at a terminal it opens again at once, fresh.
        vm_.reset();
      }
      item_ = -1;
      return;
    case T::enter:
      if (busy) return;
      if (confirming) {
        answerConfirmation(true);
      } else if (choosing) {
        pick(vm_.selected());
      } else if (suggestion_ >= 0 && showsSuggestions(editor_.text())) {
        const auto list = vm_.suggestions();
        const Suggestion s =
            list[static_cast<std::size_t>(std::min<int>(suggestion_, static_cast<int>(list.size()) - 1))];
        suggestion_ = -1;
        if (s.runs) printAbove("› " + s.fill + "\n");
        vm_.use(s);
        if (s.runs) editor_.clear();
        else editor_.set(s.fill);  // the user completes the command
        awaitingOutcome_ = s.runs;
      } else {
        submitInput();
      }
      return;
    case T::up:
    case T::down: {
      const int delta = key.type == T::down ? 1 : -1;
      if (choosing) vm_.move(delta);
      else if (suggestion_ >= 0) cycleSuggestion(delta);
      else history(delta);
      return;
    }
    case T::tab:
    case T::backTab: {
      const auto* result = std::get_if<ActionResult>(&phase);
      if (!busy && result && !result->items.empty() && editor_.text().empty()) showNextItem();
      else if (showsSuggestions(editor_.text())) cycleSuggestion(key.type == T::tab ? 1 : -1);
      return;
    }
    case T::text:
      if (editor_.text().empty() && choosing && allDigits(key.text)) {
        pick(std::stoi(key.text) - 1);
        return;
      }
      if (editor_.text().empty() && confirming &&
          (key.text == "y" || key.text == "Y" || key.text == "n" || key.text == "N")) {
        answerConfirmation(key.text == "y" || key.text == "Y");
        return;
      }
      edit(key);
      return;
    default: edit(key); return;
  }
}

void InteractivePalette::edit(const Key& key) {
  using T = Key::Type;
  const std::string before = editor_.text();
  switch (key.type) {
    case T::text: editor_.insert(key.text); break;
    case T::backspace: editor_.backspace(); break;
    case T::deleteForward: editor_.deleteForward(); break;
    case T::left: editor_.left(); break;
    case T::right: editor_.right(); break;
    case T::home: editor_.home(); break;
    case T::end: editor_.end(); break;
    case T::clearLine: editor_.clear(); break;
    case T::deleteWord: editor_.deleteWord(); break;
    default: break;
  }
  if (editor_.text() == before) return;
  vm_.input = editor_.text();
  vm_.inputChanged();  // typing over an answer puts it away; while working it changes nothing
  suggestion_ = -1;
  item_ = -1;
}

void InteractivePalette::submitInput() {
  const std::string command = TextUtil::clean(editor_.text());
  if (command.empty()) return;
  if (history_.empty() || history_.back() != command) history_.push_back(command);
  historyAt_ = static_cast<int>(history_.size());
  printAbove(style_.markdown("**›** ") + command + "\n");
  vm_.input = editor_.text();
  vm_.submit();
  // The command stands above now; the field is free for the next one (typing ahead while this
  // one works changes nothing until it has finished).
  editor_.clear();
  awaitingOutcome_ = true;
  item_ = -1;
}

void InteractivePalette::answerConfirmation(bool yes) {
  const auto* c = std::get_if<Confirmation>(&vm_.phase());
  if (!c) return;
  printAbove("? " + c->title + style_.dim(yes ? " — " + c->confirmLabel : " — not done") + "\n");
  if (yes) {
    vm_.submit();  // Return on a confirmation runs it
    awaitingOutcome_ = true;
  } else {
    vm_.escape();
  }
}

void InteractivePalette::pick(int index) {
  const auto* choice = std::get_if<ChoiceSet>(&vm_.phase());
  if (!choice || index < 0 || index >= static_cast<int>(choice->options.size())) return;
  const ChoiceOption& option = choice->options[static_cast<std::size_t>(index)];
  printAbove("? " + choice->prompt + style_.dim(" — ") + OutcomeText::oneLine(option.title) + "\n");
  vm_.pick(index);
  awaitingOutcome_ = true;
}

void InteractivePalette::stop() {
  vm_.escape();
  awaitingOutcome_ = false;
  printAbove(style_.dim("Stopped.") + "\n");
}

void InteractivePalette::history(int delta) {
  if (history_.empty()) return;
  const int count = static_cast<int>(history_.size());
  historyAt_ = std::clamp(historyAt_ + delta, 0, count);
  const std::string text = historyAt_ == count ? std::string() : history_[static_cast<std::size_t>(historyAt_)];
  if (text == editor_.text()) return;
  editor_.set(text);
  vm_.input = text;
  vm_.inputChanged();
}

void InteractivePalette::cycleSuggestion(int delta) {
  const int count = static_cast<int>(vm_.suggestions().size());
  if (count == 0) return;
  suggestion_ = suggestion_ < 0 ? (delta > 0 ? 0 : count - 1) : (suggestion_ + delta + count) % count;
}

void InteractivePalette::showNextItem() {
  const auto* result = std::get_if<ActionResult>(&vm_.phase());
  if (!result || result->items.empty()) return;
  item_ = (item_ + 1) % static_cast<int>(result->items.size());
  const FoundItem& item = result->items[static_cast<std::size_t>(item_)];
  vm_.reveal(item);
  printAbove(style_.dim("↳ " + std::to_string(item_ + 1) + ". ") + OutcomeText::oneLine(item.text) +
             (item.element ? "" : style_.dim(" (not on the page)")) + "\n");
}

void InteractivePalette::toggleWhy() {
  vm_.showWhy = !vm_.showWhy;
  const auto* result = std::get_if<ActionResult>(&vm_.phase());
  if (vm_.showWhy && result && !result->isPartial && !result->debug.empty()) {
    std::ostringstream text;
    style_.printWhy(text, result->debug);
    printAbove(text.str());
  } else {
    printAbove(style_.dim(vm_.showWhy ? "Why? lines on." : "Why? lines off.") + "\n");
  }
}

void InteractivePalette::settle() {
  const PaletteViewModel::Phase& phase = vm_.phase();
  if (!awaitingOutcome_ || atWork(phase)) return;
  awaitingOutcome_ = false;
  const auto* result = std::get_if<ActionResult>(&phase);
  if (!result) return;  // a confirmation or a choice waits in the live region; idle: it was stopped
  std::ostringstream text;
  style_.printResult(text, *result, vm_.showWhy);
  printAbove(text.str());
  // The result stays the phase until typing puts it away.
  vm_.input = editor_.text();
}

void InteractivePalette::printAbove(const std::string& text) {
  erase();
  writeOut(text);
  dirty_ = true;
}

std::string InteractivePalette::eraseSequence() const {
  // Back to the region's first line, then everything from there down is cleared.
  std::string out = "\r";
  if (drawn_ && drawnCursorLine_ > 0) out += "\x1b[" + std::to_string(drawnCursorLine_) + "A";
  return out + "\x1b[J";
}

void InteractivePalette::erase() {
  if (!drawn_) return;
  writeOut(eraseSequence());
  drawn_ = false;
}

void InteractivePalette::draw() {
  PaletteScreenState state;
  state.phase = &vm_.phase();
  state.input = editor_.text();
  state.cursor = editor_.cursor();
  state.preview = vm_.preview();
  if (showsSuggestions(editor_.text())) state.suggestions = vm_.suggestions();
  state.suggestion = suggestion_;
  state.selected = vm_.selected();
  state.spinner = spinner_;
  const ScreenLines screen = layoutPalette(state, style_, RawTerminal::columns(), RawTerminal::rows());

  // One write for the whole region, so that it never shows half drawn.
  std::string out = eraseSequence();
  for (std::size_t i = 0; i < screen.lines.size(); ++i) {
    if (i) out += "\n";
    out += screen.lines[i];
  }
  const int below = static_cast<int>(screen.lines.size()) - 1 - screen.cursorLine;
  if (below > 0) out += "\x1b[" + std::to_string(below) + "A";
  out += "\r";
  if (screen.cursorColumn > 0) out += "\x1b[" + std::to_string(screen.cursorColumn) + "C";
  writeOut(out);
  drawnCursorLine_ = screen.cursorLine;
  drawn_ = true;
  dirty_ = false;
}

}  // namespace skimlet::cli
