// A recorded page loaded for one run of the tool: the in-memory backend serving it, the browser
// it shows, and the platform bundle the core acts through.
#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "backends/memory/backend.h"
#include "browser/browser_target.h"
#include "browser/snapshot_capture.h"
#include "page/page_snapshot.h"
#include "platform/platform.h"

namespace skimlet::cli {

// A recording that loads but cannot be replayed (its browser is not one Skimlet supports).
class FixtureError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Time as a replayed page needs it: the real clock for reading (so capture times mean
// something), but waits that return at once, since a recording has nothing to settle.
class ReplayClock final : public Clock {
 public:
  double now() override;
  void sleep(double seconds) override {}
};

class FixtureSession {
 public:
  // Throws memory::RecordingError when the file cannot be read (its message names the file and
  // the place in it that is wrong), FixtureError when its browser is not supported.
  explicit FixtureSession(const std::string& path);

  memory::Backend& backend() { return *backend_; }
  const BrowserTarget& target() const { return target_; }
  // The backend's seam, with the replay clock in place of the backend's virtual one.
  const Platform& platform() const { return platform_; }
  // One read of the recorded window; none when it has no window.
  std::optional<PageSnapshot> capture() const { return captureSnapshot(target_, platform_); }

 private:
  std::unique_ptr<memory::Backend> backend_;
  ReplayClock clock_;
  BrowserTarget target_;
  Platform platform_;
};

}  // namespace skimlet::cli
