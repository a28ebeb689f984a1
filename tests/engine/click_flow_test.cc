// Clicking on recorded pages: choosing the element, the questions asked before risky presses,
// near-ties settled by a model or by the user, and what happens when a press doesn't take.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/engine_on_page.h"
#include "support/forwarding_ax.h"
#include "support/page_builder.h"
#include "support/stand_in_model.h"

namespace skimlet {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using testing::EngineOnPage;
using testing::StandInModel;
using ::testing::StartsWith;

TEST(ClickFlow, ClearWinnerIsPressed) {
  EngineOnPage page("engine_checkout.json");
  ActionResult r = page.result("click sign in");
  EXPECT_EQ(r.kind, ActionResult::Kind::success);
  EXPECT_EQ(r.headline, "Clicked **Sign in**");
  EXPECT_EQ(r.body, std::nullopt);
  // The trail says which element was chosen and that pressing it worked.
  EXPECT_EQ(r.debug.front(), "Intent: Click “sign in”");
  EXPECT_THAT(r.debug, Contains(StartsWith("Selected: Button “Sign in”")));
  EXPECT_EQ(r.debug.back(), "AXPress succeeded");
  EXPECT_THAT(page.eventLines(), ElementsAre("press AXButton “Sign in”"));
  EXPECT_EQ(page.backend->highlighted(), (Rect{1100, 100, 80, 30}));
}

TEST(ClickFlow, OtherNamesForSigningInFindTheButton) {
  // Through another name of the group at 95; the same words run together at 96.
  const std::pair<const char*, const char*> cases[] = {
      {"click login", "(score 95)"}, {"click log in", "(score 95)"}, {"click signin", "(score 96)"}};
  for (const auto& [typed, score] : cases) {
    EngineOnPage page("engine_checkout.json");
    ActionResult r = page.result(typed);
    EXPECT_EQ(r.headline, "Clicked **Sign in**") << typed;
    EXPECT_THAT(r.debug, Contains(::testing::EndsWith(score))) << typed;
  }
}

TEST(ClickFlow, RiskyLabelsAskFirstByWholeWordsInRuleOrder) {
  struct Case {
    const char* page;
    const char* typed;
    const char* label;
    const char* message;  // empty: pressed without asking
  };
  const std::string purchase = "This may submit a purchase.";
  const std::string cancels = "This may delete content or cancel something.";
  const std::string account = "This may change your account or security settings.";
  const std::string agreement = "This may confirm an agreement or consequential action.";
  const Case cases[] = {
      {"engine_checkout.json", "click pay now", "Pay now", purchase.c_str()},
      {"engine_checkout.json", "click payment methods", "Payment methods", ""},            // "pay" is not a word of it
      {"engine_checkout.json", "click confirm order", "Confirm order", purchase.c_str()},  // before "confirm"
      {"account_settings.json", "click delete account", "Delete account", cancels.c_str()},  // "delete" first
      {"account_settings.json", "click unsubscribe from all", "Unsubscribe from all", cancels.c_str()},
      {"account_settings.json", "click subscribe", "Subscribe", agreement.c_str()},
      {"account_settings.json", "click turn off two-factor authentication", "Turn off two-factor authentication",
       account.c_str()},
      {"account_settings.json", "click change password", "Change password", account.c_str()},
      {"account_settings.json", "click postcode lookup", "Postcode lookup", ""},  // "post" is not a word of it
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.typed);
    EngineOnPage page(c.page);
    Outcome o = page.command(c.typed);
    if (std::string(c.message).empty()) {
      ASSERT_NE(o.result(), nullptr);
      EXPECT_EQ(o.result()->headline, "Clicked **" + std::string(c.label) + "**");
      EXPECT_EQ(page.events().size(), 1u);
      continue;
    }
    const Confirmation* confirm = o.confirm();
    ASSERT_NE(confirm, nullptr);
    EXPECT_EQ(confirm->title, "Click “" + std::string(c.label) + "”?");
    EXPECT_EQ(confirm->message, c.message);
    EXPECT_EQ(confirm->confirmLabel, "Click");
    EXPECT_TRUE(confirm->debug.back().starts_with("Element: AXButton (")) << confirm->debug.back();
    EXPECT_TRUE(page.events().empty());      // nothing happens before the user says yes
    if (std::string(c.label).size() > 30) {  // long labels are cut in the candidates line
      EXPECT_THAT(confirm->debug, Contains("Candidates: “Turn off two-factor authentic…” 100"));
    }

    ActionResult done = confirm->perform();
    EXPECT_EQ(done.headline, "Clicked **" + std::string(c.label) + "**");
    EXPECT_EQ(done.debug.back(), "AXPress succeeded");
    EXPECT_THAT(page.eventLines(), ElementsAre("press AXButton “" + std::string(c.label) + "”"));
  }
}

TEST(ClickFlow, EqualCandidatesAreOfferedWithWhereTheySit) {
  EngineOnPage page("engine_checkout.json");
  Outcome o = page.command("click save");
  const ChoiceSet* choice = o.choose();
  ASSERT_NE(choice, nullptr);
  EXPECT_EQ(choice->prompt, "Which one do you mean?");
  ASSERT_EQ(choice->options.size(), 2u);
  EXPECT_EQ(choice->options[0].title, "Save");
  EXPECT_EQ(choice->options[0].subtitle, "Button · under “Preferences” · middle of view");
  EXPECT_EQ(choice->options[1].subtitle, "Button · under “Preferences” · bottom of view");
  EXPECT_NE(choice->options[0].id, choice->options[1].id);
  EXPECT_TRUE(page.events().empty());

  Outcome picked = choice->options[1].run();
  ASSERT_NE(picked.result(), nullptr);
  EXPECT_EQ(picked.result()->headline, "Clicked **Save**");
  EXPECT_THAT(picked.result()->debug,
              ElementsAre("Picked by you from Button · under “Preferences” · bottom of view",
                          "Element: AXButton (20,760 80×30) actions=AXPress", "AXPress succeeded"));
  EXPECT_EQ(page.backend->highlighted(), (Rect{20, 760, 80, 30}));

  // A risky pick still asks before pressing.
  Outcome removes = page.command("click remove");
  ASSERT_NE(removes.choose(), nullptr);
  EXPECT_EQ(removes.choose()->options[0].subtitle, "Button · under “Your order” · top of view");
  Outcome second = removes.choose()->options[0].run();
  ASSERT_NE(second.confirm(), nullptr);
  EXPECT_EQ(second.confirm()->message, "This may delete content or cancel something.");
}

TEST(ClickFlow, AModelSettlesATie) {
  StandInModel model({"1"});
  EngineOnPage page("engine_checkout.json", &model);
  ActionResult r = page.result("click save");
  EXPECT_EQ(r.headline, "Clicked **Save**");
  EXPECT_THAT(r.debug, Contains("Ambiguous — on-device model picked “Save”"));
  EXPECT_EQ(page.backend->highlighted(), (Rect{20, 760, 80, 30}));
  ASSERT_EQ(model.requests().size(), 1u);
  EXPECT_EQ(model.requests()[0].user,
            "User wants: “save”\nOptions:\n0: Button: Save — Preferences\n1: Button: Save — Preferences");

  // "add to basket" finds the seven "Add to cart" buttons through their other name.
  StandInModel declines({"-1"});
  EngineOnPage shop("engine_checkout.json", &declines);
  TargetSpec basket;
  basket.query = "add to basket";
  Outcome o = shop.outcome(intents::Click{basket});
  ASSERT_NE(o.choose(), nullptr);
  EXPECT_EQ(o.choose()->options.size(), 6u);
  EXPECT_EQ(o.choose()->options[5].subtitle, "Button · under “Saved items” · middle of view");
  EXPECT_TRUE(shop.events().empty());
}

TEST(ClickFlow, OrdinalsPickOneWithoutAsking) {
  EngineOnPage page("engine_checkout.json");
  ActionResult third = page.result("click the third add to cart button");
  EXPECT_EQ(third.headline, "Clicked **Add to cart**");
  EXPECT_THAT(third.debug, Contains("Selected: Button “Add to cart” — #3 of 7 matching (score 100)"));
  EXPECT_EQ(page.backend->highlighted(), (Rect{340, 340, 120, 30}));

  ActionResult last = page.result("click the last add to cart button");
  EXPECT_THAT(last.debug, Contains("Selected: Button “Add to cart” — last of 7 matching (score 100)"));
  EXPECT_EQ(page.backend->highlighted(), (Rect{980, 340, 120, 30}));

  page.backend->clearEvents();
  ActionResult ninth = page.result("click the ninth add to cart button");
  EXPECT_EQ(ninth.kind, ActionResult::Kind::failure);
  EXPECT_EQ(ninth.headline, "Couldn't find ninth “add to cart” button");
  EXPECT_EQ(ninth.body, "Try different wording, or ask “What buttons are available here?”");
  EXPECT_THAT(ninth.debug, Contains("Candidates: none"));
  EXPECT_TRUE(page.events().empty());
}

TEST(ClickFlow, NextToRanksByDistanceToTheAnchor) {
  EngineOnPage account("account_settings.json");
  ActionResult r = account.result("click edit next to phone number");
  EXPECT_EQ(r.headline, "Clicked **Edit**");
  EXPECT_THAT(r.debug, Contains("Selected: Button “Edit” — nearest to “phone number” (10 pt) (score 98)"));
  EXPECT_EQ(account.backend->highlighted(), (Rect{190, 252, 48, 28}));

  ActionResult nowhere = account.result("click edit next to fax number");
  EXPECT_EQ(nowhere.headline, "Couldn't find “edit” next to “fax number”");

  // Rows 40 points apart are within six points of each other: the user picks, nearest first.
  EngineOnPage checkout("engine_checkout.json");
  Outcome o = checkout.command("click remove next to red teapot");
  ASSERT_NE(o.choose(), nullptr);
  ASSERT_EQ(o.choose()->options.size(), 2u);
  EXPECT_EQ(o.choose()->options[0].element->frame, (Rect{300, 180, 80, 24}));
}

// A gift-card form: the "Gift card" label and "Apply" buttons placed so that next-to scores
// land exactly on the flow's limits (100 − 0.125 per point of gap).
memory::Recording giftCardForm(Rect first, Rect second) {
  using testing::Node;
  auto placed = [](Node n, Rect at) {
    n.frame = at;
    return n;
  };
  return testing::browserWindow({placed(testing::text("Gift card"), Rect{40, 200, 100, 20}),
                                 placed(testing::button("Apply"), first), placed(testing::button("Apply"), second)},
                                "com.apple.Safari", "https://shop.example/cart", "Cart");
}

TEST(ClickFlow, NearTiesAreOffered) {
  auto selected = [](const ActionResult& r) {
    for (const auto& line : r.debug)
      if (line.starts_with("Selected: ")) return line;
    return std::string();
  };
  {  // 6.0 points behind the best still competes.
    EngineOnPage page(giftCardForm({140, 200, 80, 20}, {40, 268, 80, 20}));
    ASSERT_NE(page.command("click apply next to gift card").choose(), nullptr);
  }
  {  // 6.01 behind does not.
    EngineOnPage page(giftCardForm({140, 200, 80, 20}, {40, 268.08, 80, 20}));
    ActionResult r = page.result("click apply next to gift card");
    EXPECT_EQ(selected(r), "Selected: Button “Apply” — nearest to “gift card” (0 pt) (score 100)");
  }
  {  // A lone best of exactly 45 is pressed without asking the model.
    StandInModel model({"1"});
    EngineOnPage page(giftCardForm({580, 200, 80, 20}, {40, 720, 80, 20}), &model);
    ActionResult r = page.result("click apply next to gift card");
    EXPECT_EQ(selected(r), "Selected: Button “Apply” — nearest to “gift card” (440 pt) (score 45)");
    EXPECT_TRUE(model.requests().empty());
  }
  {  // Just below 45 the model is asked, and its pick is pressed.
    StandInModel model({"1"});
    EngineOnPage page(giftCardForm({580.8, 200, 80, 20}, {40, 720, 80, 20}), &model);
    ActionResult r = page.result("click apply next to gift card");
    EXPECT_THAT(r.debug, Contains("Low confidence — on-device model picked #1"));
    EXPECT_EQ(page.backend->highlighted(), (Rect{40, 720, 80, 20}));
    ASSERT_EQ(model.requests().size(), 1u);
    EXPECT_EQ(model.requests()[0].user,
              "User wants: “apply” next to “gift card”\nOptions:\n0: Button: Apply\n1: Button: Apply");
  }
  {  // Without a model the best one is still pressed.
    EngineOnPage page(giftCardForm({580.8, 200, 80, 20}, {40, 720, 80, 20}));
    EXPECT_EQ(page.result("click apply next to gift card").headline, "Clicked **Apply**");
    EXPECT_EQ(page.backend->highlighted(), (Rect{580.8, 200, 80, 20}));
  }
  {  // A single candidate, however weak, is pressed without asking anybody.
    StandInModel model({"0"});
    memory::Recording lone = giftCardForm({860, 200, 80, 20}, {0, 0, 0, 0});
    EngineOnPage page(lone, &model);
    ActionResult r = page.result("click apply next to gift card");
    EXPECT_EQ(selected(r), "Selected: Button “Apply” — nearest to “gift card” (720 pt) (score 10)");
    EXPECT_TRUE(model.requests().empty());
  }
}

TEST(ClickFlow, OneControlSeenTwiceIsOneCandidate) {
  using testing::Node;
  Node inner = testing::button("Continue");
  inner.frame = Rect{102, 202, 116, 26};
  Node outer = testing::button("Continue");  // a link styled as a button, with a button inside
  outer.role = "AXLink";
  outer.url = "https://shop.example/checkout";
  outer.frame = Rect{100, 200, 120, 30};
  outer.children = {inner};
  EngineOnPage page(testing::browserWindow({outer}));
  ActionResult r = page.result("click continue");
  EXPECT_EQ(r.headline, "Clicked **Continue**");
  EXPECT_THAT(r.debug, Contains("Candidates: “Continue” 100"));
}

TEST(ClickFlow, PressFallsBackToAMouseClickOnlyWhereThereIsSomethingToAimAt) {
  EngineOnPage page("engine_checkout.json");

  ActionResult details = page.result("click show details");  // the action is unsupported
  EXPECT_EQ(details.headline, "Clicked **Show details**");
  EXPECT_THAT(details.debug,
              ::testing::IsSupersetOf({"AXPress failed (-25206)", "Falling back to a mouse click at element center"}));
  ActionResult coupon = page.result("click apply coupon");  // cannot complete, but still on screen
  EXPECT_EQ(coupon.kind, ActionResult::Kind::success);
  EXPECT_THAT(coupon.debug, Contains("AXPress failed (-25204)"));
  EXPECT_THAT(page.eventLines(), ElementsAre("mouseClick at (80, 695)", "mouseClick at (260, 695)"));

  page.backend->clearEvents();
  ActionResult expired = page.result("click expired coupon");  // gone from the page, no frame
  EXPECT_EQ(expired.kind, ActionResult::Kind::failure);
  EXPECT_EQ(expired.headline, "That element is no longer available");
  EXPECT_EQ(expired.body, "The page changed after it was read. Try the command again.");
  EXPECT_THAT(expired.debug,
              ::testing::IsSupersetOf({"Element: AXGroup no frame actions=AXPress", "AXPress failed (-25202)"}));
  ActionResult wrap = page.result("click gift wrap");  // no action, no frame
  EXPECT_EQ(wrap.headline, "Couldn't click “Gift wrap”");
  EXPECT_EQ(wrap.body, "The element doesn't support pressing and has no on-screen position.");
  EXPECT_TRUE(page.events().empty());  // never a click at (0,0)

  // Squashed flat since the page was read: a control that refuses the action has nothing left to
  // aim at; one the browser could not press right then still has its place on screen.
  struct Flattened : testing::ForwardingAx {
    using ForwardingAx::ForwardingAx;
    ax::Error copyAttributeValue(const ax::ElementRef& e, std::string_view name, ax::Value& out) override {
      ax::Error error = inner_.copyAttributeValue(e, name, out);
      if (auto* size = std::get_if<Size>(&out); name == "AXSize" && size) size->height = 0;
      return error;
    }
  } flattened(page.platform.ax);
  const Platform& p = page.platform;
  page.engine = ActionEngine::create(
      *page.backend->target(),
      Platform{flattened, p.workspace, p.input, p.pasteboard, p.highlighter, p.dispatch, p.clock, p.settings},
      LocalAI(nullptr, nullptr));
  EXPECT_EQ(page.result("click show details").headline, "Couldn't click “Show details”");
  EXPECT_EQ(page.result("click apply coupon").headline, "Clicked **Apply coupon**");
  EXPECT_THAT(page.eventLines(), ElementsAre("mouseClick at (260, 680)"));
}

TEST(ClickFlow, NothingMatchesSoTheModelMayPickFromWhatCanBePressed) {
  EngineOnPage page("account_settings.json");
  ActionResult r = page.result("click zebra");
  EXPECT_EQ(r.kind, ActionResult::Kind::failure);
  EXPECT_EQ(r.headline, "Couldn't find “zebra”");
  EXPECT_EQ(r.body, "Try different wording, or ask “What buttons are available here?”");
  EXPECT_THAT(r.debug, Contains("Candidates: none"));

  StandInModel model({"7"});
  EngineOnPage helped("account_settings.json", &model);
  ActionResult picked = helped.result("click zebra");
  EXPECT_EQ(picked.headline, "Clicked **Product updates**");
  EXPECT_THAT(picked.debug, Contains("Selected: CheckBox “Product updates” — chosen by on-device model (score 0)"));
  ASSERT_EQ(model.requests().size(), 1u);
  EXPECT_TRUE(model.requests()[0].user.starts_with(
      "User wants: “zebra”\nOptions:\n0: Button: Edit\n1: Button: Edit\n2: Button: Edit\n3: Button: Change password\n"))
      << model.requests()[0].user;

  // Nothing to offer (no links here), or no words to go by: the model is not asked.
  StandInModel unused({"0"});
  EngineOnPage strict("account_settings.json", &unused);
  EXPECT_EQ(strict.result("open the zebra link").headline, "Couldn't find “zebra” link");
  TargetSpec twentieth;
  twentieth.ordinal = 20;
  twentieth.role = RoleHint::button;
  EXPECT_EQ(strict.run(intents::Click{twentieth}).headline, "Couldn't find " + twentieth.summary());
  EXPECT_TRUE(unused.requests().empty());
  EXPECT_TRUE(strict.events().empty());
}

TEST(ClickFlow, AQuestionLeftOpenAfterTheCommandEndedDoesNothing) {
  EngineOnPage page("engine_checkout.json");
  Outcome pay = page.command("click pay now");
  Outcome save = page.command("click save");
  ASSERT_NE(pay.confirm(), nullptr);
  ASSERT_NE(save.choose(), nullptr);
  page.engine.reset();
  EXPECT_EQ(pay.confirm()->perform().kind, ActionResult::Kind::failure);
  EXPECT_EQ(save.choose()->options[0].run().result()->kind, ActionResult::Kind::failure);
  EXPECT_TRUE(page.events().empty());
}

}  // namespace
}  // namespace skimlet
