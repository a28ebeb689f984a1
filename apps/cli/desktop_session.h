// `run --desktop` and `browse --desktop`: the browser in front on the user's own desktop,
// reached through the desktop's accessibility bus, or a clear word on what stands in the way.
#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "backends/atspi/desktop_session.h"
#include "model_choice.h"

namespace skimlet::cli {

struct DesktopBrowser {
  std::unique_ptr<atspi::DesktopSession> session;
  BrowserTarget target;
};

// None, after saying why and what to do on standard error (as "skimlet TOOL: …"), when there is
// no accessibility bus, accessibility was off, or no supported browser can be read.
std::optional<DesktopBrowser> openDesktopBrowser(Settings& settings, std::string_view tool);

// The palette in the terminal on the desktop's front browser; the exit status.
int browseDesktop(Settings& settings, Models& models, std::optional<bool> why);

}  // namespace skimlet::cli
