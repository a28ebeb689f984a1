// Which browser the user means: the front application when it is a supported browser, else the
// supported browser that was last in front (the palette takes focus itself when it opens).
#pragma once

#include <atomic>
#include <memory>
#include <optional>

#include "browser/browser_target.h"
#include "platform/workspace.h"

namespace skimlet {

class BrowserTracker {
 public:
  // The workspace must outlive the tracker's use; the tracker may die before the workspace.
  explicit BrowserTracker(Workspace& workspace);

  // Notes the front browser and follows activations from now on. Call once.
  void start();
  // The browser the user means now; none when no supported browser is in front or still running.
  std::optional<BrowserTarget> current() const;
  // The process of the supported browser last activated, if any.
  std::optional<Pid> lastPID() const;

 private:
  Workspace& workspace_;
  // Shared with the activation handler, which the workspace keeps for its own life. 0 is none.
  std::shared_ptr<std::atomic<Pid>> last_ = std::make_shared<std::atomic<Pid>>(0);
};

}  // namespace skimlet
