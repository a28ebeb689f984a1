#include "line_palette.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <variant>

#include "interrupt.h"
#include "text/text_util.h"

namespace skimlet::cli {

LinePalette::LinePalette(RunLoop& mainLoop, PaletteViewModel& vm, bool styled)
    : loop_(mainLoop), vm_(vm), text_(styled), echo_(!::isatty(STDIN_FILENO)) {
  vm_.observe([this] { onChange(); });
}

void LinePalette::run() {
  for (;;) {
    auto line = prompt("› ");
    if (!line) break;
    std::string command = TextUtil::clean(*line);
    if (command.empty()) continue;
    if (command == "quit" || command == "exit") break;
    if (command == "help") {
      showHelp();
      continue;
    }
    perform(command);
  }
  if (!echo_) std::cout << "\n";
}

// The read waits in poll(), with the interrupt scope's flag checked around it, rather than in a
// read() that a Ctrl-C would simply restart.
std::optional<std::string> LinePalette::prompt(const std::string& label) {
  if (!echo_) std::cout << label << std::flush;
  InterruptScope interrupt;
  std::optional<std::string> line;
  for (;;) {
    if (auto nl = buffer_.find('\n'); nl != std::string::npos) {
      line = buffer_.substr(0, nl);
      buffer_.erase(0, nl + 1);
      if (!line->empty() && line->back() == '\r') line->pop_back();
      break;
    }
    if (eof_) {
      if (!buffer_.empty()) line = std::exchange(buffer_, {});
      break;
    }
    if (interrupt.interrupted()) break;
    pollfd fd{STDIN_FILENO, POLLIN, 0};
    const int ready = ::poll(&fd, 1, 100);
    if (ready < 0 && errno != EINTR) eof_ = true;
    if (ready <= 0) continue;
    char chunk[4096];
    const ssize_t n = ::read(STDIN_FILENO, chunk, sizeof chunk);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) eof_ = true;
    else buffer_.append(chunk, static_cast<std::size_t>(n));
  }
  // A piped command is echoed, so the output reads as a transcript.
  if (line && echo_) std::cout << label << *line << "\n";
  return line;
}

void LinePalette::perform(const std::string& command) {
  vm_.input = command;
  vm_.inputChanged();
  vm_.submit();
  for (;;) {
    waitWhileBusy();
    const auto& phase = vm_.phase();
    endStream();
    if (const auto* result = std::get_if<ActionResult>(&phase)) {
      text_.printResult(std::cout, *result, vm_.showWhy);
      return;
    }
    if (const auto* confirmation = std::get_if<Confirmation>(&phase)) {
      if (!answerConfirmation(*confirmation)) return;
      continue;
    }
    if (const auto* choice = std::get_if<ChoiceSet>(&phase)) {
      if (!answerChoice(*choice)) return;
      continue;
    }
    return;  // idle: the command was stopped
  }
}

void LinePalette::waitWhileBusy() {
  InterruptScope interrupt;
  bool stopped = false;
  loop_.runUntil(
      [&] {
        if (interrupt.interrupted() && !stopped) {
          stopped = true;
          vm_.cancel();
          std::cout << text_.dim("Stopped.") << "\n";
        }
        return !vm_.busy();
      },
      24 * 3600.0);
  loop_.runPending();  // the last step's observers
}

// False when the user declined, which ends the command.
bool LinePalette::answerConfirmation(const Confirmation& c) {
  std::cout << "? " << OutcomeText::inert(c.title) << "\n" << OutcomeText::inert(c.message) << "\n";
  if (vm_.showWhy) text_.printWhy(std::cout, c.debug);
  auto answer = prompt(c.confirmLabel + "? [y/N] ");
  const std::string folded = answer ? TextUtil::lower(TextUtil::clean(*answer)) : "";
  if (folded != "y" && folded != "yes") {
    vm_.escape();
    std::cout << text_.dim("Not done.") << "\n";
    return false;
  }
  vm_.submit();  // Return on a confirmation runs it
  return true;
}

bool LinePalette::answerChoice(const ChoiceSet& choice) {
  std::cout << "? " << OutcomeText::inert(choice.prompt) << "\n";
  for (std::size_t i = 0; i < choice.options.size(); ++i) {
    const ChoiceOption& o = choice.options[i];
    std::cout << "  " << i + 1 << ". " << OutcomeText::oneLine(o.title);
    if (!o.subtitle.empty()) std::cout << text_.dim(" — " + o.subtitle);
    std::cout << "\n";
  }
  auto answer = prompt("Number (empty to cancel): ");
  int n = 0;
  if (answer) {
    const std::string s = TextUtil::clean(*answer);
    if (!s.empty() && s.size() < 4 && s.find_first_not_of("0123456789") == std::string::npos) n = std::stoi(s);
  }
  if (n < 1 || n > static_cast<int>(choice.options.size())) {
    vm_.escape();
    std::cout << text_.dim("Not done.") << "\n";
    return false;
  }
  vm_.pick(n - 1);
  return true;
}

// Progress while a command runs: each new working text once, and an answer as the model writes it.
void LinePalette::onChange() {
  const auto& phase = vm_.phase();
  if (const auto* working = std::get_if<PaletteViewModel::Working>(&phase)) {
    if (working->text != lastWorking_) {
      lastWorking_ = working->text;
      endStream();
      std::cout << text_.dim("… " + working->text) << "\n" << std::flush;
    }
  } else if (const auto* partial = std::get_if<ActionResult>(&phase); partial && partial->isPartial) {
    const std::string body = partial->body.value_or("");
    if (body.size() > streamed_.size() && body.compare(0, streamed_.size(), streamed_) == 0) {
      std::cout << text_.dim(body.substr(streamed_.size())) << std::flush;
      streamed_ = body;
    }
  }
}

void LinePalette::endStream() {
  lastWorking_.clear();
  if (streamed_.empty()) return;
  std::cout << "\n";
  streamed_.clear();
}

void LinePalette::showHelp() {
  std::cout << text_.dim("Some commands:") << "\n";
  for (const Suggestion& s : vm_.suggestions()) std::cout << "  " << s.fill << "\n";
  std::cout << "  type my email into the login box\n  open every link about pricing\n  what does shipping cost?\n";
}

}  // namespace skimlet::cli
