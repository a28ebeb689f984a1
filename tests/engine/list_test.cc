// Listing the controls of one kind on a recorded help page.
#include <gtest/gtest.h>

#include "support/engine_on_page.h"

namespace skimlet {
namespace {

using testing::EngineOnPage;

std::vector<std::string> texts(const ActionResult& r) {
  std::vector<std::string> out;
  for (const auto& item : r.items) out.push_back(item.text);
  return out;
}

TEST(List, VisibleNamedControlsOnceEachInPageOrder) {
  EngineOnPage page("help_centre.json");
  ActionResult buttons = page.run(intents::List{RoleHint::button});
  EXPECT_EQ(buttons.kind, ActionResult::Kind::info);
  // The second "Contact support" is left out; the zero-size helper is not on screen.
  EXPECT_EQ(buttons.headline, "Found **3** buttons");
  EXPECT_EQ(texts(buttons), (std::vector<std::string>{"Search", "Contact support", "Delete my account"}));
  EXPECT_EQ(buttons.debug.back(), "Left out 1 repeated name");
  for (const auto& item : buttons.items) EXPECT_TRUE(item.element);

  ActionResult boxes = page.run(intents::List{RoleHint::checkbox});
  EXPECT_EQ(boxes.headline, "Found **2** checkboxes");
  EXPECT_EQ(texts(boxes), (std::vector<std::string>{"☑ Email me delivery updates", "☐ Text me delivery updates"}));

  ActionResult links = page.run(intents::List{RoleHint::link});
  EXPECT_EQ(texts(links), (std::vector<std::string>{"Start a return", "Track a parcel"}));
  EXPECT_TRUE(page.events().empty());  // listing touches nothing
}

TEST(List, AnyKindNamesTheKindAndNothingIsAFailure) {
  EngineOnPage page("help_centre.json");
  ActionResult all = page.run(intents::List{RoleHint::any});
  EXPECT_EQ(all.headline, "Found **8** controls");
  EXPECT_EQ(all.items.at(0).text, "Search help · TextField");
  EXPECT_EQ(all.items.at(1).text, "Search · Button");

  ActionResult images = page.run(intents::List{RoleHint::image});
  EXPECT_EQ(images.kind, ActionResult::Kind::failure);
  EXPECT_EQ(images.headline, "No images on this page");
}

}  // namespace
}  // namespace skimlet
