// The pages of the project's own site as a real browser showed them, replayed without one: the
// browser's chrome, masked secrets and risky clicks hold on the recording as on the live page.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/engine_on_page.h"

namespace skimlet {
namespace {

using ::testing::ElementsAre;
using testing::EngineOnPage;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(RecordedSite, SignInTypingKeepsThePasswordOutOfEveryText) {
  EngineOnPage page("recorded/signin.json");
  ActionResult r = page.result("type hunter2 into the password field");
  EXPECT_EQ(r.headline, "Typed in **Password** with “••••••••”");
  for (const auto& line : r.debug) EXPECT_THAT(line, Not(HasSubstr("hunter2")));
  EXPECT_THAT(page.eventLines(), ElementsAre("focus AXTextField “Password”", "type “••••••••”"));
  EXPECT_EQ(page.backend->value(*page.backend->find("AXTextField", "Password")), "hunter2");

  // A fresh window has nothing to go back to, and says so rather than sending a shortcut.
  EngineOnPage fresh("recorded/signin.json");
  EXPECT_EQ(fresh.result("go back").headline, "Can't went back — that button is disabled");
  EXPECT_TRUE(fresh.events().empty());
}

TEST(RecordedSite, RiskyClickPressesOnlyAfterTheAnswer) {
  EngineOnPage page("recorded/settings.json");
  Outcome risky = page.command("click Delete account");
  ASSERT_TRUE(risky.confirm());
  EXPECT_TRUE(page.events().empty());
  EXPECT_EQ(risky.confirm()->perform().headline, "Clicked **Delete account**");
  EXPECT_THAT(page.eventLines(), ElementsAre("press AXButton “Delete account”"));
}

TEST(RecordedSite, FileLinksAreNeverOpenedInBulk) {
  EngineOnPage page("recorded/links.json");
  EXPECT_EQ(page.result("open all links about ferries").headline, "No links mention “ferries”");
  EXPECT_TRUE(page.events().empty());
}

}  // namespace
}  // namespace skimlet
