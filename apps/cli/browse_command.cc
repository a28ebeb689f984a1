// skimlet browse [--visible] [--no-why] [--model FILE | --no-model] URL|FILE
//
// The palette in a terminal: opens the page in a fresh Chromium and reads commands line by line,
// each handled exactly as the palette handles Return (the same view model, on the same main-loop
// rules). A confirmation is answered y or n, a choice by its number; Ctrl-C stops a running
// command, and at the prompt ends the session. Standard input may be a pipe, so a transcript of
// commands can be replayed.
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <optional>

#include "backends/chromium/live_session.h"
#include "browser/browser_tracker.h"
#include "cli.h"
#include "interrupt.h"
#include "model_choice.h"
#include "outcome_text.h"
#include "palette/palette_view_model.h"
#include "platform/json_settings.h"
#include "text/text_util.h"

namespace skimlet::cli {
namespace {

int browseCommand(const Args& args);

const Command kBrowse{"browse", std::string("browse [--visible] [--no-why] ") + modelUsage + " URL|FILE",
                      "Opens a page in Chromium and takes commands for it, as the palette does.", browseCommand};

struct BrowseOptions {
  std::string page;
  bool visible = false;
  bool why = true;
  ModelChoice model;
};

// Lines from standard input that a Ctrl-C can interrupt: the read waits in poll(), which the
// interrupt scope's flag is checked around, rather than in a read() that would simply restart.
class LineReader {
 public:
  // The next line without its newline; none at the end of input or when interrupted.
  std::optional<std::string> next(const InterruptScope& interrupt) {
    for (;;) {
      if (auto nl = buffer_.find('\n'); nl != std::string::npos) {
        std::string line = buffer_.substr(0, nl);
        buffer_.erase(0, nl + 1);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        return line;
      }
      if (eof_) {
        if (buffer_.empty()) return std::nullopt;
        return std::exchange(buffer_, {});
      }
      if (interrupt.interrupted()) return std::nullopt;
      pollfd fd{STDIN_FILENO, POLLIN, 0};
      int ready = ::poll(&fd, 1, 100);
      if (ready < 0 && errno != EINTR) eof_ = true;
      if (ready <= 0) continue;
      char chunk[4096];
      ssize_t n = ::read(STDIN_FILENO, chunk, sizeof chunk);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) eof_ = true;
      else buffer_.append(chunk, static_cast<std::size_t>(n));
    }
  }

 private:
  std::string buffer_;
  bool eof_ = false;
};

class TerminalPalette {
 public:
  TerminalPalette(chromium::LiveSession& session, const LocalAI& ai, bool why)
      : session_(session),
        text_(::isatty(STDOUT_FILENO)),
        interactive_(::isatty(STDIN_FILENO)),
        tracker_(session.platform().workspace) {
    tracker_.start();
    vm_ = PaletteViewModel::create(session.platform(), tracker_, ai);
    vm_->showWhy = why;
    vm_->observe([this] { onChange(); });
  }

  ~TerminalPalette() {
    vm_->cancel();
    session_.runLoop().runUntil([&] { return !vm_->busy(); }, 5);
  }

  void greet(const LocalAI& ai) {
    auto page = session_.pageState();
    std::cout << text_.markdown("**" + (page.title.empty() ? page.url : page.title) + "**") << "\n";
    std::cout << text_.dim(page.url + " — " + ai.statusText()) << "\n";
    std::cout << text_.dim("Type a command (\"click sign in\", \"what does shipping cost?\"); \"help\" lists some; "
                           "Ctrl-D or \"quit\" ends.")
              << "\n";
  }

  // Runs commands until the input ends, "quit", or Ctrl-C at the prompt.
  void run() {
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
    if (interactive_) std::cout << "\n";
  }

 private:
  std::optional<std::string> prompt(const std::string& label) {
    if (interactive_) std::cout << label << std::flush;
    InterruptScope interrupt;
    auto line = reader_.next(interrupt);
    // A piped command is echoed, so the output reads as a transcript.
    if (line && !interactive_) std::cout << label << *line << "\n";
    return line;
  }

  void perform(const std::string& command) {
    vm_->input = command;
    vm_->inputChanged();
    vm_->submit();
    for (;;) {
      waitWhileBusy();
      const auto& phase = vm_->phase();
      if (const auto* result = std::get_if<ActionResult>(&phase)) {
        endStream();
        text_.print(std::cout, Outcome(*result));
        return;
      }
      if (const auto* confirmation = std::get_if<Confirmation>(&phase)) {
        endStream();
        if (!answerConfirmation(*confirmation)) return;
        continue;
      }
      if (const auto* choice = std::get_if<ChoiceSet>(&phase)) {
        endStream();
        if (!answerChoice(*choice)) return;
        continue;
      }
      endStream();
      return;  // idle: the command was stopped
    }
  }

  void waitWhileBusy() {
    InterruptScope interrupt;
    bool stopped = false;
    session_.runLoop().runUntil(
        [&] {
          if (interrupt.interrupted() && !stopped) {
            stopped = true;
            vm_->cancel();
            std::cout << text_.dim("Stopped.") << "\n";
          }
          return !vm_->busy();
        },
        24 * 3600.0);
    session_.runLoop().runPending();  // the last step's observers
  }

  // False when the user declined, which ends the command.
  bool answerConfirmation(const Confirmation& c) {
    std::cout << "? " << text_.markdown(c.title) << "\n" << text_.markdown(c.message) << "\n";
    if (vm_->showWhy && !c.debug.empty()) {
      std::cout << text_.dim("Why?") << "\n";
      for (const auto& line : c.debug) std::cout << text_.dim("  " + line) << "\n";
    }
    auto answer = prompt(c.confirmLabel + "? [y/N] ");
    std::string folded = answer ? TextUtil::lower(TextUtil::clean(*answer)) : "";
    if (folded != "y" && folded != "yes") {
      vm_->escape();
      std::cout << text_.dim("Not done.") << "\n";
      return false;
    }
    Confirmation copy = c;  // the phase it came from is replaced by the confirm
    vm_->confirm(copy);
    return true;
  }

  bool answerChoice(const ChoiceSet& choice) {
    std::cout << "? " << text_.markdown(choice.prompt) << "\n";
    for (std::size_t i = 0; i < choice.options.size(); ++i) {
      const ChoiceOption& o = choice.options[i];
      std::cout << "  " << i + 1 << ". " << text_.markdown(o.title);
      if (!o.subtitle.empty()) std::cout << text_.dim(" — " + o.subtitle);
      std::cout << "\n";
    }
    auto answer = prompt("Number (empty to cancel): ");
    int n = 0;
    if (answer) {
      std::string s = TextUtil::clean(*answer);
      if (!s.empty() && s.size() < 4 && s.find_first_not_of("0123456789") == std::string::npos) n = std::stoi(s);
    }
    if (n < 1 || n > static_cast<int>(choice.options.size())) {
      vm_->escape();
      std::cout << text_.dim("Not done.") << "\n";
      return false;
    }
    vm_->pick(n - 1);
    return true;
  }

  // Progress while a command runs: each new working text once, and an answer as it streams.
  void onChange() {
    const auto& phase = vm_->phase();
    if (const auto* working = std::get_if<PaletteViewModel::Working>(&phase)) {
      if (working->text != lastWorking_) {
        lastWorking_ = working->text;
        endStream();
        std::cout << text_.dim("… " + working->text) << "\n" << std::flush;
      }
    } else if (const auto* partial = std::get_if<ActionResult>(&phase); partial && vm_->busy()) {
      const std::string body = partial->body.value_or("");
      if (body.size() > streamed_.size() && body.compare(0, streamed_.size(), streamed_) == 0) {
        std::cout << text_.dim(body.substr(streamed_.size())) << std::flush;
        streamed_ = body;
      }
    }
  }

  void endStream() {
    lastWorking_.clear();
    if (streamed_.empty()) return;
    std::cout << "\n";
    streamed_.clear();
  }

  void showHelp() {
    std::cout << text_.dim("Some commands:") << "\n";
    for (const Suggestion& s : vm_->suggestions()) std::cout << "  " << s.fill << "\n";
    std::cout << "  fill my email in the login box\n  open every link about pricing\n  what does shipping cost?\n";
  }

  chromium::LiveSession& session_;
  OutcomeText text_;
  bool interactive_;
  BrowserTracker tracker_;
  std::shared_ptr<PaletteViewModel> vm_;
  LineReader reader_;
  std::string lastWorking_;
  std::string streamed_;
};

int browseCommand(const Args& args) {
  BrowseOptions o;
  for (std::size_t i = 0; i < args.size(); ++i) {
    std::string problem;
    if (args[i] == "--visible") {
      o.visible = true;
    } else if (args[i] == "--no-why") {
      o.why = false;
    } else if (takeModelOption(args, i, o.model, problem)) {
      if (!problem.empty()) return usageError(kBrowse, problem);
    } else if (args[i].size() > 1 && args[i][0] == '-') {
      return usageError(kBrowse, "unknown option " + args[i]);
    } else if (o.page.empty()) {
      o.page = args[i];
    } else {
      return usageError(kBrowse, "one page at a time");
    }
  }
  if (o.page.empty()) return usageError(kBrowse, "no page given");
  if (!chromium::LiveSession::available()) {
    std::cerr << "skimlet browse: no Chromium found (install Debian's chromium package, or set SKIMLET_CHROMIUM)\n";
    return 1;
  }

  std::string settingsPath = JsonSettings::defaultPath();
  JsonSettings settings(settingsPath.empty() ? "/dev/null" : settingsPath);
  Models models(o.model);
  if (o.model.source != ModelChoice::Source::none && !models.modelPath().empty()) {
    std::cout << "Loading the model…\n" << std::flush;
    if (auto error = models.load()) std::cerr << "skimlet browse: note: " << *error << "; going on without it\n";
  }

  std::unique_ptr<chromium::LiveSession> session;
  try {
    chromium::SessionOptions options;
    options.launch.visible = o.visible;
    session = chromium::LiveSession::open(chromium::LiveSession::urlFor(o.page), settings, options);
  } catch (const std::exception& e) {
    std::cerr << "skimlet browse: " << e.what() << "\n";
    return 1;
  }
  {
    TerminalPalette palette(*session, models.ai(), o.why);
    palette.greet(models.ai());
    palette.run();
  }
  session->close();
  return 0;
}

SKIMLET_COMMAND(kBrowse);

}  // namespace
}  // namespace skimlet::cli
