// What a desktop palette shows for each phase, as the keys move it along; the hotkey's
// registration order and the model download's text.
#include "palette/palette_content.h"

#include <gtest/gtest.h>

#include "backends/memory/backend.h"
#include "browser/browser_tracker.h"
#include "palette/hotkey.h"
#include "palette/model_status.h"
#include "palette/palette_keys.h"
#include "platform/memory_settings.h"

namespace skimlet {
namespace {

using memory::Node;
using View = PaletteContent::View;

Node button(std::string title, double y) {
  return Node{.role = "AXButton",
              .title = std::move(title),
              .frame = Rect{100, y, 120, 30},
              .enabled = true,
              .actions = {"AXPress"}};
}

memory::Recording cart() {
  Node page{.role = "AXWebArea",
            .title = "Shirts",
            .frame = Rect{0, 80, 1280, 800},
            .children = {button("Add to cart", 200), button("Add to cart", 300), button("Delete account", 600)}};
  Node window{.role = "AXWindow", .title = "Shirts", .frame = Rect{0, 0, 1280, 900}, .children = {page}};
  return memory::Recording{memory::AppInfo{"Safari", "com.apple.Safari", 501, ""}, true, window};
}

class Content : public ::testing::Test {
 protected:
  void SetUp() override {
    backend = std::make_unique<memory::Backend>(cart());
    tracker = std::make_unique<BrowserTracker>(backend->workspace());
    tracker->start();
    vm = PaletteViewModel::create(backend->platform(), *tracker, LocalAI(nullptr, nullptr));
    vm->reset();
    vm->refreshContext();
    keys = std::make_unique<PaletteKeys>(*vm);
  }
  void run(const std::string& command) {
    keys->edited(command);
    key(PaletteKey::enter);
  }
  // Lets a command started by the key finish.
  PaletteKeys::Answer key(PaletteKey k) { return settled(keys->press(k)); }
  PaletteKeys::Answer typed(const std::string& text) { return settled(keys->edited(text)); }
  PaletteKeys::Answer settled(PaletteKeys::Answer answer) {
    EXPECT_TRUE(backend->runLoop().runUntil([&] { return !vm->busy(); }, 20.0));
    backend->runLoop().runPending();
    return answer;
  }
  PaletteContent now() { return paletteContent(*vm, "No local model — using built-in rules"); }

  std::unique_ptr<memory::Backend> backend;
  std::unique_ptr<BrowserTracker> tracker;
  std::shared_ptr<PaletteViewModel> vm;
  std::unique_ptr<PaletteKeys> keys;
};

TEST_F(Content, IdleShowsThePreviewAndSuggestionsAndOnboardingReplacesEverythingWithoutAccess) {
  vm->input = "click add to cart";
  PaletteContent c = now();
  EXPECT_EQ(c.view, View::idle);
  EXPECT_EQ(c.placeholder, "What do you want to do?");
  EXPECT_TRUE(c.preview.has_value());
  EXPECT_EQ(c.badge, "No local model — using built-in rules");

  backend->setTrusted(false);
  vm->refreshContext();
  c = now();
  EXPECT_EQ(c.view, View::onboarding);
  EXPECT_FALSE(c.grantLabel.empty());
}

TEST_F(Content, ChoicesFollowTheKeysAndEscapeStepsBackBeforeClosing) {
  run("click add to cart");
  PaletteContent c = now();
  ASSERT_EQ(c.view, View::choose);
  ASSERT_EQ(c.options.size(), 2u);
  EXPECT_TRUE(c.options[0].selected);
  EXPECT_EQ(c.headline, (std::vector<TextRun>{{"Which one do you mean?", true}}));

  key(PaletteKey::up);
  EXPECT_TRUE(now().options[1].selected);  // wrapped from the first to the last
  typed("9");                              // names no option: the choice stays
  EXPECT_EQ(now().view, View::choose);

  EXPECT_FALSE(key(PaletteKey::escape).close);
  EXPECT_EQ(now().view, View::idle);
  EXPECT_TRUE(key(PaletteKey::escape).close);

  run("click add to cart");
  typed("2");
  c = now();
  ASSERT_EQ(c.view, View::result);
  EXPECT_EQ(c.kind, ActionResult::Kind::success);
  EXPECT_TRUE(c.why.empty());
  vm->showWhy = true;
  EXPECT_FALSE(now().why.empty());
}

TEST_F(Content, AConfirmationShowsItsWarningAndReturnAcceptsIt) {
  run("click delete account");
  PaletteContent c = now();
  ASSERT_EQ(c.view, View::confirm);
  EXPECT_EQ(c.message, "This may delete content or cancel something.");
  EXPECT_EQ(c.confirmLabel, "Click");
  key(PaletteKey::enter);
  EXPECT_EQ(now().view, View::result);
}

// A key grabber that keeps count of what is registered.
struct CountingSystem : HotkeySystem {
  int handlers = 0, live = 0;
  bool refuse = false;
  std::function<void()> pressed;
  std::vector<std::uint32_t> modifiers;
  void installHandler(std::function<void()> p) override {
    ++handlers;
    pressed = std::move(p);
  }
  bool registerHotkey(const HotkeyPreset& preset) override {
    if (refuse) return false;
    ++live;
    modifiers.push_back(preset.modifiers);
    return true;
  }
  void unregisterHotkey() override { --live; }
};

TEST(Hotkey, ReRegisteringKeepsOneHotkeyAndOneHandler) {
  MemorySettings settings;
  CountingSystem system;
  int presses = 0;
  {
    Hotkey hotkey(system);
    hotkey.handler = [&] { ++presses; };
    EXPECT_TRUE(hotkey.registerCurrent(settings));
    settings.setInteger("hotkeyPreset", 2);
    EXPECT_TRUE(hotkey.registerCurrent(settings));
    EXPECT_EQ(system.handlers, 1);
    EXPECT_EQ(system.live, 1);
    EXPECT_EQ(system.modifiers, (std::vector<std::uint32_t>{0x800, 0x300}));
    system.pressed();
    EXPECT_EQ(presses, 1);

    system.refuse = true;  // another application holds the new combination
    EXPECT_FALSE(hotkey.registerCurrent(settings));
    EXPECT_EQ(system.live, 0);
    system.refuse = false;
    hotkey.registerCurrent(settings);
  }
  EXPECT_EQ(system.live, 0);  // released with the hotkey
}

TEST(ModelStatus, DescribesEachStateWithItsButtons) {
  ModelStatus downloading = modelStatus(ModelStore::Downloading{0.425, 450'000'000, 1'100'000'000});
  EXPECT_EQ(downloading.text, "Downloading\u2026 42% (450 MB of 1.1 GB)");
  EXPECT_TRUE(downloading.canCancel && !downloading.canDownload);
  EXPECT_FALSE(modelStatus(ModelStore::Downloading{0, 5'000'000, 0}).progress);
  EXPECT_EQ(modelStatus(ModelStore::Failed{"Download was incomplete"}).text, "Download was incomplete");
  EXPECT_TRUE(modelStatus(ModelStore::Missing{}).canDownload);
  EXPECT_TRUE(modelStatus(ModelStore::Ready{}).canRemove);
}

}  // namespace
}  // namespace skimlet
