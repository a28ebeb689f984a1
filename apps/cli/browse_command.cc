// skimlet browse [--visible] [--why | --no-why] [--model FILE | --no-model] URL|FILE
// skimlet browse --desktop [--why | --no-why] [--model FILE | --no-model]
//
// The palette in a terminal, on a page opened in a fresh Chromium (a file is served from its
// folder on a loopback address). At an interactive terminal
// the command is edited in place with the live preview and suggestions under it (see
// interactive_palette.h for the keys); with standard input from a pipe or a file, each line is a
// command and the output reads as a transcript (line_palette.h). Both drive the same view model
// the desktop palette uses, on the same main-loop rules. With --desktop the palette acts on the
// browser in front on the user's own desktop instead.
#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <optional>

#include "backends/chromium/live_session.h"
#include "browser/browser_tracker.h"
#include "cli.h"
#include "desktop_session.h"
#include "interactive_palette.h"
#include "line_palette.h"
#include "local_site.h"
#include "model_choice.h"
#include "outcome_text.h"
#include "palette/palette_view_model.h"
#include "platform/json_settings.h"

namespace skimlet::cli {
namespace {

int browseCommand(const Args& args);

const Command kBrowse{"browse", std::string("browse [--visible] [--why | --no-why] ") + modelUsage + " URL|FILE | --desktop",
                      "Opens a page in Chromium and takes commands for it, as the palette does.", browseCommand};

struct BrowseOptions {
  std::string page;
  bool visible = false;
  bool desktop = false;
  std::optional<bool> why;  // default: shown in a transcript, on request at a terminal
  ModelChoice model;
};

void greet(chromium::LiveSession& session, const LocalAI& ai, const OutcomeText& text, bool interactive) {
  auto page = session.pageState();
  std::cout << text.markdown("**" + (page.title.empty() ? page.url : page.title) + "**") << "\n";
  std::cout << text.dim(page.url + " — " + ai.statusText()) << "\n";
  if (interactive) {
    std::cout << text.dim("What do you want to do? Try \"click sign in\" or \"what does shipping cost?\".") << "\n";
  } else {
    std::cout << text.dim("Type a command (\"click sign in\", \"what does shipping cost?\"); \"help\" lists some; "
                          "Ctrl-D or \"quit\" ends.")
              << "\n";
  }
}

int browseCommand(const Args& args) {
  BrowseOptions o;
  for (std::size_t i = 0; i < args.size(); ++i) {
    std::string problem;
    if (args[i] == "--visible") {
      o.visible = true;
    } else if (args[i] == "--desktop") {
      o.desktop = true;
    } else if (args[i] == "--why" || args[i] == "--no-why") {
      o.why = args[i] == "--why";
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
  if (o.desktop) {
    if (!o.page.empty()) return usageError(kBrowse, "--desktop acts on the browser in front; give no page");
    std::string path = JsonSettings::defaultPath();
    JsonSettings settings(path.empty() ? "/dev/null" : path);
    Models models(o.model);
    return browseDesktop(settings, models, o.why);
  }
  if (o.page.empty()) return usageError(kBrowse, "no page given");
  if (!chromium::LiveSession::available()) {
    std::cerr << "skimlet browse: no Chromium found (install Debian's chromium package, or set SKIMLET_CHROMIUM)\n";
    return 1;
  }

  const bool interactive = ::isatty(STDIN_FILENO) && ::isatty(STDOUT_FILENO);
  const OutcomeText text(::isatty(STDOUT_FILENO));
  std::string settingsPath = JsonSettings::defaultPath();
  JsonSettings settings(settingsPath.empty() ? "/dev/null" : settingsPath);
  Models models(o.model);
  if (o.model.source != ModelChoice::Source::none && !models.modelPath().empty()) {
    std::cout << text.dim("Loading the model…") << "\n" << std::flush;
    if (auto error = models.load()) std::cerr << "skimlet browse: note: " << *error << "; going on without it\n";
  }

  // A page from a file is served from its folder on a loopback address, so that its links are
  // web links as on a real site (Skimlet opens only http and https links).
  std::unique_ptr<LocalSite> site;
  std::string url = o.page;
  const bool hasScheme = chromium::LiveSession::isUrl(o.page);
  if (!hasScheme && !std::filesystem::exists(o.page)) {
    // "example.com/shop" is a site, "pages/shop.html" a file that is not there.
    const bool looksLikeHost = o.page.find('.') != std::string::npos && o.page.find(' ') == std::string::npos &&
                               o.page[0] != '/' && o.page[0] != '.' &&
                               !o.page.ends_with(".html") && !o.page.ends_with(".htm");
    if (!looksLikeHost) {
      std::cerr << "skimlet browse: " << o.page << ": no such file\n";
      return 1;
    }
    url = "https://" + o.page;
  }
  std::unique_ptr<chromium::LiveSession> session;
  try {
    if (!hasScheme && std::filesystem::is_regular_file(o.page)) {
      const auto file = std::filesystem::absolute(o.page);
      site = std::make_unique<LocalSite>(file.parent_path());
      url = site->url(file);
    }
    chromium::SessionOptions options;
    options.launch.visible = o.visible;
    std::cout << text.dim("Opening Chromium…") << "\n" << std::flush;
    session = chromium::LiveSession::open(chromium::LiveSession::urlFor(url), settings, options);
  } catch (const std::exception& e) {
    std::cerr << "skimlet browse: " << e.what() << "\n";
    return 1;
  }
  {
    BrowserTracker tracker(session->platform().workspace);
    tracker.start();
    auto vm = PaletteViewModel::create(session->platform(), tracker, models.ai());
    vm->showWhy = o.why.value_or(!interactive);
    greet(*session, models.ai(), text, interactive);
    // The palette observes the view model, so whatever still runs is stopped while it exists.
    auto finish = [&] {
      vm->cancel();
      session->runLoop().runUntil([&] { return !vm->busy(); }, 5);
      session->runLoop().runPending();
    };
    if (interactive) {
      InteractivePalette palette(session->runLoop(), *vm);
      palette.run();
      finish();
    } else {
      LinePalette palette(session->runLoop(), *vm, text.styled());
      palette.run();
      finish();
    }
  }
  session->close();
  return 0;
}

SKIMLET_COMMAND(kBrowse);

}  // namespace
}  // namespace skimlet::cli
