// Scrolling a recorded help page: to a section, to either end, and by a page, with the key and
// scroll-wheel fallbacks for browsers that refuse accessibility scrolling.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/engine_on_page.h"

namespace skimlet {
namespace {

using ::testing::ElementsAre;
using testing::EngineOnPage;

intents::Scroll to(ScrollSpec::Kind kind, std::string section = "") { return {{kind, std::move(section)}}; }

// Synthetic input that cannot post keys (as when no event source can be made).
struct NoKeys : InputEvents {
  InputEvents* inner = nullptr;
  bool postKey(Pid, std::uint16_t, std::uint64_t) override { return false; }
  bool postText(Pid pid, std::u16string_view units) override { return inner->postText(pid, units); }
  bool postMouseClick(Point at) override { return inner->postMouseClick(at); }
  bool postScrollWheel(Point at, int lines) override { return inner->postScrollWheel(at, lines); }
};

TEST(Scroll, ToASectionOrAnEndThroughScrollToVisible) {
  EngineOnPage page("help_centre.json");
  EXPECT_EQ(page.run(to(ScrollSpec::Kind::section, "returns")).headline,
            "Scrolled to the **Returns and refunds** section");
  EXPECT_EQ(page.run(to(ScrollSpec::Kind::section, "warranty claims")).headline,
            "Couldn't find a section about “warranty claims”");
  EXPECT_EQ(page.run(to(ScrollSpec::Kind::bottom)).headline, "Scrolled to the **bottom**");
  EXPECT_EQ(page.run(to(ScrollSpec::Kind::top)).headline, "Scrolled to the **top**");
  EXPECT_THAT(page.eventLines(),
              ElementsAre("scroll AXScrollToVisible AXHeading “Returns and refunds”",
                          "scroll AXScrollToVisible AXStaticText “Parcel Co, 1 Harbour Road. All rights reserved.”",
                          "scroll AXScrollToVisible AXHeading “Help centre”"));
}

TEST(Scroll, ByPageOnTheWebAreaItsScrollAreaThenKeysThenTheWheel) {
  EngineOnPage page("help_centre.json");
  ActionResult r = page.run(to(ScrollSpec::Kind::down));
  EXPECT_EQ(r.headline, "Scrolled **down** one page");
  EXPECT_EQ(r.debug[r.debug.size() - 2], "AXScrollDownByPage failed on the web area");
  EXPECT_EQ(r.debug.back(), "AXScrollDownByPage on the scroll area");
  EXPECT_THAT(page.eventLines(), ElementsAre(::testing::StartsWith("scroll AXScrollDownByPage AXScrollArea ")));

  memory::Recording recording = testing::recordedPage("help_centre.json");
  recording.window.children.at(0).actions.clear();  // the scroll area refuses too

  EngineOnPage keys(recording);
  EXPECT_EQ(keys.run(to(ScrollSpec::Kind::up)).debug.back(), "Fell back to Page Down / Page Up key");
  EXPECT_THAT(keys.eventLines(), ElementsAre("key 116 flags 0x0"));

  NoKeys noKeys;
  EngineOnPage wheel(recording, nullptr, nullptr, &noKeys);
  noKeys.inner = &wheel.backend->input();
  EXPECT_EQ(wheel.run(to(ScrollSpec::Kind::down)).debug.back(), "Posted scroll-wheel event over the page");
  // Over the middle of the web area.
  EXPECT_THAT(wheel.eventLines(), ElementsAre("scroll wheel 12 lines at (600, 490)"));
}

}  // namespace
}  // namespace skimlet
