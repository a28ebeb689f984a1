// One headless Chromium shared by the live tests of a suite, with helpers to read the window
// through the accessibility seam and the page's own state through its scripts.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "backends/chromium/live_session.h"
#include "backends/memory/backend.h"
#include "page/crawler.h"
#include "platform/system_clock.h"
#include "support/paths.h"

namespace skimlet::testing {

class LiveTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (!chromium::LiveSession::available()) return;
    settings_ = std::make_unique<memory::MemorySettings>();
    session_ = chromium::LiveSession::open(site("signin.html"), *settings_);
  }
  static void TearDownTestSuite() {
    session_.reset();
    settings_.reset();
  }
  void SetUp() override {
    if (!session_) GTEST_SKIP() << "Chromium is not installed";
    session_->clearEvents();
  }

  static std::string site(const std::string& page) { return "file://" + sourcePath("tests/site/" + page); }
  static chromium::LiveSession& session() { return *session_; }
  static chromium::LiveBrowser& browser() { return session_->browser(); }
  static ax::Api& ax() { return session_->ax(); }

  // Opens a page in the active tab, leaving only that tab open.
  void load(const std::string& page) {
    while (browser().tabs().size() > 1) browser().closeActiveTab();
    browser().navigate(site(page));
    session_->clearEvents();
  }
  nlohmann::json js(const std::string& expression) { return browser().evaluate(expression); }

  ax::ElementRef app() { return ax().createApplication(session_->app().pid); }
  ax::ElementRef window() {
    ax::Value v;
    EXPECT_EQ(ax().copyAttributeValue(app(), "AXFocusedWindow", v), ax::Error::success);
    return std::get<ax::ElementRef>(v);
  }
  std::vector<PageElement> chrome() {
    SystemClock clock;
    return Crawler::crawl(ax(), clock, window(), Crawler::windowLimits);
  }
  std::vector<PageElement> page() {
    for (const auto& e : chrome())
      if (e.role == "AXWebArea") {
        SystemClock clock;
        return Crawler::crawl(ax(), clock, e.element, Crawler::pageLimits);
      }
    return {};
  }
  static std::optional<PageElement> find(const std::vector<PageElement>& elements, const std::string& role,
                                         const std::string& label) {
    for (const auto& e : elements)
      if (e.role == role && e.label() == label) return e;
    return std::nullopt;
  }
  PageElement element(const std::string& role, const std::string& label) {
    auto e = find(page(), role, label);
    if (!e) e = find(chrome(), role, label);
    if (!e) throw std::runtime_error("no " + role + " “" + label + "” on the page");
    return *e;
  }
  ax::Value attribute(const ax::ElementRef& e, const std::string& name) {
    ax::Value v;
    ax().copyAttributeValue(e, name, v);
    return v;
  }

  static inline std::unique_ptr<memory::MemorySettings> settings_;
  static inline std::unique_ptr<chromium::LiveSession> session_;
};

}  // namespace skimlet::testing
