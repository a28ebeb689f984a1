// One private desktop per browser, shared by all the tests of that browser (it takes seconds to
// start), with helpers that drive the browser as a user would (the address bar, keys) and read
// its state back through the accessibility bus.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "backends/atspi/desktop_session.h"
#include "browser/snapshot_capture.h"
#include "engine/action_engine.h"
#include "engine/understand.h"
#include "page/page_snapshot.h"
#include "platform/memory_settings.h"
#include "support/desktop_harness.h"
#include "support/paths.h"

namespace skimlet::testing {

struct Firefox {
  static constexpr DesktopHarness::Browser browser = DesktopHarness::Browser::firefox;
};
struct Chromium {
  static constexpr DesktopHarness::Browser browser = DesktopHarness::Browser::chromium;
};

class DesktopTestBase : public ::testing::Test {
 public:
  struct Stopper;

 protected:
  static void startDesktop(DesktopHarness::Browser browser);
  static void stopDesktop();
  void SetUp() override;

  static std::string site(const std::string& page) { return "file://" + sourcePath("tests/site/" + page); }
  static atspi::DesktopSession& session() { return *session_; }
  static Platform platform() { return session_->platform(); }

  // Opens a page of tests/site (or a URL) in the front tab through the address bar and waits for
  // its title.
  void load(const std::string& page, const std::string& title);
  // A fresh read of the page; fails the test when there is none.
  PageSnapshot capture();
  // Waits (up to a few seconds) until the front page's title is the given one.
  bool waitForTitle(const std::string& title, double seconds = 10);
  std::string title();
  // The page's text as a fresh read shows it.
  std::string pageText() { return capture().text(); }
  // The browser's tabs, by title, as the tab strip shows them.
  std::vector<std::string> tabTitles();
  // The current value of the page's field with this label; none when there is no such field.
  std::optional<std::string> fieldValue(const std::string& label);
  // Whether the page's check box or radio button with this label is on.
  bool checked(const std::string& label);
  std::string pasteboard() { return platform().pasteboard.string().value_or(""); }

  Outcome command(const std::string& text);
  ActionResult result(const std::string& text);
  ActionResult accept(const Outcome& outcome);

  static inline std::unique_ptr<DesktopHarness> harness_;
  static inline std::unique_ptr<MemorySettings> settings_;
  static inline std::unique_ptr<atspi::DesktopSession> session_;
  static inline std::string skipReason_;
  static inline std::optional<DesktopHarness::Browser> started_;
  std::shared_ptr<ActionEngine> engine_;
};

// The desktop of a browser starts with the first suite that needs it and stays for the rest of
// the test program (each browser's tests run in a program of their own).
template <class Browser>
class DesktopTest : public DesktopTestBase {
 protected:
  static void SetUpTestSuite() { startDesktop(Browser::browser); }
};

struct BrowserNames {
  template <class T>
  static std::string GetName(int) {
    return std::is_same_v<T, Firefox> ? "Firefox" : "Chromium";
  }
};

}  // namespace skimlet::testing
