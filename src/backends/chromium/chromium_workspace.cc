#include "backends/chromium/chromium_workspace.h"

#include <filesystem>

namespace skimlet::chromium {

RunningApp ChromiumWorkspace::app() const {
  RunningApp app;
  app.pid = browser_.pid();
  app.bundleID = kBundleID;
  app.localizedName = kAppName;
  app.bundlePath = std::filesystem::path(browser_.executable()).parent_path().string();
  return app;
}

std::optional<RunningApp> ChromiumWorkspace::frontmostApplication() {
  if (!browser_.alive()) return std::nullopt;
  return app();
}

std::optional<RunningApp> ChromiumWorkspace::runningApplication(Pid pid) {
  if (pid != browser_.pid()) return std::nullopt;
  return app();
}

bool ChromiumWorkspace::isTerminated(Pid pid) { return pid != browser_.pid() || !browser_.alive(); }

bool ChromiumWorkspace::isActive(Pid pid) { return pid == browser_.pid() && browser_.alive(); }

void ChromiumWorkspace::openURLs(const std::vector<std::string>& urls, const std::string& bundlePath) {
  auto turn = browser_.take();
  events_.open(urls);
  // Each URL gets a tab of its own; the last one opened is in front, as the desktop does it.
  for (const auto& url : urls) {
    try {
      browser_.openTab(url, 10);
    } catch (const CdpError&) {
    }
  }
}

bool ChromiumWorkspace::openURL(const std::string& url) {
  auto turn = browser_.take();
  events_.open({url});
  // Only web pages open in the browser; system deep links have no handler here.
  if (url.rfind("http", 0) != 0 && url.rfind("file:", 0) != 0) return false;
  try {
    browser_.openTab(url, 10);
    return true;
  } catch (const CdpError&) {
    return false;
  }
}

}  // namespace skimlet::chromium
