// A recorded page served through the whole platform seam, for tests and the command-line tool.
//
// The backend plays a browser showing one recorded window: it answers accessibility reads from
// the recorded tree and changes that tree the way the browser would (setting "AXFocused" moves
// focus; keys typed to the browser land in the focused field when it accepts them, Command-A
// then typing replaces its text; setting "AXValue" on a settable element changes it; "AXPress"
// answers the element's recorded error when it has one). Every effect on the page is recorded
// as an Event, in order.
//
//   auto backend = memory::Backend::load(testing::sourcePath("tests/pages/signin.json"));
//   Platform platform = backend->platform();
//   BrowserTarget target = *backend->target();
//   … run a command …
//   EXPECT_EQ(toJson(backend->events()), …);
//
// The session only wires the parts (recorded_*.h, one per part of the seam) to the one
// RecordedBrowser that holds the page's state. Every part may be used from any thread. Activation notifications are delivered through the
// backend's RunLoop, like the main queue; drain it with runLoop().runPending(). The clock is
// virtual: it stands still unless something sleeps (which returns at once) or reads are given a
// latency.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "backends/memory/recorded_ax.h"
#include "backends/memory/recorded_browser.h"
#include "backends/memory/recorded_highlighter.h"
#include "backends/memory/recorded_input.h"
#include "backends/memory/recorded_pasteboard.h"
#include "backends/memory/recorded_workspace.h"
#include "backends/memory/recording.h"
#include "browser/browser_target.h"
#include "effects/event.h"
#include "platform/memory_settings.h"
#include "platform/platform.h"
#include "platform/run_loop.h"
#include "platform/virtual_clock.h"

namespace skimlet::memory {

class Backend {
 public:
  explicit Backend(Recording recording);
  // Loads a recording file; throws RecordingError with the file and the place that is wrong.
  static std::unique_ptr<Backend> load(const std::string& path);
  Backend(const Backend&) = delete;
  Backend& operator=(const Backend&) = delete;

  Platform platform();
  // The recorded browser as a command's target; none when its bundle id is not a supported
  // browser's.
  std::optional<BrowserTarget> target() const;
  RunningApp app() const;

  // What was done to the page so far, in order.
  std::vector<Event> events() const;
  void clearEvents();

  // --- Reading the tree back ---------------------------------------------------------------
  ax::ElementRef application() const;
  ax::ElementRef window() const;
  // The first element in document order with this role and label (as the page reader names it).
  std::optional<ax::ElementRef> find(std::string_view role, std::string_view label) const;
  // The application's focused element.
  std::optional<ax::ElementRef> focused() const;
  // An element's current "AXValue" as text (secure fields included: this is the test's view).
  std::string value(const ax::ElementRef& element) const;
  // How many times an attribute of that name was set on any element (e.g. "AXManualAccessibility").
  int attributeWrites(std::string_view name) const;

  // --- Shaping the environment -------------------------------------------------------------
  // Another running application (a text editor, a second browser); it does not come to front.
  void addApp(const RunningApp& app);
  // The application quits; when it was in front, the Finder comes to front.
  void terminate(Pid pid);
  // Each multi-attribute read advances the clock by this much, like a slow browser.
  void setReadLatency(double seconds);
  void setTrusted(bool trusted);
  // The last frame the highlighter was asked to outline, while it shows.
  std::optional<Rect> highlighted() const;

  // --- The seam's parts --------------------------------------------------------------------
  ax::Api& ax() { return ax_; }
  Workspace& workspace() { return workspace_; }
  InputEvents& input() { return input_; }
  Pasteboard& pasteboard() { return pasteboard_; }
  Highlighter& highlighter() { return highlighter_; }
  RunLoop& runLoop() { return browser_.runLoop(); }
  VirtualClock& clock() { return browser_.clock(); }
  MemorySettings& settings() { return settings_; }

 private:
  RecordedBrowser browser_;
  RecordedAx ax_{browser_};
  RecordedWorkspace workspace_{browser_};
  RecordedInput input_{browser_};
  RecordedPasteboard pasteboard_{browser_};
  RecordedHighlighter highlighter_{browser_};
  MemorySettings settings_;
};

}  // namespace skimlet::memory
