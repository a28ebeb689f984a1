// A live page to drive: a fresh Chromium opened on a URL, with everything Skimlet needs of the
// platform wired to it. Typical use:
//
//   auto session = LiveSession::open("file:///…/signin.html", settings);
//   Platform p = session->platform();
//   auto target = session->target();       // the browser as a command's target
//   … run commands …
//   session->events();                     // what was done to the page
//   session->pageState();                  // url, title, tabs, focused field's value
//
// Destroying the session closes the browser and leaves no process behind.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "backends/chromium/chromium_ax.h"
#include "backends/chromium/chromium_input.h"
#include "backends/chromium/chromium_workspace.h"
#include "backends/chromium/live_browser.h"
#include "backends/chromium/page_highlighter.h"
#include "backends/chromium/session_pasteboard.h"
#include "browser/browser_target.h"
#include "effects/event_log.h"
#include "platform/platform.h"
#include "platform/run_loop.h"
#include "platform/system_clock.h"

namespace skimlet::chromium {

struct SessionOptions {
  LaunchOptions launch;
  double loadTimeout = 15;       // seconds to wait for the first page
  bool desktopClipboard = true;  // use xclip / wl-copy when present
};

// The browser's state after commands, as `skimlet run --url --json` reports it under "page".
struct PageState {
  std::string url;
  std::string title;
  int tabs = 0;
  std::optional<std::string> focusedValue;  // "••••••••" for a secure field; none: no field
};
// The keys in the order the run command prints them.
nlohmann::ordered_json toJson(const PageState& state);

class LiveSession {
 public:
  // Launches the browser and opens the URL (a path is taken as a file). Throws
  // std::runtime_error (CdpError among them) when the browser cannot be started or the page
  // cannot be opened.
  static std::unique_ptr<LiveSession> open(const std::string& url, Settings& settings, SessionOptions options = {});
  ~LiveSession();

  // Whether a Chromium is installed to open sessions with.
  static bool available();
  // What to tell the user when it is not.
  static constexpr const char* kMissing =
      "no Chromium found (install Debian's chromium package, or set SKIMLET_CHROMIUM)";
  // Whether the text is a URL (it has a scheme) rather than a file path.
  static bool isUrl(const std::string& pathOrUrl);
  // A file path as a file:// URL; URLs are returned unchanged.
  static std::string urlFor(const std::string& pathOrUrl);

  Platform platform();
  RunningApp app() const { return workspace_.app(); }
  // The browser as a command's target (the registry's Chromium adapter); none if the registry
  // does not know the browser.
  std::optional<BrowserTarget> target() const;
  std::vector<Event> events() const { return events_.events(); }
  void clearEvents() { events_.clear(); }
  PageState pageState();

  LiveBrowser& browser() { return *browser_; }
  ChromiumAx& ax() { return ax_; }
  RunLoop& runLoop() { return runLoop_; }
  // Closes the browser now; the session is unusable afterwards.
  void close();

 private:
  LiveSession(std::unique_ptr<LiveBrowser> browser, Settings& settings, const SessionOptions& options);

  std::unique_ptr<LiveBrowser> browser_;
  Settings& settings_;
  EventLog events_;
  ChromiumAx ax_;
  ChromiumWorkspace workspace_;
  SessionPasteboard pasteboard_;
  ChromiumInput input_;
  PageHighlighter highlighter_;
  RunLoop runLoop_;
  SystemClock clock_;
};

}  // namespace skimlet::chromium
