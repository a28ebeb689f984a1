#include "palette/palette_keys.h"

#include <gtest/gtest.h>

#include "backends/memory/backend.h"
#include "browser/browser_tracker.h"

namespace skimlet {
namespace {

using memory::Node;

Node button(std::string title, Rect frame) {
  return Node{.role = "AXButton", .title = std::move(title), .frame = frame, .enabled = true, .actions = {"AXPress"}};
}

// Three look-alike buttons (a choice) and a risky one (a confirmation).
memory::Recording shop() {
  Node page{.role = "AXWebArea",
            .title = "Shirts",
            .frame = Rect{0, 80, 1280, 800},
            .children = {Node{.role = "AXHeading", .title = "Blue shirts", .frame = Rect{20, 100, 400, 40}},
                         button("Add to cart", {100, 200, 120, 30}), button("Add to cart", {100, 300, 120, 30}),
                         button("Add to cart", {100, 400, 120, 30}), button("Delete account", {100, 600, 160, 30})}};
  Node window{.role = "AXWindow", .title = "Shirts", .frame = Rect{0, 0, 1280, 900}, .children = {page}};
  return memory::Recording{memory::AppInfo{"Safari", "com.apple.Safari", 501, ""}, true, window};
}

// The keys as a shell delivers them, over a palette on a recorded page.
class Keys : public ::testing::Test {
 protected:
  Keys() : backend(shop()), tracker(backend.workspace()) {
    tracker.start();
    vm = PaletteViewModel::create(backend.platform(), tracker, LocalAI(nullptr, nullptr));
    keys = std::make_unique<PaletteKeys>(*vm);
    vm->reset();
    vm->refreshContext();
  }
  PaletteKeys::Answer type(const std::string& text) {
    auto answer = keys->edited(text);
    settle();
    return answer;
  }
  PaletteKeys::Answer press(PaletteKey key) {
    auto answer = keys->press(key);
    settle();
    return answer;
  }
  void settle() {
    ASSERT_TRUE(backend.runLoop().runUntil([&] { return !vm->busy(); }, 20.0));
    backend.runLoop().runPending();
  }
  template <class T>
  bool showing() const {
    return std::holds_alternative<T>(vm->phase());
  }

  memory::Backend backend;
  BrowserTracker tracker;
  std::shared_ptr<PaletteViewModel> vm;
  std::unique_ptr<PaletteKeys> keys;
};

TEST_F(Keys, ArrowsWalkTheSuggestionsAndReturnUsesTheHighlightedOne) {
  EXPECT_TRUE(keys->showsSuggestions());
  EXPECT_TRUE(press(PaletteKey::up).handled);
  EXPECT_EQ(keys->suggestion(), 4);  // from none, Up starts at the last
  press(PaletteKey::down);
  EXPECT_EQ(keys->suggestion(), 0);  // and wraps
  press(PaletteKey::tab);
  press(PaletteKey::tab);
  EXPECT_EQ(keys->suggestion(), 2);  // "Find…" only fills the field
  auto answer = press(PaletteKey::enter);
  EXPECT_EQ(answer.field, "Find ");
  EXPECT_TRUE(showing<PaletteViewModel::Idle>());
  EXPECT_EQ(keys->suggestion(), -1);

  // A typed command that is not a scroll hides them, and the arrows go to the field.
  type("click add");
  EXPECT_FALSE(keys->showsSuggestions());
  EXPECT_FALSE(press(PaletteKey::down).handled);
  type("scroll");
  EXPECT_TRUE(keys->showsSuggestions());
  press(PaletteKey::down);
  answer = press(PaletteKey::enter);  // "Scroll down" runs at once
  EXPECT_EQ(answer.field, "Scroll down");
  EXPECT_TRUE(showing<ActionResult>());
}

TEST_F(Keys, EscapePutsAnAnswerAwayFirstAndClosesFromIdle) {
  type("click delete account");
  press(PaletteKey::enter);
  ASSERT_TRUE(showing<Confirmation>());
  auto answer = press(PaletteKey::escape);
  EXPECT_FALSE(answer.close);
  EXPECT_TRUE(showing<PaletteViewModel::Idle>());
  EXPECT_TRUE(backend.events().empty());  // nothing was pressed
  EXPECT_TRUE(press(PaletteKey::escape).close);

  // Return on the confirmation runs it, whatever the field says.
  press(PaletteKey::enter);
  ASSERT_TRUE(showing<Confirmation>());
  press(PaletteKey::enter);
  ASSERT_TRUE(showing<ActionResult>());
  EXPECT_EQ(std::get<ActionResult>(vm->phase()).kind, ActionResult::Kind::success);
}

TEST_F(Keys, DigitsAndArrowsTakeAChoice) {
  type("click add to cart");
  press(PaletteKey::enter);
  ASSERT_TRUE(showing<ChoiceSet>());
  ASSERT_EQ(std::get<ChoiceSet>(vm->phase()).options.size(), 3u);
  press(PaletteKey::up);
  EXPECT_EQ(vm->selected(), 2);
  EXPECT_EQ(backend.highlighted(), (Rect{100, 400, 120, 30}));

  // A number naming no option is dropped and the choice stays.
  auto answer = type("7");
  EXPECT_EQ(answer.field, "");
  EXPECT_TRUE(showing<ChoiceSet>());
  answer = type("2");
  EXPECT_EQ(answer.field, "");
  ASSERT_TRUE(showing<ActionResult>());
  EXPECT_EQ(std::get<ActionResult>(vm->phase()).headline, "Clicked **Add to cart**");
  EXPECT_EQ(toJson(backend.events()).dump(), R"([{"label":"Add to cart","role":"AXButton","type":"press"}])");
}

TEST_F(Keys, TabRevealsAResultsItemsInTurn) {
  type("list buttons");
  press(PaletteKey::enter);
  ASSERT_TRUE(showing<ActionResult>());
  const auto items = std::get<ActionResult>(vm->phase()).items.size();
  ASSERT_GE(items, 2u);
  press(PaletteKey::tab);
  EXPECT_EQ(keys->item(), 0);
  press(PaletteKey::backTab);
  EXPECT_EQ(keys->item(), static_cast<int>(items) - 1);
  // Typing puts the result away and forgets the item.
  type("x");
  EXPECT_EQ(keys->item(), -1);
  EXPECT_TRUE(showing<PaletteViewModel::Idle>());
}

}  // namespace
}  // namespace skimlet
