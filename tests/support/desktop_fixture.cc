#include "support/desktop_fixture.h"
#include "browser/snapshot_capture.h"

#include <chrono>
#include <thread>

#include "browser/snapshot_capture.h"
#include "page/crawler.h"
#include "platform/input_events.h"
#include "text/text_util.h"

namespace skimlet::testing {

namespace {

void pause(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

}  // namespace

// Stops whatever desktop is still running when the test program ends.
struct DesktopTestBase::Stopper : ::testing::Environment {
  void TearDown() override { DesktopTestBase::stopDesktop(); }
};
static ::testing::Environment* const stopper = ::testing::AddGlobalTestEnvironment(new DesktopTestBase::Stopper);

void DesktopTestBase::startDesktop(DesktopHarness::Browser browser) {
  if (started_ == browser) return;
  stopDesktop();
  started_ = browser;
  skipReason_ = DesktopHarness::missing(browser);
  if (!skipReason_.empty()) return;
  try {
    harness_ = DesktopHarness::start(browser, site("signin.html"));
  } catch (const std::exception& e) {
    skipReason_ = e.what();
    return;
  }
  settings_ = std::make_unique<MemorySettings>();
  atspi::AccessStatus status;
  // The browser joins the bus a moment after it starts.
  for (int i = 0; i < 100 && !session_; ++i) {
    session_ = atspi::DesktopSession::open(*settings_, &status);
    if (session_ && !session_->target()) session_.reset();
    if (!session_) pause(0.2);
  }
  if (!session_) {
    skipReason_ = "the browser never joined the accessibility bus: " + status.headline;
    harness_.reset();
  }
}

void DesktopTestBase::stopDesktop() {
  started_.reset();
  session_.reset();
  settings_.reset();
  harness_.reset();
}

void DesktopTestBase::SetUp() {
  if (!skipReason_.empty()) GTEST_SKIP() << skipReason_;
  ASSERT_TRUE(session_);
}

PageSnapshot DesktopTestBase::capture() {
  auto target = session_->target();
  if (!target) {
    ADD_FAILURE() << "no browser to read";
    return {};
  }
  auto snap = captureSnapshot(*target, platform());
  if (!snap) {
    ADD_FAILURE() << "no window to read";
    return {};
  }
  return *snap;
}

std::string DesktopTestBase::title() {
  auto target = session_->target();
  if (!target) return "";
  auto snap = captureSnapshot(*target, platform());
  return snap ? snap->pageTitle : "";
}

bool DesktopTestBase::waitForTitle(const std::string& expected, double seconds) {
  auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (std::chrono::steady_clock::now() < end) {
    if (title() == expected) return true;
    pause(0.1);
  }
  return title() == expected;
}

void DesktopTestBase::load(const std::string& page, const std::string& expectedTitle) {
  auto target = session_->target();
  ASSERT_TRUE(target);
  Pid pid = target->app.pid;
  auto& input = platform().input;
  // The address bar, as a user reaches it: Control-L, the address, Return.
  input.postKey(pid, 37, keyflags::command);
  pause(0.3);
  input.postKey(pid, 0, keyflags::command);
  std::u16string url;
  for (char c : page.find("://") == std::string::npos ? site(page) : page) url.push_back(char16_t(c));
  input.postText(pid, url);
  input.postKey(pid, 36, keyflags::none);
  // The same page again keeps its title while it reloads: give the old one time to go.
  pause(0.8);
  ASSERT_TRUE(waitForTitle(expectedTitle)) << "the browser did not open " << page << " (title: " << title() << ")";
  for (int i = 0; i < 50 && capture().lines.size() < 2; ++i) pause(0.1);
}

std::vector<std::string> DesktopTestBase::tabTitles() {
  std::vector<std::string> titles;
  for (const auto& e : capture().chrome)
    if (e.subrole == "AXTabButton") titles.push_back(e.label());
  return titles;
}

std::optional<std::string> DesktopTestBase::fieldValue(const std::string& label) {
  for (const auto& e : capture().elements)
    if ((e.role == "AXTextField" || e.role == "AXTextArea") && e.label() == label) {
      ax::Value v;
      platform().ax.copyAttributeValue(e.element, "AXValue", v);
      auto* s = std::get_if<std::string>(&v);
      return s ? *s : std::string();
    }
  return std::nullopt;
}

bool DesktopTestBase::checked(const std::string& label) {
  for (const auto& e : capture().elements)
    if ((e.role == "AXCheckBox" || e.role == "AXRadioButton") && e.label() == label) {
      ax::Value v;
      platform().ax.copyAttributeValue(e.element, "AXValue", v);
      auto* d = std::get_if<double>(&v);
      return d && *d != 0;
    }
  ADD_FAILURE() << "no check box or radio button “" << label << "”";
  return false;
}

Outcome DesktopTestBase::command(const std::string& typed) {
  const LocalAI ai(nullptr, nullptr);
  auto understood = understand(typed, ai);
  if (!understood) return ActionResult::failure("blank command");
  auto target = session_->target();
  if (!target) return ActionResult::failure("no browser");
  engine_ = ActionEngine::create(*target, platform(), ai);
  Outcome outcome = engine_->run(understood->intent);
  session_->runLoop().runPending();
  // Let the browser act on what was sent before the next read.
  pause(0.4);
  return outcome;
}

ActionResult DesktopTestBase::result(const std::string& typed) {
  Outcome outcome = command(typed);
  if (const ActionResult* r = outcome.result()) return *r;
  ADD_FAILURE() << "“" << typed << "” asked a question instead of answering";
  return ActionResult::failure("not a result");
}

ActionResult DesktopTestBase::accept(const Outcome& outcome) {
  const Confirmation* c = outcome.confirm();
  if (!c) {
    ADD_FAILURE() << "no confirmation";
    return ActionResult::failure("no confirmation");
  }
  ActionResult r = c->perform();
  session_->runLoop().runPending();
  pause(0.4);
  return r;
}

}  // namespace skimlet::testing
