#include "desktop_session.h"

#include <unistd.h>

#include <iostream>

#include "interactive_palette.h"
#include "line_palette.h"
#include "outcome_text.h"
#include "palette/palette_view_model.h"

namespace skimlet::cli {

std::optional<DesktopBrowser> openDesktopBrowser(Settings& settings, std::string_view tool) {
  atspi::AccessStatus status;
  auto session = atspi::DesktopSession::open(settings, &status);
  std::optional<BrowserTarget> target;
  if (session && status.ready()) target = session->target();
  if (!target) {
    if (status.ready()) status = atspi::AccessStatus::of(atspi::AccessStatus::Kind::noBrowser);
    std::cerr << "skimlet " << tool << ": " << status.headline << ".\n" << status.hint << "\n";
    return std::nullopt;
  }
  if (!session->hasDisplay())
    std::cerr << "skimlet " << tool << ": note: no X display; keys, typing and clicks cannot be sent\n";
  return DesktopBrowser{std::move(session), *target};
}

int browseDesktop(Settings& settings, Models& models, std::optional<bool> why) {
  auto desktop = openDesktopBrowser(settings, "browse");
  if (!desktop) return 1;
  atspi::DesktopSession& session = *desktop->session;
  const bool interactive = ::isatty(STDIN_FILENO) && ::isatty(STDOUT_FILENO);
  const OutcomeText text(::isatty(STDOUT_FILENO));
  std::cout << text.markdown("**" + desktop->target.browserName() + "**") << "\n";
  std::cout << text.dim("Commands act on the page in front in " + desktop->target.browserName() + " — " +
                        models.ai().statusText())
            << "\n";
  if (!interactive) std::cout << text.dim("Type a command; \"help\" lists some; Ctrl-D or \"quit\" ends.") << "\n";
  session.runLoop().runPending();  // the tracker learns of the browser
  auto vm = PaletteViewModel::create(session.platform(), session.tracker(), models.ai());
  vm->showWhy = why.value_or(!interactive);
  auto finish = [&] {
    vm->cancel();
    session.runLoop().runUntil([&] { return !vm->busy(); }, 5);
    session.runLoop().runPending();
  };
  if (interactive) {
    InteractivePalette palette(session.runLoop(), *vm);
    palette.run();
  } else {
    LinePalette palette(session.runLoop(), *vm, text.styled());
    palette.run();
  }
  finish();
  return 0;
}

}  // namespace skimlet::cli
