// Typing on a recorded sign-up form: into the focused field or one named, keystrokes first and
// the field's value where they don't arrive, secrets never shown, and the saved profile.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/engine_on_page.h"
#include "support/stand_in_model.h"

namespace skimlet {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using testing::EngineOnPage;
using ::testing::HasSubstr;
using ::testing::Not;
using testing::StandInModel;
using Lines = std::vector<std::string>;

TargetSpec fieldNamed(std::string query) {
  TargetSpec spec;
  spec.query = std::move(query);
  spec.role = RoleHint::field;
  return spec;
}

std::string valueOf(EngineOnPage& page, std::string_view label) {
  auto field = page.backend->find("AXTextField", label);
  if (!field) field = page.backend->find("AXTextArea", label);
  return field ? page.backend->value(*field) : "(no such field)";
}

// The sign-up form with nothing focused.
memory::Recording nothingFocused() {
  memory::Recording r = testing::recordedPage("engine_signup.json");
  for (auto& n : r.window.children.at(1).children) n.focused = false;
  return r;
}

TEST(TypeFlow, TheFocusedFieldWithoutReadingThePage) {
  EngineOnPage page("engine_signup.json");
  ActionResult r = page.result("type hello");
  EXPECT_EQ(r.kind, ActionResult::Kind::success);
  EXPECT_EQ(r.headline, "Typed in **focused field** with “hello”");
  EXPECT_THAT(r.debug, ElementsAre("Intent: Type “hello”", "Browser: Google Chrome (Chrome adapter)",
                                   "Typing into the focused AXTextField", "Typed via keyboard events"));
  EXPECT_THAT(page.eventLines(), ElementsAre("focus AXTextField “Search”", "type “hello”"));
  EXPECT_EQ(valueOf(page, "Search"), "hello");
  EXPECT_EQ(page.backend->highlighted(), (Rect{900, 40, 200, 30}));
}

TEST(TypeFlow, ANamedFieldAppendsOrReplaces) {
  EngineOnPage page("engine_signup.json");
  ActionResult r = page.run(intents::Type{"Ada", fieldNamed("first name"), false});
  EXPECT_EQ(r.headline, "Typed in **First name** with “Ada”");
  EXPECT_THAT(Lines(r.debug.begin() + 4, r.debug.end()),
              ElementsAre("Field: Element: AXTextField (20,120 300×30) actions=", "Typed via keyboard events"));
  EXPECT_EQ(valueOf(page, "First name"), "Ada");

  page.backend->clearEvents();
  page.run(intents::Type{" world", fieldNamed("comment"), false});
  EXPECT_EQ(valueOf(page, "Comment"), "Hello world");  // the old text stays in front
  EXPECT_THAT(page.eventLines(), ElementsAre("focus AXTextArea “Comment”", "type “ world”"));

  page.backend->clearEvents();
  ActionResult filled = page.run(intents::Type{"Bye", fieldNamed("comment"), true});
  EXPECT_EQ(filled.headline, "Filled **Comment** with “Bye”");
  EXPECT_THAT(page.eventLines(), ElementsAre("focus AXTextArea “Comment”", "key 0 flags 0x100000", "type “Bye”"));
  EXPECT_EQ(valueOf(page, "Comment"), "Bye");
}

TEST(TypeFlow, KeystrokesThatDontArriveSetTheValue) {
  memory::Recording r = testing::recordedPage("engine_signup.json");
  r.window.children.at(1).children.at(7).value = std::string("SPRING");  // "Promo code"
  EngineOnPage page(r);
  ActionResult promo = page.result("enter 10 in the promo code field");
  EXPECT_EQ(promo.kind, ActionResult::Kind::success);
  EXPECT_EQ(promo.debug.back(), "Keystrokes didn't register; set AXValue directly");
  EXPECT_THAT(page.eventLines(), ElementsAre("focus AXTextField “Promo code”", "type “10”",
                                             "setValue AXTextField “Promo code” = “SPRING10”"));

  page.backend->clearEvents();
  ActionResult replaced = page.run(intents::Type{"SAVE10", fieldNamed("promo code"), true});
  EXPECT_EQ(replaced.headline, "Filled **Promo code** with “SAVE10”");
  EXPECT_EQ(page.events().back().value, "SAVE10");

  // Neither keystrokes nor a settable value: nothing was typed.
  ActionResult legacy = page.result("type hi into legacy notes");
  EXPECT_EQ(legacy.kind, ActionResult::Kind::failure);
  EXPECT_EQ(legacy.headline, "Couldn't type into **Legacy notes**");
  EXPECT_EQ(legacy.body, "The field didn't accept input.");
  EXPECT_EQ(legacy.debug.back(), "Typed via keyboard events");
}

TEST(TypeFlow, SecretsAreNeverShown) {
  EngineOnPage page("engine_signup.json");
  ActionResult r = page.result("type hunter2 into the password field");
  EXPECT_EQ(r.headline, "Typed in **Password** with “••••••••”");
  // Not even in the Why? lines, where the command's own words are quoted, whole or cut short.
  EXPECT_THAT(r.debug, Not(Contains(HasSubstr("hunter2"))));
  EXPECT_EQ(r.debug[0], "Intent: Type “••••••••” in “password” field");
  EXPECT_THAT(page.eventLines(), ElementsAre("focus AXTextField “Password”", "type “••••••••”"));
  EXPECT_EQ(valueOf(page, "Password"), "hunter2");
  const std::string longSecret = "correct horse battery staple";
  ActionResult cut = page.run(intents::Type{longSecret, fieldNamed("password"), true});
  EXPECT_THAT(cut.debug, Not(Contains(HasSubstr("correct horse"))));

  // Where the value has to be set, the event is masked too.
  memory::Recording r2 = testing::recordedPage("engine_signup.json");
  r2.window.children.at(1).children.at(5).keystrokes = false;
  EngineOnPage refusing(r2);
  refusing.backend->settings().setString("profile.name", "Ada Lovelace");
  ActionResult filled = refusing.run(intents::FillProfile{ProfileField::name, fieldNamed("password")});
  EXPECT_EQ(filled.headline, "Filled **Password** with “••••••••”");
  EXPECT_EQ(refusing.events().back().type, Event::Type::setValue);
  EXPECT_EQ(refusing.events().back().value, "••••••••");
}

TEST(TypeFlow, LongTextIsCutInTheHeadlineOnly) {
  const std::string forty(40, 'x');
  EngineOnPage page("engine_signup.json");
  EXPECT_EQ(page.run(intents::Type{forty, std::nullopt, true}).headline,
            "Filled **focused field** with “" + forty + "”");
  ActionResult longer = page.run(intents::Type{forty + "y", std::nullopt, true});
  EXPECT_EQ(longer.headline, "Filled **focused field** with “" + std::string(39, 'x') + "…”");
  EXPECT_EQ(valueOf(page, "Search"), forty + "y");
  EXPECT_EQ(page.run(intents::Type{"2*3", std::nullopt, true}).headline, "Filled **focused field** with “2\\*3”");
}

TEST(TypeFlow, NothingIsTypedWithoutAField) {
  EngineOnPage page(nothingFocused());
  ActionResult r = page.result("type hello");
  EXPECT_EQ(r.kind, ActionResult::Kind::failure);
  EXPECT_EQ(r.headline, "No text field is focused");
  EXPECT_EQ(r.body, "Click a field first, or say “Type … into the email field”.");

  ActionResult unknown = page.result("type hi into the zebra field");
  EXPECT_EQ(unknown.headline, "Couldn't find that field");
  EXPECT_EQ(unknown.body, "Ask “What fields are on this page?” to see what's available.");

  EXPECT_EQ(page.run(intents::Type{"", std::nullopt, false}).headline, "Nothing to type");
  EXPECT_TRUE(page.events().empty());
}

TEST(TypeFlow, CloseFieldsGoToTheModelThenToTheUser) {
  EngineOnPage page("engine_signup.json");
  Outcome o = page.command("type Lovelace into the name field");
  const ChoiceSet* choice = o.choose();
  ASSERT_NE(choice, nullptr);
  ASSERT_EQ(choice->options.size(), 2u);
  EXPECT_EQ(choice->options[0].title, "First name");
  EXPECT_EQ(choice->options[1].title, "Last name");
  EXPECT_EQ(choice->options[1].subtitle, "Contact details");
  EXPECT_TRUE(page.events().empty());
  Outcome typed = choice->options[1].run();
  ASSERT_NE(typed.result(), nullptr);
  EXPECT_EQ(typed.result()->headline, "Typed in **Last name** with “Lovelace”");
  EXPECT_EQ(valueOf(page, "Last name"), "Lovelace");

  StandInModel model({"1"});
  EngineOnPage helped("engine_signup.json", &model);
  EXPECT_EQ(helped.result("type Lovelace into the name field").headline, "Typed in **Last name** with “Lovelace”");
  ASSERT_EQ(model.requests().size(), 1u);
  EXPECT_EQ(model.requests()[0].user, "User wants: “name” field\nOptions:\n0: First name\n1: Last name");
}

TEST(FillProfile, NeverInventsAValue) {
  EngineOnPage page("engine_signup.json");
  page.backend->settings().setString("profile.email", "  ada@example.com \n");
  ActionResult r = page.run(intents::FillProfile{ProfileField::email, fieldNamed("email")});
  EXPECT_EQ(r.headline, "Filled **Email address** with “ada@example.com”");
  EXPECT_EQ(r.debug.at(2), "Using saved profile email");
  EXPECT_EQ(valueOf(page, "Email address"), "ada@example.com");

  page.backend->settings().setString("profile.phone", "+44 20 7946 0000");
  EXPECT_EQ(page.result("fill in my phone").headline, "Filled **focused field** with “\\+44 20 7946 0000”");

  EngineOnPage empty("engine_signup.json");
  empty.backend->settings().setString("profile.name", " \t");
  ActionResult none = empty.result("fill in my name");
  EXPECT_EQ(none.kind, ActionResult::Kind::failure);
  EXPECT_EQ(none.headline, "No name saved");
  EXPECT_EQ(none.body,
            "Skimlet never invents personal details. Add your name in Settings, or say “Enter …” with the exact text.");
  EXPECT_EQ(none.debug.size(), 2u);  // the page was never read
  EXPECT_EQ(empty.result("fill in my email").headline, "No email saved");
  EXPECT_TRUE(empty.events().empty());
}

}  // namespace
}  // namespace skimlet
