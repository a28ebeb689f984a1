// The browser a recording plays: the live tree (which changes as a browser's would), the
// running applications, the pasteboard, the highlight and the log of effects. The seam's parts
// reach it only through with(), which holds the one lock for the call, so each effect is atomic
// and nothing of the state is handed out to outlive its lock.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "backends/memory/recording.h"
#include "effects/event_log.h"
#include "platform/ax.h"
#include "platform/run_loop.h"
#include "platform/virtual_clock.h"
#include "platform/workspace.h"

namespace skimlet::memory {

// One element of the live tree.
struct LiveNode {
  std::string role, subrole, title, description, help, placeholder;
  ax::Value value;  // std::monostate when missing
  std::optional<std::string> url;
  std::optional<Rect> frame;
  std::optional<bool> enabled, hidden;
  std::vector<std::string> actions;
  bool settable = false;
  bool keystrokes = true;
  std::optional<int> pressError;
  bool isApp = false;
  LiveNode* parent = nullptr;
  std::vector<LiveNode*> children;
  std::vector<ax::ElementRef> childRefs;  // kept ready: "AXChildren" is read for every element
  ax::ElementRef ref;
  std::map<std::string, ax::Value, std::less<>> extra;  // attributes set that the recording lacks

  bool secure() const { return subrole == "AXSecureTextField"; }
  bool has(std::string_view action) const;
};

struct BrowserState {
  RunningApp app;
  Pid finderPid = 0;
  std::deque<LiveNode> nodes;  // nodes[0] is the application, nodes[1] the window; then pre-order
  LiveNode* focused = nullptr;
  bool selectAll = false;  // Command-A was the last thing done to the focused field
  EventLog log;
  std::map<std::string, int, std::less<>> writes;
  double readLatency = 0;
  bool trusted = true;

  struct AppState {
    RunningApp app;
    bool terminated = false;
  };
  std::vector<AppState> apps;
  Pid front = 0;
  std::vector<std::function<void(const RunningApp&)>> observers;
  std::optional<std::string> pasteboard;
  std::optional<Rect> highlight;

  // The node behind an element of this tree; null for anything else.
  LiveNode* nodeOf(const ax::ElementRef& ref) const;
  ax::ElementRef applicationRef(Pid pid) const;
  LiveNode& application() { return nodes[0]; }
  LiveNode& window() { return nodes[1]; }
  // The element's label as the page reader names it, which is how events name elements.
  std::string label(const LiveNode& n) const;
  // The focused element when it takes typed text.
  LiveNode* field() const;
  // Text typed or pasted into a field: it replaces the text after Command-A, else extends it.
  void insert(LiveNode& f, const std::string& text);
};

class RecordedBrowser {
 public:
  explicit RecordedBrowser(Recording recording);
  RecordedBrowser(const RecordedBrowser&) = delete;
  RecordedBrowser& operator=(const RecordedBrowser&) = delete;

  template <class F>
  decltype(auto) with(F&& f) const {
    std::lock_guard lock(mutex_);
    return f(state_);
  }

  // Where activation notifications are delivered, and the time reads take.
  RunLoop& runLoop() { return runLoop_; }
  VirtualClock& clock() { return clock_; }

 private:
  void build(const Node& node, LiveNode* parent);

  mutable std::mutex mutex_;
  mutable BrowserState state_;
  RunLoop runLoop_;
  VirtualClock clock_;
};

}  // namespace skimlet::memory
