// Which browser a command acts on, which of its windows and web areas is the page, and what one
// capture of that page holds.
#include <gtest/gtest.h>

#include "backends/memory/backend.h"
#include "browser/browser_registry.h"
#include "browser/browser_tracker.h"
#include "browser/snapshot_capture.h"
#include "page/page_snapshot.h"
#include "support/forwarding_ax.h"
#include "support/page_builder.h"

namespace skimlet {
namespace {

using memory::Node;
using testing::button;
using testing::webArea;

TEST(BrowserRegistry, ExactBundleIdentifiersOnly) {
  const std::vector<std::pair<std::string, std::string>> known = {
      {"com.apple.Safari", "Safari"},
      {"com.apple.SafariTechnologyPreview", "Safari"},
      {"com.google.Chrome", "Chrome"},
      {"com.google.Chrome.beta", "Chrome"},
      {"com.google.Chrome.canary", "Chrome"},
      {"org.mozilla.firefox", "Firefox"},
      {"org.mozilla.firefoxdeveloperedition", "Firefox"},
      {"org.mozilla.nightly", "Firefox"},
      {"company.thebrowser.Browser", "Arc"},
      {"com.brave.Browser", "Brave"},
      {"com.brave.Browser.beta", "Brave"},
      {"com.brave.Browser.nightly", "Brave"},
      {"com.microsoft.edgemac", "Edge"},
      {"com.microsoft.edgemac.Beta", "Edge"},
  };
  for (const auto& [id, name] : known) {
    const BrowserAdapter* a = BrowserRegistry::adapter(id);
    ASSERT_TRUE(a) << id;
    EXPECT_EQ(a->name(), name) << id;
  }
  for (const char* id : {"com.google.Chrome.dev", "com.apple.safari", "com.apple.Safari.helper",
                         "com.microsoft.edgemac.beta", "com.apple.TextEdit", ""})
    EXPECT_FALSE(BrowserRegistry::adapter(id)) << id;
  EXPECT_FALSE(BrowserRegistry::adapter(std::nullopt));
}

TEST(BrowserAdapter, PicksTheLargestWebAreaTheEarlierOfEquals) {
  auto area = [](int id, std::optional<Rect> frame) {
    return PageElement{.id = id, .role = "AXWebArea", .frame = frame};
  };
  const BrowserAdapter& safari = *BrowserRegistry::adapter("com.apple.Safari");
  EXPECT_FALSE(safari.pickWebArea({}));
  EXPECT_EQ(safari.pickWebArea({area(1, Rect{0, 0, 800, 600}), area(2, Rect{0, 0, 300, 250})})->id, 1);
  EXPECT_EQ(safari.pickWebArea({area(1, Rect{0, 0, 300, 250}), area(2, Rect{0, 0, 800, 600})})->id, 2);
  EXPECT_EQ(safari.pickWebArea({area(1, Rect{0, 0, 600, 800}), area(2, Rect{9, 9, 800, 600})})->id, 1);
  // Without a frame an area counts as empty, and is still better than nothing.
  EXPECT_EQ(safari.pickWebArea({area(1, std::nullopt), area(2, Rect{0, 0, 1, 1})})->id, 2);
  EXPECT_EQ(safari.pickWebArea({area(1, std::nullopt), area(2, std::nullopt)})->id, 1);
}

// Answers the application's window attributes as a test sets them.
class WindowsAx : public testing::ForwardingAx {
 public:
  using ForwardingAx::ForwardingAx;
  std::optional<ax::Value> focused, main, windows;  // none: forwarded

  ax::Error copyAttributeValue(const ax::ElementRef& e, std::string_view name, ax::Value& out) override {
    const std::optional<ax::Value>* given = name == "AXFocusedWindow" ? &focused
                                            : name == "AXMainWindow"  ? &main
                                            : name == "AXWindows"     ? &windows
                                                                      : nullptr;
    if (!given || !*given) return inner_.copyAttributeValue(e, name, out);
    if (std::holds_alternative<std::monostate>(**given)) return ax::Error::noValue;
    out = **given;
    return ax::Error::success;
  }
};

TEST(BrowserTarget, WindowIsFocusedElseMainElseTheFirstOfTheList) {
  memory::Backend b(testing::browserWindow({button("OK")}));
  const BrowserTarget target = *b.target();
  const ax::ElementRef window = b.window(), other = *b.find("AXButton", "Back");
  WindowsAx ax(b.ax());
  EXPECT_EQ(target.window(ax), window);

  ax.focused = ax::Value(std::string("not an element"));
  ax.main = ax::Value(other);
  EXPECT_EQ(target.window(ax), other);

  ax.main = ax::Value();
  ax.windows = ax::Value(std::vector<ax::ElementRef>{other, window});
  EXPECT_EQ(target.window(ax), other);

  ax.windows = ax::Value(std::vector<ax::ElementRef>{});
  EXPECT_FALSE(target.window(ax));
  ax.windows = ax::Value();
  EXPECT_FALSE(target.window(ax));
}

TEST(BrowserTarget, EachChromiumProcessIsPreparedOnce) {
  struct Case {
    std::string bundleID;
    int writes;
  };
  for (const Case& c :
       {Case{"com.google.Chrome", 1}, Case{"com.brave.Browser", 1}, Case{"company.thebrowser.Browser", 1},
        Case{"com.apple.Safari", 0}, Case{"org.mozilla.firefox", 0}}) {
    BrowserTarget::forgetPreparedForTesting();
    memory::Backend b(testing::browserWindow({button("OK")}, c.bundleID));
    const BrowserTarget target = *b.target();
    ASSERT_TRUE(target.window(b.ax()));
    ASSERT_TRUE(target.window(b.ax()));  // a second command against the same process
    EXPECT_EQ(b.attributeWrites("AXManualAccessibility"), c.writes) << c.bundleID;
    EXPECT_EQ(b.attributeWrites("AXEnhancedUserInterface"), c.writes) << c.bundleID;
  }
}

TEST(BrowserTarget, FocusedElementOnlyWhenItIsAnElement) {
  memory::Recording r = testing::browserWindow({button("OK")});
  memory::Backend none(r);
  EXPECT_FALSE(none.target()->focusedElement(none.ax()));
  r.window.children[0].children[1].focused = true;  // the toolbar's "Forward"
  memory::Backend some(r);
  EXPECT_EQ(some.target()->focusedElement(some.ax()), some.find("AXButton", "Forward"));
}

TEST(BrowserTracker, FrontBrowserElseTheLastActivatedOneStillRunning) {
  // The recorded browser (Safari, pid 501) starts behind the Finder.
  memory::Recording r = testing::browserWindow({button("OK")});
  r.front = false;
  memory::Backend b(r);
  const RunningApp chrome{600, "com.google.Chrome", "Google Chrome", ""};
  const RunningApp editor{700, "com.apple.TextEdit", "TextEdit", ""};
  const RunningApp chromeHelper{800, "com.google.Chrome.helper", "Chrome Helper", ""};
  b.addApp(chrome);
  b.addApp(editor);
  b.addApp(chromeHelper);
  BrowserTracker tracker(b.workspace());
  tracker.start();
  EXPECT_FALSE(tracker.lastPID());
  EXPECT_FALSE(tracker.current());

  auto activate = [&](Pid pid) {
    b.workspace().activate(pid);
    b.runLoop().runPending();
  };
  activate(chrome.pid);
  EXPECT_EQ(tracker.current()->app.pid, chrome.pid);
  activate(501);  // Safari in front wins over the last activated Chrome
  EXPECT_EQ(tracker.current()->adapter->name(), "Safari");
  activate(chrome.pid);
  activate(editor.pid);
  activate(chromeHelper.pid);  // not a browser: leaves the last one as it was
  EXPECT_EQ(tracker.lastPID(), chrome.pid);
  EXPECT_EQ(tracker.current()->app.pid, chrome.pid);
  b.terminate(chrome.pid);
  EXPECT_FALSE(tracker.current());

  // A browser already in front when tracking starts counts as activated.
  memory::Backend front(testing::browserWindow({button("OK")}, "com.microsoft.edgemac"));
  BrowserTracker started(front.workspace());
  started.start();
  EXPECT_EQ(started.lastPID(), 501);
  EXPECT_EQ(started.current()->adapter->name(), "Edge");
}

TEST(PageSnapshotCapture, ReadsTheWebAreaTheAdapterChooses) {
  Node small = webArea("https://ads.example/", "Ad", {button("Buy")});
  small.frame = Rect{0, 0, 300, 250};
  memory::Recording r =
      testing::browserWindow({button("Sign in")}, "com.google.Chrome", "https://example.com/a", "  Example \n Shop ");
  r.window.children.insert(r.window.children.begin(), small);
  memory::Backend b(r);
  Platform platform = b.platform();
  b.setReadLatency(0.01);
  auto snap = captureSnapshot(*b.target(), platform);
  ASSERT_TRUE(snap);
  EXPECT_EQ(snap->browserName, "Chrome");  // the recording has no localized name
  EXPECT_EQ(snap->windowTitle, "  Example \n Shop ");
  EXPECT_EQ(snap->pageTitle, "Example Shop");
  EXPECT_EQ(snap->url, "https://example.com/a");
  ASSERT_TRUE(snap->webArea);
  EXPECT_EQ(snap->webArea->frame, (Rect{0, 100, 1280, 700}));
  EXPECT_EQ(snap->elements.front().role, "AXWebArea");
  EXPECT_EQ(snap->elements.back().title, "Sign in");
  EXPECT_EQ(snap->chrome.front().role, "AXWindow");
  EXPECT_EQ(snap->chrome.back().role, "AXWebArea");  // its contents are the page's
  ASSERT_EQ(snap->lines.size(), 1u);
  EXPECT_EQ(snap->chunks.size(), 1u);
  EXPECT_NEAR(snap->captureTime, 0.01 * double(snap->chrome.size() + snap->elements.size()), 1e-9);

  // Without a web area the whole window is the page, with no title or address.
  memory::Recording bare = r;
  bare.window.children.erase(bare.window.children.begin());
  bare.window.children.back() = testing::group({button("Only")});
  memory::Backend plain(bare);
  auto whole = captureSnapshot(*plain.target(), plain.platform());
  ASSERT_TRUE(whole);
  EXPECT_FALSE(whole->webArea);
  EXPECT_EQ(whole->elements.size(), whole->chrome.size());
  EXPECT_EQ(whole->pageTitle, "");
  EXPECT_EQ(whole->url, "");
}

}  // namespace
}  // namespace skimlet
