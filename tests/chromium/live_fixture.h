// One headless Chromium shared by the live tests of a suite, with helpers to read the window
// through the accessibility seam and the page's own state through its scripts.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "backends/chromium/live_session.h"
#include "backends/memory/backend.h"
#include "engine/action_engine.h"
#include "engine/understand.h"
#include "page/crawler.h"
#include "platform/system_clock.h"
#include "support/paths.h"

namespace skimlet::testing {

class LiveTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (!chromium::LiveSession::available()) return;
    settings_ = std::make_unique<MemorySettings>();
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

  // Opens a page in the active tab, leaving only that tab open and no history to go back to,
  // as a freshly opened browser (and so a recording) shows it.
  void load(const std::string& page) { loadURL(site(page)); }
  void loadURL(const std::string& url) {
    while (browser().tabs().size() > 1) browser().closeActiveTab();
    browser().navigate(url);
    browser().tabCall("Page.resetNavigationHistory");
    browser().changed(false);
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

  // A typed command run the way the palette runs it on Return: understood by the rules (then
  // the fallback; no model here), carried out by a fresh engine on the live browser. The engine
  // stays alive until the next command, so confirmations and choices can still be followed up.
  Outcome command(const std::string& typed) {
    const LocalAI ai(nullptr, nullptr);
    auto understood = understand(typed, ai);
    if (!understood) return ActionResult::failure("blank command");
    engine_ = ActionEngine::create(*session_->target(), session_->platform(), ai);
    Outcome outcome = engine_->run(understood->intent);
    session_->runLoop().runPending();
    return outcome;
  }
  // The same, for commands that must answer a finished result.
  ActionResult result(const std::string& typed) {
    Outcome outcome = command(typed);
    if (const ActionResult* r = outcome.result()) return *r;
    ADD_FAILURE() << "“" << typed << "” asked a question instead of answering";
    return ActionResult::failure("not a result");
  }
  // Every text an outcome shows the user, "Why?" lines included, one line per part, with read
  // times left out so that two runs of one command compare equal.
  static std::vector<std::string> shown(const Outcome& outcome) {
    static const std::regex readTime(R"( in \d+\.\d\ds)");
    std::vector<std::string> lines;
    auto why = [&](const std::vector<std::string>& debug) {
      for (const auto& d : debug) lines.push_back("why: " + std::regex_replace(d, readTime, " in …s"));
    };
    if (const ActionResult* r = outcome.result()) {
      lines.push_back("kind: " + std::to_string(static_cast<int>(r->kind)));
      lines.push_back("headline: " + r->headline);
      lines.push_back("body: " + r->body.value_or("(none)"));
      lines.push_back("copy: " + r->copyText.value_or("(none)"));
      for (const auto& i : r->items) lines.push_back("item: " + i.text);
      why(r->debug);
    } else if (const Confirmation* c = outcome.confirm()) {
      lines.push_back("confirm: " + c->title + " / " + c->message + " / " + c->confirmLabel);
      why(c->debug);
    } else if (const ChoiceSet* set = outcome.choose()) {
      lines.push_back("choose: " + set->prompt);
      for (const auto& o : set->options) lines.push_back("option: " + o.title + " — " + o.subtitle);
    }
    return lines;
  }

  static inline std::unique_ptr<MemorySettings> settings_;
  static inline std::unique_ptr<chromium::LiveSession> session_;
  std::shared_ptr<ActionEngine> engine_;
};

}  // namespace skimlet::testing
