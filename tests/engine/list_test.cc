// Listing the controls of one kind on a recorded help page.
#include <gtest/gtest.h>

#include "support/engine_on_page.h"

namespace skimlet {
namespace {

std::vector<std::string> texts(const ActionResult& r) {
  std::vector<std::string> out;
  for (const auto& item : r.items) out.push_back(item.text);
  return out;
}

TEST(List, VisibleNamedControlsOnceEachInPageOrder) {
  testing::EngineOnPage page("help_centre.json");
  // The second "Contact support" is left out, the zero-size helper is not on screen, and the
  // check boxes have a list of their own.
  ActionResult buttons = page.run(intents::List{RoleHint::button});
  EXPECT_EQ(buttons.headline, "Found **3** buttons");
  EXPECT_EQ(texts(buttons), (std::vector<std::string>{"Search", "Contact support", "Delete my account"}));
  EXPECT_EQ(buttons.debug.back(), "Left out 1 repeated name");

  ActionResult boxes = page.run(intents::List{RoleHint::checkbox});
  EXPECT_EQ(boxes.headline, "Found **2** checkboxes");
  EXPECT_EQ(texts(boxes), (std::vector<std::string>{"☑ Email me delivery updates", "☐ Text me delivery updates"}));

  ActionResult all = page.run(intents::List{RoleHint::any});
  EXPECT_EQ(all.headline, "Found **8** controls");
  EXPECT_EQ(all.items.at(0).text, "Search help · TextField");
  EXPECT_EQ(page.run(intents::List{RoleHint::image}).headline, "No images on this page");
  EXPECT_TRUE(page.events().empty());
}

}  // namespace
}  // namespace skimlet
