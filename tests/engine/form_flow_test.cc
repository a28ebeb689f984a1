// Form controls that are not typed into: check boxes are brought to the state asked for (never
// toggled blindly), drop-down lists and number steppers are set through their value, and "what
// fields are on this page" shows all of them with their values.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/engine_on_page.h"
#include "support/page_builder.h"

namespace skimlet {
namespace {

using ::testing::ElementsAre;
using testing::EngineOnPage;

memory::Node control(std::string role, std::string title, memory::NodeValue value, double y) {
  memory::Node n;
  n.role = std::move(role);
  n.title = std::move(title);
  n.value = std::move(value);
  n.frame = Rect{40, y, 160, 20};
  n.actions = {"AXPress"};
  n.settable = n.role != "AXCheckBox";
  return n;
}

memory::Recording orderForm() {
  return testing::browserWindow({control("AXPopUpButton", "Size", std::string("Medium"), 200),
                                 control("AXIncrementor", "Quantity", 1.0, 240),
                                 control("AXCheckBox", "Remember me", 0.0, 280),
                                 control("AXCheckBox", "I agree to the terms of service", 0.0, 320)});
}

TEST(FormFlow, ChecksAndUnticksToTheStateAskedFor) {
  EngineOnPage page(orderForm());
  EXPECT_EQ(page.result("tick remember me").headline, "Ticked **Remember me**");
  EXPECT_EQ(page.result("CHECK THE REMEMBER ME BOX").headline, "**Remember me** is already ticked");
  EXPECT_EQ(page.result("untick remember me").headline, "Unticked **Remember me**");
  EXPECT_THAT(page.eventLines(), ElementsAre("press AXCheckBox “Remember me”", "press AXCheckBox “Remember me”"));
  // An agreement asks first, as clicking it would.
  EXPECT_TRUE(page.command("check i agree to the terms").confirm());
  EXPECT_EQ(page.result("tick the newsletter").kind, ActionResult::Kind::failure);
}

TEST(FormFlow, DropDownsAndNumbersAreSetThroughTheirValue) {
  EngineOnPage page(orderForm());
  EXPECT_EQ(page.result("choose Large from the size list").headline, "Chose “Large” in **Size**");
  EXPECT_EQ(page.result("set quantity to 3").headline, "Set **Quantity** to “3”");
  EXPECT_EQ(page.result("set quantity to lots").headline, "**Quantity** takes a number");
  EXPECT_THAT(page.eventLines(),
              ElementsAre("setValue AXPopUpButton “Size” = “Large”", "setValue AXIncrementor “Quantity” = “3”"));
}

TEST(FormFlow, TheFieldListShowsEveryControlWithItsValue) {
  EngineOnPage page(orderForm());
  std::vector<std::string> items;
  for (const auto& item : page.result("what fields are on this page").items) items.push_back(item.text);
  EXPECT_THAT(items, ElementsAre("Size: Medium · drop-down list", "Quantity: 1 · number", "☐ Remember me",
                                 "☐ I agree to the terms of service"));
}

}  // namespace
}  // namespace skimlet
