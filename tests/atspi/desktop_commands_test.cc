// Commands on the user's own browser, end to end: understood, carried out through the desktop's
// accessibility bus and synthetic input, and checked by reading the page back.
#include <gmock/gmock.h>

#include "engine/profile.h"
#include "support/desktop_fixture.h"

namespace skimlet::testing {
namespace {

using Kind = ActionResult::Kind;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

template <class B>
class DesktopCommands : public DesktopTest<B> {};
using Browsers = ::testing::Types<Firefox, Chromium>;
TYPED_TEST_SUITE(DesktopCommands, Browsers, BrowserNames);

TYPED_TEST(DesktopCommands, SignInClicksTypingProfileAndPassword) {
  this->load("signin.html", "Sign in - Example Shop");
  ActionResult click = this->result("click Remember me");
  EXPECT_EQ(click.headline, "Clicked **Remember me**");
  EXPECT_TRUE(this->checked("Remember me"));

  ActionResult typed = this->result("type me@example.com into the email field");
  EXPECT_EQ(typed.headline, "Typed in **Email address** with “me@example.com”");
  EXPECT_THAT(typed.debug, Contains("Typed via keyboard events"));
  EXPECT_EQ(this->fieldValue("Email address"), "me@example.com");
  // The field has the focus now: a bare "type" adds to it, "replace" swaps its text.
  EXPECT_EQ(this->result("type x2").headline, "Typed in **focused field** with “x2”");
  EXPECT_EQ(this->fieldValue("Email address"), "me@example.comx2");
  EXPECT_EQ(this->result("replace it with you@example.org").kind, Kind::success);
  EXPECT_EQ(this->fieldValue("Email address"), "you@example.org");
  // Characters beyond the keyboard's own.
  EXPECT_EQ(this->result("write Ærøskøbing – café ☕ into notes").kind, Kind::success);
  EXPECT_EQ(this->fieldValue("Notes"), "Ærøskøbing – café ☕");

  this->settings_->setString(Profile::key(ProfileField::name), "Ada Lovelace");
  EXPECT_EQ(this->result("type my name into the full name field").kind, Kind::success);
  EXPECT_EQ(this->fieldValue("Full name"), "Ada Lovelace");

  // A password goes in, and is never shown: not in the result, not in its "Why?" lines.
  ActionResult secret = this->result("type hunter2 into the password field");
  EXPECT_EQ(secret.kind, Kind::success);
  EXPECT_THAT(secret.headline, Not(HasSubstr("hunter2")));
  for (const auto& line : secret.debug) EXPECT_THAT(line, Not(HasSubstr("hunter2")));
  auto bullets = this->fieldValue("Password");
  ASSERT_TRUE(bullets);
  EXPECT_EQ(bullets->find("hunter2"), std::string::npos);
  EXPECT_FALSE(bullets->empty());
  EXPECT_THAT(this->pageText(), Not(HasSubstr("hunter2")));

  EXPECT_EQ(this->result("click the Sign in button").headline, "Clicked **Sign in**");
  EXPECT_THAT(this->pageText(), HasSubstr("Submitted as you@example.org"));
}

TYPED_TEST(DesktopCommands, LinksHistoryAndTabs) {
  this->load("signin.html", "Sign in - Example Shop");
  EXPECT_EQ(this->result("open Read our article").headline, "Clicked **Read our article**");
  EXPECT_TRUE(this->waitForTitle("The Quiet Harbour"));
  ActionResult back = this->result("go back");
  EXPECT_EQ(back.headline, "**Went back**");
  EXPECT_EQ(back.debug.back(), "AXPress on toolbar button “Back”");
  EXPECT_TRUE(this->waitForTitle("Sign in - Example Shop"));
  EXPECT_EQ(this->result("go forward").headline, "**Went forward**");
  EXPECT_TRUE(this->waitForTitle("The Quiet Harbour"));

  this->load("tab_one.html", "Tab one: weather");
  EXPECT_EQ(this->result("click Open the tide table").headline, "Clicked **Open the tide table**");
  EXPECT_TRUE(this->waitForTitle("Tab two: tides"));
  EXPECT_THAT(this->tabTitles(), ElementsAre("Tab one: weather", "Tab two: tides"));
  ActionResult first = this->result("tab 1");
  EXPECT_EQ(first.headline, "Switched to tab **1**");
  EXPECT_EQ(first.debug.back(), "Alt+1 sent") << "the key really sent on Linux";
  EXPECT_TRUE(this->waitForTitle("Tab one: weather"));
  EXPECT_EQ(this->result("switch to the tides tab").headline, "Switched to **Tab two: tides**");
  EXPECT_TRUE(this->waitForTitle("Tab two: tides"));
  EXPECT_EQ(this->result("previous tab").debug.back(), "Ctrl+Shift+Tab sent");
  EXPECT_TRUE(this->waitForTitle("Tab one: weather"));
  Outcome close = this->command("close this tab");
  ASSERT_TRUE(close.confirm());
  EXPECT_EQ(this->accept(close).debug.back(), "Ctrl+W sent");
  EXPECT_TRUE(this->waitForTitle("Tab two: tides"));
  EXPECT_THAT(this->tabTitles(), ElementsAre("Tab two: tides"));
}

TYPED_TEST(DesktopCommands, ScrollFindReadAndRiskyClick) {
  this->load("article.html", "The Quiet Harbour");
  auto headingTop = [this](const std::string& label) {
    for (const auto& e : this->capture().elements)
      if (e.role == "AXHeading" && e.label() == label && e.frame) return e.frame->y;
    return -1.0;
  };
  double before = headingTop("The harbour today");
  ActionResult scrolled = this->result("scroll to the harbour today");
  EXPECT_EQ(scrolled.headline, "Scrolled to the **The harbour today** section");
  EXPECT_LT(headingTop("The harbour today"), before);
  EXPECT_EQ(this->result("scroll to the top").kind, Kind::success);
  EXPECT_EQ(this->result("scroll down").kind, Kind::success);

  ActionResult found = this->result("find six every morning");
  EXPECT_NE(found.kind, Kind::failure);
  EXPECT_THAT(found.headline, HasSubstr("six every morning"));

  ActionResult read = this->result("read this page");
  EXPECT_THAT(read.headline, StartsWith("Read **The Quiet Harbour** — "));
  ASSERT_TRUE(read.body);
  EXPECT_THAT(*read.body, HasSubstr("The market opens at six every morning."));
  EXPECT_THAT(*read.body, Not(HasSubstr("Back")));
  EXPECT_EQ(this->result("copy this article").kind, Kind::success);
  EXPECT_THAT(this->pasteboard(), HasSubstr("The market opens at six every morning."));

  this->load("settings.html", "Account settings");
  Outcome risky = this->command("click Delete account");
  ASSERT_TRUE(risky.confirm());
  EXPECT_EQ(risky.confirm()->title, "Click “Delete account”?");
  EXPECT_THAT(this->pageText(), Not(HasSubstr("Account deleted"))) << "nothing is pressed before the answer";
  EXPECT_EQ(this->accept(risky).headline, "Clicked **Delete account**");
  EXPECT_THAT(this->pageText(), HasSubstr("Account deleted"));
  this->result("click Text messages");
  EXPECT_TRUE(this->checked("Text messages"));
  this->result("select Pro");
  EXPECT_TRUE(this->checked("Pro"));
  EXPECT_FALSE(this->checked("Free"));
}

}  // namespace
}  // namespace skimlet::testing
