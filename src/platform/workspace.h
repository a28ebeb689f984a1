// The desktop's workspace: which applications run, which one is in front, and opening URLs.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/ax.h"

namespace skimlet {

struct RunningApp {
  Pid pid = 0;
  std::string bundleID;       // empty when the application has none
  std::string localizedName;  // may be empty
  std::string bundlePath;     // the application's bundle location; empty when unknown
  bool operator==(const RunningApp&) const = default;
};

class Workspace {
 public:
  virtual ~Workspace() = default;
  virtual std::optional<RunningApp> frontmostApplication() = 0;
  // The running application with this process id, if there is one (it may have terminated).
  virtual std::optional<RunningApp> runningApplication(Pid pid) = 0;
  virtual bool isTerminated(Pid pid) = 0;
  virtual bool isActive(Pid pid) = 0;
  virtual void activate(Pid pid) = 0;
  // Called on the main thread with each application that becomes active, for as long as the
  // workspace lives.
  virtual void observeActivations(std::function<void(const RunningApp&)> handler) = 0;
  // Opens the URLs with the application at bundlePath in one request, without waiting.
  virtual void openURLs(const std::vector<std::string>& urls, const std::string& bundlePath) = 0;
  // Opens one URL with its default handler (used for the accessibility privacy settings).
  virtual bool openURL(const std::string& url) = 0;
};

}  // namespace skimlet
