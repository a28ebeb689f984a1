// The desktop's workspace around the live browser: the launched Chromium is the one running
// application and always in front; URLs open in new tabs of it.
#pragma once

#include "backends/chromium/live_browser.h"
#include "effects/event_log.h"
#include "platform/workspace.h"

namespace skimlet::chromium {

inline constexpr const char* kBundleID = "org.chromium.Chromium";
inline constexpr const char* kAppName = "Chromium";

class ChromiumWorkspace : public Workspace {
 public:
  ChromiumWorkspace(LiveBrowser& browser, EventLog& events) : browser_(browser), events_(events) {}

  // The launched browser as a running application.
  RunningApp app() const;

  std::optional<RunningApp> frontmostApplication() override;
  std::optional<RunningApp> runningApplication(Pid pid) override;
  bool isTerminated(Pid pid) override;
  bool isActive(Pid pid) override;
  void activate(Pid pid) override {}
  // The browser is in front from the start and nothing else ever activates.
  void observeActivations(std::function<void(const RunningApp&)> handler) override {}
  void openURLs(const std::vector<std::string>& urls, const std::string& bundlePath) override;
  bool openURL(const std::string& url) override;

 private:
  LiveBrowser& browser_;
  EventLog& events_;
};

}  // namespace skimlet::chromium
