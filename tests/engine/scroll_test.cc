// Scrolling a recorded help page: to a section, to either end, and by a page, with the key and
// scroll-wheel fallbacks for browsers that refuse accessibility scrolling.
#include <gtest/gtest.h>

#include "support/engine_on_page.h"

namespace skimlet {
namespace {

using memory::Event;
using testing::EngineOnPage;

ScrollSpec to(ScrollSpec::Kind kind, std::string section = "") { return {kind, std::move(section)}; }

// Synthetic input that cannot post keys (as when the event source cannot be made).
struct NoKeys : InputEvents {
  InputEvents* inner = nullptr;
  bool postKey(Pid, std::uint16_t, std::uint64_t) override { return false; }
  bool postText(Pid pid, std::u16string_view units) override { return inner->postText(pid, units); }
  bool postMouseClick(Point at) override { return inner->postMouseClick(at); }
  bool postScrollWheel(Point at, int lines) override { return inner->postScrollWheel(at, lines); }
};

TEST(Scroll, ToTheSectionWhoseHeadingMatchesBest) {
  EngineOnPage page("help_centre.json");
  ActionResult r = page.run(intents::Scroll{to(ScrollSpec::Kind::section, "returns")});
  EXPECT_EQ(r.kind, ActionResult::Kind::success);
  EXPECT_EQ(r.headline, "Scrolled to the **Returns and refunds** section");
  std::vector<Event> events = page.events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].action, "AXScrollToVisible");
  EXPECT_EQ(events[0].role, "AXHeading");
  EXPECT_EQ(events[0].label, "Returns and refunds");
  EXPECT_TRUE(page.backend->highlighted());

  ActionResult none = page.run(intents::Scroll{to(ScrollSpec::Kind::section, "warranty claims")});
  EXPECT_EQ(none.kind, ActionResult::Kind::failure);
  EXPECT_EQ(none.headline, "Couldn't find a section about “warranty claims”");
  EXPECT_EQ(page.events().size(), 1u);
}

TEST(Scroll, TopAndBottomRevealTheFirstAndLastVisibleElements) {
  EngineOnPage page("help_centre.json");
  EXPECT_EQ(page.run(intents::Scroll{to(ScrollSpec::Kind::bottom)}).headline, "Scrolled to the **bottom**");
  EXPECT_EQ(page.run(intents::Scroll{to(ScrollSpec::Kind::top)}).headline, "Scrolled to the **top**");
  std::vector<Event> events = page.events();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].label, "Parcel Co, 1 Harbour Road. All rights reserved.");
  EXPECT_EQ(events[1].label, "Help centre");
}

TEST(Scroll, ByPageOnTheScrollAreaWhenTheWebAreaRefuses) {
  EngineOnPage page("help_centre.json");
  ActionResult r = page.run(intents::Scroll{to(ScrollSpec::Kind::down)});
  EXPECT_EQ(r.headline, "Scrolled **down** one page");
  ASSERT_GE(r.debug.size(), 2u);
  EXPECT_EQ(r.debug[r.debug.size() - 2], "AXScrollDownByPage failed on the web area");
  EXPECT_EQ(r.debug.back(), "AXScrollDownByPage on the scroll area");
  std::vector<Event> events = page.events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].action, "AXScrollDownByPage");
  EXPECT_EQ(events[0].role, "AXScrollArea");
}

TEST(Scroll, ByPageFallsBackToKeysThenTheWheel) {
  memory::Recording recording = testing::recordedPage("help_centre.json");
  recording.window.children.at(0).actions.clear();  // the scroll area refuses too

  EngineOnPage keys(recording);
  ActionResult r = keys.run(intents::Scroll{to(ScrollSpec::Kind::up)});
  EXPECT_EQ(r.headline, "Scrolled **up** one page");
  EXPECT_EQ(r.debug.back(), "Fell back to Page Down / Page Up key");
  std::vector<Event> events = keys.events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].type, Event::Type::key);
  EXPECT_EQ(events[0].keyCode, 116);

  NoKeys noKeys;
  EngineOnPage wheel(recording, nullptr, nullptr, &noKeys);
  noKeys.inner = &wheel.backend->input();
  r = wheel.run(intents::Scroll{to(ScrollSpec::Kind::down)});
  EXPECT_EQ(r.kind, ActionResult::Kind::success);
  EXPECT_EQ(r.debug.back(), "Posted scroll-wheel event over the page");
  events = wheel.events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].action, "scrollWheel");
  EXPECT_EQ(events[0].lines, 12);
  EXPECT_EQ(events[0].x, 600);  // the middle of the web area
  EXPECT_EQ(events[0].y, 490);
}

}  // namespace
}  // namespace skimlet
