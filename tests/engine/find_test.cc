// Finding text on a recorded help page: the best place, every place, and what is said when
// nothing is there.
#include <gtest/gtest.h>

#include "support/engine_on_page.h"

namespace skimlet {
namespace {

using memory::Event;
using testing::EngineOnPage;

bool hasLine(const ActionResult& r, const std::string& line) {
  return std::find(r.debug.begin(), r.debug.end(), line) != r.debug.end();
}

TEST(Find, BringsTheMostPreciseMentionIntoView) {
  EngineOnPage page("help_centre.json");
  ActionResult r = page.run(intents::Find{"Express shipping"});
  EXPECT_EQ(r.kind, ActionResult::Kind::success);
  EXPECT_EQ(r.headline, "Found **Express shipping** under “Shipping costs”");
  // The sentence that says it, not the paragraph line that joins it with the one before.
  const std::string sentence = "Express shipping costs $12.50 and arrives the next business day.";
  EXPECT_EQ(r.body, sentence);
  ASSERT_EQ(r.items.size(), 1u);
  ASSERT_TRUE(r.items[0].element);
  EXPECT_EQ(r.items[0].element->label(), sentence);
  EXPECT_TRUE(hasLine(r, "Best match: “" + sentence + "” — label matches “Express shipping” (score 60)"));
  EXPECT_TRUE(hasLine(r, "AXScrollToVisible succeeded"));

  std::vector<Event> events = page.events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].type, Event::Type::scroll);
  EXPECT_EQ(events[0].action, "AXScrollToVisible");
  EXPECT_EQ(events[0].label, sentence);
  EXPECT_EQ(page.backend->highlighted(), r.items[0].element->frame);
}

TEST(Find, LabelsAndAliasesCountAsText) {
  EngineOnPage page("help_centre.json");
  ActionResult r = page.run(intents::Find{"search help"});
  EXPECT_EQ(r.headline, "Found **search help** under “Help centre”");
  EXPECT_EQ(r.items.at(0).element->role, "AXTextField");
}

TEST(Find, FallsBackToTheLineClosestInMeaning) {
  EngineOnPage page("help_centre.json");
  ActionResult r = page.run(intents::Find{"price of delivery"});
  EXPECT_EQ(r.kind, ActionResult::Kind::success);
  EXPECT_TRUE(r.headline.starts_with("Best match: **")) << r.headline;
  EXPECT_EQ(r.items.size(), 1u);
  EXPECT_TRUE(std::any_of(r.debug.begin(), r.debug.end(), [](const std::string& l) {
    return l.starts_with("Best match: ") && l.ends_with("closest in meaning to “price of delivery”");
  }));
}

TEST(Find, NothingToFindOrNothingFound) {
  EngineOnPage page("help_centre.json");
  ActionResult none = page.run(intents::Find{"zebra crossing"});
  EXPECT_EQ(none.kind, ActionResult::Kind::failure);
  EXPECT_EQ(none.headline, "Nothing on the page matches “zebra crossing”");
  EXPECT_EQ(page.run(intents::Find{" ?! "}).headline, "Nothing to search for");
  EXPECT_EQ(page.run(intents::FindAll{""}).headline, "Nothing to search for");
  EXPECT_EQ(page.run(intents::FindAll{"zebra"}).headline, "No occurrences of “zebra”");
  EXPECT_TRUE(page.events().empty());
}

TEST(FindAll, CountsEveryOccurrenceAtWordStarts) {
  EngineOnPage page("help_centre.json");
  ActionResult r = page.run(intents::FindAll{"parcel"});
  EXPECT_EQ(r.kind, ActionResult::Kind::info);
  EXPECT_EQ(r.headline, "Found **9** occurrences of “parcel” in 5 places");
  ASSERT_EQ(r.items.size(), 5u);
  for (const auto& item : r.items) EXPECT_TRUE(item.element);
  EXPECT_EQ(r.items[3].text, "Every parcel gets a tracking number by e-mail. Enter it on the tracking page to…");
  // The first place is brought into view.
  std::vector<Event> events = page.events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].label, r.items[0].element->label());

  // "ship" starts "shipping" but is only the end of "membership".
  ActionResult ship = page.run(intents::FindAll{"ship"});
  EXPECT_EQ(ship.headline, "Found **5** occurrences of “ship” in 3 places");
  EXPECT_EQ(ship.items.at(0).text, "Shipping costs");
  EXPECT_EQ(page.run(intents::FindAll{"Harbour Road"}).headline, "Found **1** occurrence of “Harbour Road”");
}

}  // namespace
}  // namespace skimlet
