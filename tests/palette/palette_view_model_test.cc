#include "palette/palette_view_model.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "backends/memory/backend.h"
#include "browser/browser_tracker.h"
#include "support/stand_in_model.h"

namespace skimlet {
namespace {

using memory::Node;
using testing::StandInModel;
using Phase = PaletteViewModel::Phase;

constexpr Rect kCartFrames[] = {{100, 200, 120, 30}, {100, 300, 120, 30}, {100, 400, 120, 30}};

Node button(std::string title, Rect frame) {
  return Node{.role = "AXButton", .title = std::move(title), .frame = frame, .enabled = true, .actions = {"AXPress"}};
}

Node text(std::string value, Rect frame) {
  return Node{.role = "AXStaticText", .value = memory::NodeValue(std::move(value)), .frame = frame};
}

memory::Recording shop(std::string bundleID = "com.apple.Safari") {
  Node page{.role = "AXWebArea",
            .title = "Shirts",
            .frame = Rect{0, 80, 1280, 800},
            .children = {Node{.role = "AXHeading", .title = "Blue shirts", .frame = Rect{20, 100, 400, 40}},
                         text("Our shirts are made of organic cotton and ship within two days.", {20, 150, 800, 20}),
                         button("Add to cart", kCartFrames[0]), button("Add to cart", kCartFrames[1]),
                         button("Add to cart", kCartFrames[2]), button("Delete account", {100, 600, 160, 30})}};
  Node window{.role = "AXWindow", .title = "Shirts", .frame = Rect{0, 0, 1280, 900}, .children = {page}};
  return memory::Recording{memory::AppInfo{"Safari", std::move(bundleID), 501, ""}, true, window};
}

std::string describe(const Phase& phase) {
  struct {
    std::string operator()(const PaletteViewModel::Working& w) const { return "working: " + w.text; }
    std::string operator()(const ActionResult& r) const {
      return std::string(r.isPartial ? "partial: " : "result: ") + r.headline;
    }
    std::string operator()(const Confirmation& c) const { return "confirm: " + c.title; }
    std::string operator()(const ChoiceSet& c) const { return "choose: " + std::to_string(c.options.size()); }
    std::string operator()(const PaletteViewModel::Idle&) const { return "idle"; }
  } visit;
  return std::visit(visit, phase);
}

// A palette over a recorded shop page, recording every phase it shows.
class Palette : public ::testing::Test {
 protected:
  void open(memory::Recording recording = shop(), ChatModel* model = nullptr) {
    backend = std::make_unique<memory::Backend>(std::move(recording));
    tracker = std::make_unique<BrowserTracker>(backend->workspace());
    tracker->start();
    vm = PaletteViewModel::create(backend->platform(), *tracker, LocalAI(model, nullptr));
    vm->observe([this] {
      std::string now = describe(vm->phase());
      if (shown.empty() || shown.back() != now) shown.push_back(now);
    });
    vm->reset();
    vm->refreshContext();
    shown.clear();
  }

  void run(const std::string& command) {
    vm->input = command;
    vm->inputChanged();
    vm->submit();
    settle();
  }

  // Plays the main thread until the running command has finished and its last step is applied.
  void settle() {
    ASSERT_TRUE(backend->runLoop().runUntil([&] { return !vm->busy(); }, 20.0));
    backend->runLoop().runPending();
  }

  bool showed(const std::string& phase) const { return std::find(shown.begin(), shown.end(), phase) != shown.end(); }

  // Opens the palette with `model` holding every request until it is stopped, submits a command
  // the rules don't know, and waits until the model holds it.
  bool submitHeld(StandInModel& model) {
    model.onRequest = [this](std::stop_token stop) {
      held = true;
      waitUntil([&] { return stop.stop_requested(); });
    };
    open(shop(), &model);
    vm->input = "show me more of this";
    vm->submit();
    return backend->runLoop().runUntil([&] { return held.load(); }, 20.0);
  }
  // Blocks a model's thread until `done`, for at most 20 seconds.
  static void waitUntil(const std::function<bool()>& done) {
    auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!done() && std::chrono::steady_clock::now() < until)
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }

  std::unique_ptr<memory::Backend> backend;
  std::unique_ptr<BrowserTracker> tracker;
  std::shared_ptr<PaletteViewModel> vm;
  std::vector<std::string> shown;
  std::atomic<bool> held = false;
};

TEST_F(Palette, SubmissionsWithoutACommandOrBrowserStartNothing) {
  open();
  vm->input = "  \n\t";
  vm->submit();
  EXPECT_FALSE(vm->busy());
  EXPECT_TRUE(shown.empty());

  open(shop("com.example.TextEdit"));
  run("read page");
  auto* r = std::get_if<ActionResult>(&vm->phase());
  ASSERT_TRUE(r);
  EXPECT_EQ(r->kind, ActionResult::Kind::failure);
  EXPECT_EQ(r->headline, "No supported browser in front");
  EXPECT_EQ(r->body, "Open Safari, Chrome, Firefox, Arc, Brave or Edge, then press the hotkey again.");
  EXPECT_FALSE(vm->target());
  EXPECT_EQ(vm->engine(), nullptr);

  // Refreshing reads trust and the front browser again.
  open();
  EXPECT_TRUE(vm->trusted());
  ASSERT_TRUE(vm->target());
  EXPECT_EQ(vm->target()->browserName(), "Safari");
  backend->setTrusted(false);
  vm->refreshContext();
  EXPECT_FALSE(vm->trusted());
}

TEST_F(Palette, ACommandTheRulesKnowShowsItsTitleWhileItRuns) {
  open();
  run("Read page");
  ASSERT_EQ(shown.size(), 3u);
  EXPECT_EQ(shown[0], "working: Reading Safari\u2026");
  EXPECT_EQ(shown[1], "working: Read page");
  EXPECT_EQ(shown[2].rfind("result: Read **Shirts**", 0), 0u) << shown[2];
  EXPECT_FALSE(showed("working: Understanding\u2026"));

  // Every command gets a fresh engine, so the page is read afresh.
  auto first = vm->engine();
  run("Read page");
  EXPECT_NE(vm->engine(), first);

  // A command the rules don't know shows "Understanding…", then the fallback's title.
  run("organic cotton shirts anywhere");
  EXPECT_TRUE(showed("working: Understanding\u2026"));
  EXPECT_TRUE(showed("working: Find \u201corganic cotton shirts anywhere\u201d"));
}

TEST_F(Palette, TheModelIsAskedOnlyWhenTheRulesFail) {
  StandInModel model({"scroll_down||0||"});
  open(shop(), &model);
  vm->input = "  scroll down ";
  EXPECT_EQ(vm->preview(), "Scroll down");
  for (const char* unknown : {"show me more of this", "   "}) {
    vm->input = unknown;
    EXPECT_FALSE(vm->preview()) << unknown;
  }
  run("Read page");
  EXPECT_TRUE(model.requests().empty());
  shown.clear();
  run("show me more of this");
  ASSERT_EQ(model.requests().size(), 1u);
  EXPECT_EQ(model.requests()[0].user, "show me more of this");
  EXPECT_EQ(std::vector(shown.begin(), shown.begin() + std::min<size_t>(3, shown.size())),
            (std::vector<std::string>{"working: Reading Safari\u2026", "working: Understanding\u2026",
                                      "working: Scroll down"}));
  EXPECT_TRUE(std::holds_alternative<ActionResult>(vm->phase()));
}

TEST_F(Palette, ChoicesArePickedByTheSelection) {
  open();
  run("click add to cart");
  auto* set = std::get_if<ChoiceSet>(&vm->phase());
  ASSERT_TRUE(set) << shown.back();
  ASSERT_EQ(set->options.size(), 3u);
  EXPECT_EQ(vm->selected(), 0);
  EXPECT_EQ(backend->highlighted(), set->options[0].element->frame);

  vm->move(-1);
  EXPECT_EQ(vm->selected(), 2);
  EXPECT_EQ(backend->highlighted(), set->options[2].element->frame);
  vm->move(+1);
  EXPECT_EQ(vm->selected(), 0);
  vm->move(+1);
  EXPECT_EQ(vm->selected(), 1);

  vm->pick(5);
  vm->pick(-1);
  EXPECT_TRUE(std::holds_alternative<ChoiceSet>(vm->phase()));
  EXPECT_FALSE(vm->busy());

  Rect chosen = *set->options[1].element->frame;
  backend->clearEvents();
  shown.clear();
  vm->submit();  // Return picks the highlighted option
  settle();
  EXPECT_EQ(shown.front(), "working: Working\u2026");
  ASSERT_TRUE(std::holds_alternative<ActionResult>(vm->phase())) << shown.back();
  auto events = backend->events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].type, Event::Type::press);
  EXPECT_EQ(chosen, kCartFrames[1]);
}

TEST_F(Palette, ReturnRunsTheConfirmedActionNotTheField) {
  open();
  run("click delete account");
  ASSERT_TRUE(std::holds_alternative<Confirmation>(vm->phase())) << shown.back();
  EXPECT_TRUE(backend->events().empty());
  vm->input = "read page";  // ignored while a confirmation is shown
  vm->submit();
  settle();
  auto* r = std::get_if<ActionResult>(&vm->phase());
  ASSERT_TRUE(r);
  EXPECT_NE(r->kind, ActionResult::Kind::failure) << r->headline;
  auto events = backend->events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].label, "Delete account");
}

TEST_F(Palette, EscapeStepsBackOneLevel) {
  open();
  EXPECT_FALSE(vm->escape());  // idle: the palette closes

  run("click add to cart");
  ASSERT_TRUE(std::holds_alternative<ChoiceSet>(vm->phase()));
  ASSERT_TRUE(backend->highlighted());
  vm->input = "click add to cart please";
  vm->inputChanged();  // typing discards the choice and its highlight
  EXPECT_TRUE(std::holds_alternative<PaletteViewModel::Idle>(vm->phase()));
  EXPECT_FALSE(backend->highlighted());
  vm->inputChanged();
  EXPECT_TRUE(std::holds_alternative<PaletteViewModel::Idle>(vm->phase()));

  run("Read page");
  EXPECT_TRUE(vm->escape());
  EXPECT_TRUE(std::holds_alternative<PaletteViewModel::Idle>(vm->phase()));
  EXPECT_FALSE(vm->escape());
}

TEST_F(Palette, EscapeWhileWorkingStopsTheCommandForGood) {
  StandInModel model({"scroll_down||0||"});
  ASSERT_TRUE(submitHeld(model));
  backend->runLoop().runPending();
  EXPECT_EQ(shown.back(), "working: Understanding\u2026");

  vm->inputChanged();  // typing while working changes nothing
  EXPECT_EQ(describe(vm->phase()), "working: Understanding\u2026");

  EXPECT_TRUE(vm->escape());
  ASSERT_TRUE(backend->runLoop().runUntil([&] { return !vm->busy(); }, 20.0));
  backend->runLoop().runPending();
  EXPECT_EQ(shown.back(), "idle");
  EXPECT_TRUE(backend->events().empty());
}

TEST_F(Palette, AClosedPaletteIsNotKeptAliveByItsCommand) {
  StandInModel model({"scroll_down||0||"});
  ASSERT_TRUE(submitHeld(model));
  std::weak_ptr<PaletteViewModel> weak = vm;
  vm.reset();
  EXPECT_TRUE(weak.expired());
  backend->runLoop().runPending();  // whatever the command posted finds no palette
  EXPECT_TRUE(backend->events().empty());
}

TEST_F(Palette, TypingOverAStreamingAnswerStopsIt) {
  StandInModel model({"Organic cotton shirts that ship within two days.", "Organic cotton shirts ship fast."});
  open(shop(), &model);
  run("Summarize this page");
  EXPECT_TRUE(showed("partial: Summary of **Shirts**"));
  auto* r = std::get_if<ActionResult>(&vm->phase());
  ASSERT_TRUE(r);
  EXPECT_FALSE(r->isPartial);
  EXPECT_EQ(r->body, "Organic cotton shirts that ship within two days.");

  // The second summary pauses after its first word until the user has typed; then it finishes
  // regardless, so only the palette can keep it off the screen.
  std::atomic<bool> holding = false, typed = false;
  model.beforePiece = [&](int piece) {
    if (piece < 1) return;
    holding = true;
    waitUntil([&] { return typed.load(); });
  };
  model.honoursStop = false;
  shown.clear();
  vm->input = "Summarize this page";
  vm->submit();
  ASSERT_TRUE(backend->runLoop().runUntil(
      [&] { return holding && describe(vm->phase()) == "partial: Summary of **Shirts**"; }, 20.0));
  vm->input = "Summarize this page again";
  vm->inputChanged();
  EXPECT_EQ(describe(vm->phase()), "idle");
  typed = true;
  settle();
  EXPECT_EQ(describe(vm->phase()), "idle");
  EXPECT_EQ(shown.back(), "idle");
}

TEST_F(Palette, ANewCommandReplacesTheOneStillRunning) {
  StandInModel model({"scroll_down||0||"});
  model.honoursStop = false;  // once released it answers, as if it had not noticed the stop
  ASSERT_TRUE(submitHeld(model));

  run("Read page");
  auto* r = std::get_if<ActionResult>(&vm->phase());
  ASSERT_TRUE(r) << shown.back();
  EXPECT_EQ(r->headline.rfind("Read **Shirts**", 0), 0u) << r->headline;
  EXPECT_TRUE(backend->events().empty());  // the replaced command never scrolled
  EXPECT_FALSE(showed("working: Scroll down"));
}

TEST_F(Palette, SuggestionsThatRunAreCommandsNotAnswersToTheQuestionOnScreen) {
  open();
  run("click delete account");
  ASSERT_TRUE(std::holds_alternative<Confirmation>(vm->phase()));
  vm->use(vm->suggestions()[0]);  // "Read page", not a yes to deleting the account
  settle();
  EXPECT_TRUE(backend->events().empty());
  auto* r = std::get_if<ActionResult>(&vm->phase());
  ASSERT_TRUE(r);
  EXPECT_EQ(r->headline.rfind("Read **Shirts**", 0), 0u) << r->headline;
}

TEST_F(Palette, RevealBringsAFoundItemIntoView) {
  open();
  vm->reveal(FoundItem{.text = "before any command", .element = std::nullopt});
  EXPECT_FALSE(vm->busy());

  run("find organic cotton");
  auto* r = std::get_if<ActionResult>(&vm->phase());
  ASSERT_TRUE(r && !r->items.empty()) << shown.back();
  ASSERT_TRUE(r->items[0].element);
  backend->clearEvents();
  vm->reveal(r->items[0]);
  settle();
  auto events = backend->events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].type, Event::Type::scroll);
  EXPECT_TRUE(backend->highlighted());
}

TEST_F(Palette, SuggestionsFillTheFieldOrRunAtOnce) {
  open();
  auto suggestions = vm->suggestions();
  ASSERT_EQ(suggestions.size(), 5u);
  const std::string token = vm->focusToken();
  vm->use(suggestions[2]);  // "Find…"
  EXPECT_EQ(vm->input, "Find ");
  EXPECT_NE(vm->focusToken(), token);
  EXPECT_FALSE(vm->busy());
  EXPECT_TRUE(std::holds_alternative<PaletteViewModel::Idle>(vm->phase()));

  vm->use(suggestions[0]);  // "Read page"
  settle();
  EXPECT_TRUE(showed("working: Read page"));
}

}  // namespace
}  // namespace skimlet
