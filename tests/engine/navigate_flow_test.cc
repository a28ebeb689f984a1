// Navigation, tabs and keys on recorded browser windows: the toolbar button when the browser
// shows one (and respecting it when it is disabled), the keyboard shortcut otherwise.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/engine_on_page.h"

namespace skimlet {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using testing::EngineOnPage;

TEST(Navigate, PressesTheToolbarButtonWhenThereIsOne) {
  struct Case {
    const char* page;
    const char* typed;
    const char* button;
    const char* headline;
  };
  const Case cases[] = {
      {"engine_checkout.json", "go forward", "Forward", "**Went forward**"},
      {"engine_checkout.json", "reload", "Reload this page", "**Reloaded**"},  // begins with "reload"
      {"account_settings.json", "refresh", "Refresh", "**Reloaded**"},
      {"account_settings.json", "open a new tab", "New Tab", "**Opened a new tab**"},
      {"account_settings.json", "go back", "Back", "**Went back**"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.typed);
    EngineOnPage page(c.page);
    ActionResult r = page.result(c.typed);
    EXPECT_EQ(r.kind, ActionResult::Kind::success);
    EXPECT_EQ(r.headline, c.headline);
    EXPECT_EQ(r.debug.back(), "AXPress on toolbar button “" + std::string(c.button) + "”");
    EXPECT_THAT(page.eventLines(), ElementsAre("press AXButton “" + std::string(c.button) + "”"));
  }
}

TEST(Navigate, ADisabledButtonFails) {
  EngineOnPage checkout("engine_checkout.json");
  ActionResult back = checkout.result("go back");
  EXPECT_EQ(back.kind, ActionResult::Kind::failure);
  EXPECT_EQ(back.headline, "Can't went back — that button is disabled");
  EXPECT_TRUE(checkout.events().empty());

  EngineOnPage account("account_settings.json");
  EXPECT_EQ(account.result("go forward").headline, "Can't went forward — that button is disabled");
  EXPECT_TRUE(account.events().empty());
}

TEST(Navigate, KeyboardShortcutWithoutAUsableButton) {
  // No toolbar in the window at all.
  EngineOnPage news("engine_news.json");
  ActionResult back = news.result("go back");
  EXPECT_EQ(back.headline, "**Went back**");
  EXPECT_EQ(back.debug.back(), "Toolbar button not available — sent keyboard shortcut");
  EXPECT_EQ(news.result("go forward").headline, "**Went forward**");
  EXPECT_EQ(news.result("reload").headline, "**Reloaded**");
  EXPECT_EQ(news.result("new tab").headline, "**Opened a new tab**");
  EXPECT_THAT(news.eventLines(), ElementsAre("key 33 flags 0x100000", "key 30 flags 0x100000", "key 15 flags 0x100000",
                                             "key 17 flags 0x100000"));

  // A page's own "Back to top" button is not the browser's Back button.
  memory::Recording withTopButton = testing::recordedPage("engine_news.json");
  withTopButton.window.children.at(0).children.push_back(memory::Node{
      .role = "AXButton", .title = "Back to top", .frame = Rect{1180, 860, 80, 24}, .actions = {"AXPress"}});
  EngineOnPage topButton(withTopButton);
  EXPECT_EQ(topButton.result("go back").debug.back(), "Toolbar button not available — sent keyboard shortcut");
  EXPECT_THAT(topButton.eventLines(), ElementsAre("key 33 flags 0x100000"));

  // A toolbar button that doesn't take the press.
  memory::Recording stuck = testing::recordedPage("engine_checkout.json");
  stuck.window.children.at(0).children.at(1).pressError = -25204;  // "Forward"
  EngineOnPage page(stuck);
  EXPECT_EQ(page.result("go forward").headline, "**Went forward**");
  EXPECT_THAT(page.eventLines(), ElementsAre("key 30 flags 0x100000"));
}

TEST(Navigate, WorksWhenNoWindowCanBeRead) {
  EngineOnPage page("engine_checkout.json");
  BrowserTarget elsewhere = *page.backend->target();
  elsewhere.app.pid = 4242;  // a process whose windows can't be read
  page.engine = ActionEngine::create(elsewhere, page.platform, LocalAI(nullptr, nullptr));

  EXPECT_EQ(page.result("go back").debug.back(), "Toolbar button not available — sent keyboard shortcut");
  EXPECT_EQ(page.result("switch to tab 2").headline, "Switched to tab **2**");
  EXPECT_EQ(page.result("press enter").headline, "Pressed **Return**");
  EXPECT_THAT(page.eventLines(), ElementsAre("key 33 flags 0x100000", "key 19 flags 0x100000", "key 36 flags 0x0"));

  // Commands that need the page say so.
  ActionResult read = page.result("read the page");
  EXPECT_EQ(read.kind, ActionResult::Kind::failure);
  EXPECT_EQ(read.headline, "Couldn't read Safari");
  EXPECT_EQ(read.body, "No window is accessible. Make sure Safari has an open window and try again.");
  EXPECT_EQ(page.result("switch to the weather tab").headline, "No tab matches “weather”");
}

TEST(Tabs, ByNumberUpToNine) {
  EngineOnPage page("engine_signup.json");  // Chrome, behind another application
  const Pid chrome = page.backend->app().pid;
  EXPECT_FALSE(page.backend->workspace().isActive(chrome));
  ActionResult third = page.result("switch to tab 3");
  EXPECT_EQ(third.headline, "Switched to tab **3**");
  EXPECT_EQ(third.debug.back(), "⌘3 sent");
  EXPECT_TRUE(page.backend->workspace().isActive(chrome));

  EXPECT_EQ(page.result("go to tab 0").headline, "Switched to tab **1**");
  EXPECT_EQ(page.result("tab 12").headline, "Switched to tab **9**");
  EXPECT_EQ(page.result("next tab").headline, "Switched to the **next** tab");
  EXPECT_EQ(page.result("previous tab").headline, "Switched to the **previous** tab");
  EXPECT_THAT(page.eventLines(), ElementsAre("key 20 flags 0x100000", "key 18 flags 0x100000", "key 25 flags 0x100000",
                                             "key 48 flags 0x40000", "key 48 flags 0x60000"));
}

TEST(Tabs, ClosingAlwaysAsksFirst) {
  EngineOnPage page("engine_checkout.json");
  Outcome o = page.command("close this tab");
  const Confirmation* confirm = o.confirm();
  ASSERT_NE(confirm, nullptr);
  EXPECT_EQ(confirm->title, "Close this tab?");
  EXPECT_EQ(confirm->message, "Unsaved work on the page may be lost.");
  EXPECT_EQ(confirm->confirmLabel, "Close tab");
  EXPECT_TRUE(page.events().empty());
  ActionResult closed = confirm->perform();
  EXPECT_EQ(closed.headline, "Closed the tab");
  EXPECT_THAT(page.eventLines(), ElementsAre("key 13 flags 0x100000"));
}

TEST(Tabs, ByNameAmongTheVisibleTabs) {
  EngineOnPage checkout("engine_checkout.json");
  ActionResult weather = checkout.result("switch to the weather tab");
  EXPECT_EQ(weather.headline, "Switched to **Weather forecast for Lisbon**");
  EXPECT_EQ(weather.debug.back(), "Pressed “Weather forecast for Lisbon”");
  EXPECT_EQ(checkout.result("switch to the inbox tab").headline, "Switched to **Inbox \\(3\\) — Mail**");
  EXPECT_THAT(checkout.eventLines(), ElementsAre("press AXRadioButton “Weather forecast for Lisbon”",
                                                 "press AXRadioButton “Inbox (3) — Mail”"));

  EngineOnPage account("account_settings.json");
  EXPECT_EQ(account.result("switch to the quarterly planning tab").headline,
            "Switched to **Quarterly planning spreadsheet for the northern r…**");
  account.backend->clearEvents();
  // The tab of zero width is one the browser has already closed.
  ActionResult closed = account.result("switch to the closed tab");
  EXPECT_EQ(closed.kind, ActionResult::Kind::failure);
  EXPECT_EQ(closed.headline, "No tab matches “closed”");
  EXPECT_TRUE(account.events().empty());
}

TEST(Keys, SentToTheBrowserWithoutReadingThePage) {
  EngineOnPage page("engine_signup.json");
  ActionResult r = page.result("press escape");
  EXPECT_EQ(r.headline, "Pressed **Escape**");
  EXPECT_THAT(r.debug, ElementsAre("Intent: Press Escape", "Browser: Google Chrome (Chrome adapter)",
                                   "Keyboard event sent to Google Chrome"));
  EXPECT_TRUE(page.backend->workspace().isActive(page.backend->app().pid));
  page.result("select all");
  page.result("copy");
  page.result("press tab");
  page.result("press delete");
  EXPECT_THAT(page.eventLines(), ElementsAre("key 53 flags 0x0", "key 0 flags 0x100000", "key 8 flags 0x100000",
                                             "key 48 flags 0x0", "key 51 flags 0x0"));
}

}  // namespace
}  // namespace skimlet
