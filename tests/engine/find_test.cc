// Finding text on a recorded help page: the best place, every place, and nothing.
#include <gtest/gtest.h>

#include "support/engine_on_page.h"
#include "support/page_builder.h"

namespace skimlet {
namespace {

using testing::EngineOnPage;

TEST(Find, BringsTheMostPreciseMentionIntoView) {
  EngineOnPage page("help_centre.json");
  ActionResult r = page.run(intents::Find{"Express shipping"});
  EXPECT_EQ(r.kind, ActionResult::Kind::success);
  EXPECT_EQ(r.headline, "Found **Express shipping** under “Shipping costs”");
  // The sentence that says it, not the paragraph line that joins it with the one before.
  const std::string sentence = "Express shipping costs $12.50 and arrives the next business day.";
  EXPECT_EQ(r.body, sentence);
  EXPECT_NE(std::find(r.debug.begin(), r.debug.end(),
                      "Best match: “" + sentence + "” — label matches “Express shipping” (score 60)"),
            r.debug.end());
  ASSERT_EQ(r.items.size(), 1u);
  EXPECT_EQ(r.items[0].element->label(), sentence);
  EXPECT_EQ(page.eventLines(), std::vector<std::string>{"scroll AXScrollToVisible AXStaticText “" + sentence + "”"});
  EXPECT_EQ(page.backend->highlighted(), r.items[0].element->frame);

  EXPECT_EQ(page.run(intents::Find{"search help"}).items.at(0).element->role, "AXTextField");
}

TEST(Find, FallsBackToMeaningThenFails) {
  EngineOnPage page("help_centre.json");
  ActionResult close = page.run(intents::Find{"price of delivery"});  // no line has these words together
  EXPECT_TRUE(close.headline.starts_with("Best match: **")) << close.headline;
  EXPECT_EQ(close.items.size(), 1u);
  page.backend->clearEvents();
  EXPECT_EQ(page.run(intents::Find{"zebra crossing"}).headline, "Nothing on the page matches “zebra crossing”");
  EXPECT_EQ(page.run(intents::Find{" ?! "}).headline, "Nothing to search for");
  EXPECT_EQ(page.run(intents::FindAll{""}).headline, "Nothing to search for");
  EXPECT_EQ(page.run(intents::FindAll{"zebra"}).headline, "No occurrences of “zebra”");
  EXPECT_TRUE(page.events().empty());
}

TEST(FindAll, CountsOccurrencesAtWordStarts) {
  EngineOnPage page("help_centre.json");
  ActionResult r = page.run(intents::FindAll{"parcel"});
  EXPECT_EQ(r.headline, "Found **9** occurrences of “parcel” in 5 places");
  ASSERT_EQ(r.items.size(), 5u);
  EXPECT_EQ(r.items[3].text, "Every parcel gets a tracking number by e-mail. Enter it on the tracking page to…");
  ASSERT_EQ(page.events().size(), 1u);  // the first place is brought into view
  EXPECT_EQ(page.events()[0].label, r.items[0].element->label());

  // "ship" starts "shipping" but only ends "membership".
  EXPECT_EQ(page.run(intents::FindAll{"ship"}).headline, "Found **5** occurrences of “ship” in 3 places");
  EXPECT_EQ(page.run(intents::FindAll{"Harbour Road"}).headline, "Found **1** occurrence of “Harbour Road”");
}

// Every place is listed once, in page order, with the count in the headline: a link and the
// words inside it are one place.
TEST(Find, CountsEveryPlaceOnceInPageOrder) {
  using namespace testing;
  memory::Node link{.role = "AXLink",
                    .title = "Pricing",
                    .url = "https://example.com/pricing",
                    .actions = {"AXPress"},
                    .children = {text("Pricing")}};
  EngineOnPage page(browserWindow({text("Member pricing"), group({link}), text("Student pricing")}));
  ActionResult r = page.run(intents::Find{"pricing"});
  EXPECT_EQ(r.headline, "Found **pricing** in 3 places");
  std::vector<std::string> items;
  for (const auto& item : r.items) items.push_back(item.text);
  EXPECT_EQ(items, (std::vector<std::string>{"Member pricing", "Pricing", "Student pricing"}));
}

}  // namespace
}  // namespace skimlet
