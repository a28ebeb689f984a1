// Typed commands carried out on a live Chromium, exactly as the palette runs them, and checked
// against what the page itself says happened: its scripts' state, its fields' values, the focused
// element, its location, its tabs, its scroll position, the clipboard.
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>

#include "engine/profile.h"
#include "live_fixture.h"
#include "support/http_server.h"

namespace skimlet::testing {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using Kind = ActionResult::Kind;

class LiveCommands : public LiveTest {
 protected:
  std::string value(const std::string& id) {
    return js("document.getElementById('" + id + "').value").get<std::string>();
  }
  std::string text(const std::string& id) {
    return js("document.getElementById('" + id + "').textContent").get<std::string>();
  }
  bool checked(const std::string& id) { return js("document.getElementById('" + id + "').checked").get<bool>(); }
  std::string focusedId() { return js("document.activeElement ? document.activeElement.id : ''").get<std::string>(); }
  std::string title() { return js("document.title").get<std::string>(); }
  std::string location() { return js("location.href").get<std::string>(); }
  double scrollY() { return js("scrollY").get<double>(); }
  // Whether the element's top edge is inside the viewport.
  bool inView(const std::string& selector) {
    return js("(() => { const r = document.querySelector('" + selector +
              "').getBoundingClientRect(); return r.top >= 0 && r.top < innerHeight; })()")
        .get<bool>();
  }
  std::vector<std::string> tabTitles() {
    std::vector<std::string> titles;
    for (const auto& tab : browser().tabs()) titles.push_back(browser().titleOf(tab.targetId));
    return titles;
  }
  std::string pasteboard() { return session().platform().pasteboard.string().value_or("(empty)"); }
  static std::vector<std::string> itemTexts(const ActionResult& r) {
    std::vector<std::string> texts;
    for (const auto& i : r.items) texts.push_back(i.text);
    return texts;
  }
  // The result after accepting the outcome's confirmation.
  ActionResult accept(const Outcome& outcome) {
    const Confirmation* c = outcome.confirm();
    if (!c) {
      ADD_FAILURE() << "no confirmation was asked";
      return ActionResult::failure("no confirmation");
    }
    ActionResult r = c->perform();
    session().runLoop().runPending();
    return r;
  }
};

TEST_F(LiveCommands, SignInClicksAndTypesIntoNamedAndFocusedFields) {
  load("signin.html");
  ActionResult click = result("click Remember me");
  EXPECT_EQ(click.kind, Kind::success);
  EXPECT_EQ(click.headline, "Clicked **Remember me**");
  EXPECT_THAT(click.debug, Contains("AXPress succeeded"));
  EXPECT_TRUE(checked("remember"));

  ActionResult typed = result("type me@example.com into the email field");
  EXPECT_EQ(typed.kind, Kind::success);
  EXPECT_EQ(typed.headline, "Typed in **Email address** with “me@example.com”");
  EXPECT_EQ(value("email"), "me@example.com");
  EXPECT_EQ(focusedId(), "email");
  EXPECT_THAT(typed.debug, Contains("Typed via keyboard events")) << "the page's own key handling took the text";

  // The field now has focus, so a bare "type" adds to it and "replace" swaps its text.
  ActionResult more = result("type x2");
  EXPECT_EQ(more.headline, "Typed in **focused field** with “x2”");
  EXPECT_THAT(more.debug, Contains("Typing into the focused AXTextField"));
  EXPECT_EQ(value("email"), "me@example.comx2");
  EXPECT_EQ(result("replace it with you@example.org").headline, "Filled **focused field** with “you@example.org”");
  EXPECT_EQ(value("email"), "you@example.org");

  // A text area and a field picked by its label among several.
  EXPECT_EQ(result("write first line into notes").kind, Kind::success);
  EXPECT_EQ(value("notes"), "first line");
  EXPECT_EQ(focusedId(), "notes");
  EXPECT_EQ(result("fill the search field with harbour maps").headline,
            "Filled **Search the shop** with “harbour maps”");
  EXPECT_EQ(value("search"), "harbour maps");

  // Return in a field submits its form (through its default button, as browsers do); a press of
  // the button does the same.
  result("click Full name field");
  EXPECT_EQ(focusedId(), "name");
  ActionResult enter = result("press enter");
  EXPECT_EQ(enter.headline, "Pressed **Return**");
  EXPECT_EQ(text("status"), "Submitted as you@example.org");
  EXPECT_EQ(js("window.clicks.join(',')"), "submit");
  js("document.getElementById('status').textContent = ''");
  EXPECT_EQ(result("click the Sign in button").headline, "Clicked **Sign in**");
  EXPECT_EQ(js("window.clicks.join(',')"), "submit,submit");
  EXPECT_EQ(text("status"), "Submitted as you@example.org");
  // Tab walks on from the field just filled.
  result("type 555 1234 into the phone field");
  EXPECT_EQ(result("press tab").headline, "Pressed **Tab**");
  EXPECT_EQ(focusedId(), "password");

  // With nothing focused and no field named, nothing is typed anywhere.
  load("signin.html");
  ActionResult nowhere = result("type hello");
  EXPECT_EQ(nowhere.kind, Kind::failure);
  EXPECT_EQ(nowhere.headline, "No text field is focused");
  EXPECT_EQ(js("[...document.querySelectorAll('input,textarea')].map(e => e.value).join('')"), "on");
}

TEST_F(LiveCommands, SignInProfileAndPasswordNeverShown) {
  load("signin.html");
  settings_->setString(Profile::key(ProfileField::name), "Ada Lovelace");
  settings_->setString(Profile::key(ProfileField::email), "ada@example.com");
  settings_->remove(Profile::key(ProfileField::phone));

  ActionResult name = result("type my name into the full name field");
  EXPECT_EQ(name.kind, Kind::success);
  EXPECT_EQ(name.headline, "Filled **Full name** with “Ada Lovelace”");
  EXPECT_THAT(name.debug, Contains("Using saved profile name"));
  EXPECT_EQ(value("name"), "Ada Lovelace");

  // Filling replaces what the field held.
  js("document.getElementById('email').value = 'old@example.com'");
  EXPECT_EQ(result("enter my email in the email address field").headline,
            "Filled **Email address** with “ada@example.com”");
  EXPECT_EQ(value("email"), "ada@example.com");
  // Into the focused field when no field is named.
  result("click the Notes field");
  EXPECT_EQ(result("fill in my email").headline, "Filled **focused field** with “ada@example.com”");
  EXPECT_EQ(value("notes"), "ada@example.com");

  ActionResult phone = result("fill in my phone");
  EXPECT_EQ(phone.kind, Kind::failure);
  EXPECT_EQ(phone.headline, "No phone saved");
  EXPECT_EQ(value("phone"), "");

  // A password is typed for real, and shown nowhere: not in the headline, not in any Why? line,
  // not in the events.
  session().clearEvents();
  Outcome secret = command("type hunter2secret into the password field");
  ASSERT_TRUE(secret.result());
  EXPECT_EQ(secret.result()->headline, "Typed in **Password** with “••••••••”");
  EXPECT_EQ(value("password"), "hunter2secret");
  EXPECT_THAT(shown(secret), Each(Not(HasSubstr("hunter2"))));
  std::vector<std::string> events;
  for (const auto& e : session().events()) events.push_back(describe(e));
  EXPECT_THAT(events, Contains(HasSubstr(std::string(maskedText)))) << "the typing is logged, masked";
  EXPECT_THAT(events, Each(Not(HasSubstr("hunter2"))));
  // A profile value typed into a password field is masked the same way.
  Outcome profileSecret = command("type my name into the password field");
  ASSERT_TRUE(profileSecret.result());
  EXPECT_EQ(profileSecret.result()->headline, "Filled **Password** with “••••••••”");
  EXPECT_THAT(shown(profileSecret), Each(Not(HasSubstr("Ada"))));
  EXPECT_EQ(value("password"), "Ada Lovelace");
  EXPECT_EQ(session().pageState().focusedValue, std::optional<std::string>(maskedText));
}

TEST_F(LiveCommands, SignInToolbarNavigationAndClipboardKeys) {
  load("signin.html");
  // Copy and paste between fields through the keyboard commands.
  result("type copy me into the email field");
  EXPECT_EQ(result("select all").headline, "Pressed **Select all**");
  EXPECT_EQ(result("copy").headline, "Pressed **Copy**");
  EXPECT_EQ(pasteboard(), "copy me");
  result("click the Full name field");
  result("paste");
  EXPECT_EQ(value("name"), "copy me");

  // The link leaves the page; the toolbar takes it back and forth, and reloads it.
  ActionResult link = result("open Read our article");
  EXPECT_EQ(link.headline, "Clicked **Read our article**");
  EXPECT_EQ(location(), site("article.html"));
  ActionResult back = result("go back");
  EXPECT_EQ(back.headline, "**Went back**");
  EXPECT_EQ(back.debug.back(), "AXPress on toolbar button “Back”");
  EXPECT_EQ(title(), "Sign in - Example Shop");
  EXPECT_EQ(result("go forward").headline, "**Went forward**");
  EXPECT_EQ(title(), "The Quiet Harbour");
  js("window.marker = 1");
  EXPECT_EQ(result("reload").headline, "**Reloaded**");
  EXPECT_EQ(js("typeof window.marker"), "undefined") << "a fresh document after the reload";
  EXPECT_EQ(location(), site("article.html"));
  // Forward is greyed out at the end of the history, and the command says so.
  ActionResult forward = result("go forward");
  EXPECT_EQ(forward.kind, Kind::failure);
  EXPECT_EQ(forward.headline, "Can't went forward — that button is disabled");
  EXPECT_EQ(location(), site("article.html"));
}

TEST_F(LiveCommands, ArticleScrollFindListReadCopyAskAndSummarize) {
  load("article.html");
  ActionResult toToday = result("scroll to the harbour today");
  EXPECT_EQ(toToday.kind, Kind::success);
  EXPECT_EQ(toToday.headline, "Scrolled to the **The harbour today** section");
  EXPECT_GT(scrollY(), 0);
  EXPECT_TRUE(inView("#today h2"));
  EXPECT_EQ(result("scroll to the top").headline, "Scrolled to the **top**");
  EXPECT_EQ(scrollY(), 0);
  EXPECT_EQ(result("scroll down").headline, "Scrolled **down** one page");
  double down = scrollY();
  EXPECT_GT(down, 300);
  result("scroll to the bottom");
  EXPECT_GE(scrollY(), down);
  EXPECT_TRUE(js("Math.abs(scrollY + innerHeight - document.documentElement.scrollHeight) < 2").get<bool>());

  // Finding brings the text into view.
  js("scrollTo(0, 0)");
  ActionResult found = result("find six every morning");
  EXPECT_NE(found.kind, Kind::failure);
  EXPECT_THAT(found.headline, HasSubstr("six every morning"));
  EXPECT_TRUE(inView("#today p:last-of-type"));
  ActionResult all = result("find every harbour");
  EXPECT_THAT(all.headline, StartsWith("Found **"));
  EXPECT_GE(all.items.size(), 4u);

  ActionResult headings = result("what headings are there");
  EXPECT_EQ(headings.headline, "Found **4** headings");
  EXPECT_THAT(itemTexts(headings), ::testing::IsSupersetOf({::testing::HasSubstr("The Quiet Harbour"),
                                                            ::testing::HasSubstr("History of the harbour"),
                                                            ::testing::HasSubstr("Opening hours")}));
  ActionResult images = result("list the images");
  ASSERT_EQ(images.items.size(), 1u);
  EXPECT_THAT(images.items[0].text, HasSubstr("Boats moored at the quay"));

  ActionResult read = result("read this page");
  EXPECT_EQ(read.kind, Kind::info);
  EXPECT_THAT(read.headline, StartsWith("Read **The Quiet Harbour** — "));
  ASSERT_TRUE(read.body);
  EXPECT_THAT(*read.body, HasSubstr("The market opens at six every morning."));
  EXPECT_THAT(*read.body, HasSubstr("Ferry terminal, 1962"));
  EXPECT_THAT(*read.body, Not(HasSubstr("Back"))) << "the browser's own buttons are not page text";

  js("scrollTo(0, 0)");
  ActionResult copied = result("copy this article");
  EXPECT_EQ(copied.kind, Kind::success);
  EXPECT_THAT(copied.headline, StartsWith("Copied **"));
  EXPECT_EQ(pasteboard(), read.copyText.value_or("")) << "the clipboard holds the text that reading shows";

  ActionResult when = result("When was the harbour built?");
  EXPECT_EQ(when.kind, Kind::info);
  EXPECT_EQ(when.headline, "**When was the harbour built?**");
  // The sentences that share words with the question, best section first, headings included.
  EXPECT_EQ(when.body,
            "• History of the harbour\n• The harbour was built in 1820 to shelter the herring fleet.\n"
            "• The harbour today\n• Today the harbour is home to ferries, yachts and a small fish market.");
  EXPECT_THAT(when.debug, Contains("Extractive answer (no local model answered)"));
  EXPECT_THAT(when.debug, Contains(StartsWith("Grounding: ")));
  EXPECT_EQ(result("who owns the moon base?").body, "The page doesn't appear to mention that.");

  ActionResult summary = result("summarize this page");
  EXPECT_EQ(summary.headline, "Summary of **The Quiet Harbour**");
  ASSERT_TRUE(summary.body);
  EXPECT_THAT(*summary.body, StartsWith("**The Quiet Harbour**\n• "));
  EXPECT_THAT(summary.debug, Contains("Extractive summary (no local model answered)"));
  EXPECT_EQ(scrollY(), 0) << "reading the page does not move it";

  // A link inside the text is followed to its place on the other page.
  EXPECT_EQ(result("open the boats link").headline, "Clicked **the boats**");
  EXPECT_EQ(location(), site("links.html#boats"));
}

TEST_F(LiveCommands, LinksOpenInNewTabsAndByName) {
  // Served over HTTP: only web links are ever opened in bulk.
  HttpServer server;
  for (const char* page : {"links.html", "article.html", "signin.html"}) {
    std::ifstream in(sourcePath(std::string("tests/site/") + page));
    std::string html((std::istreambuf_iterator<char>(in)), {});
    server.route(std::string("/") + page, HttpServer::Response{.body = html, .contentType = "text/html"});
  }
  loadURL(server.url("/links.html"));

  ActionResult two = result("open all links about ferries");
  EXPECT_EQ(two.kind, Kind::success);
  EXPECT_EQ(two.headline, "Opened **2** links mentioning “ferries”");
  EXPECT_EQ(two.body, "• Story number 2: winter ferries\n• Story number 12: ferry timetables");
  ASSERT_EQ(browser().tabs().size(), 3u);
  EXPECT_EQ(location(), server.url("/article.html#s12")) << "the last one opened is in front";
  EXPECT_THAT(tabTitles(), ElementsAre("All stories", "The Quiet Harbour", "The Quiet Harbour"));

  // Many links ask first, and the answer really opens them.
  while (browser().tabs().size() > 1) browser().closeActiveTab();
  Outcome many = command("open every link about story");
  ASSERT_TRUE(many.confirm());
  EXPECT_EQ(many.confirm()->title, "Open 12 links?");
  EXPECT_EQ(browser().tabs().size(), 1u) << "nothing opens before the answer";
  EXPECT_EQ(accept(many).headline, "Opened **12** links mentioning “story”");
  EXPECT_EQ(browser().tabs().size(), 13u);

  // One link by its words follows it in the same tab; an article link is found on a listing.
  while (browser().tabs().size() > 1) browser().closeActiveTab();
  loadURL(server.url("/links.html"));
  EXPECT_EQ(result("open the fish market link").headline, "Clicked **Story number 3: the fish market**");
  EXPECT_EQ(location(), server.url("/article.html#s3"));
  loadURL(server.url("/links.html"));
  ActionResult article = result("open the article");
  EXPECT_EQ(article.headline, "Clicked **Story number 1: harbour lights**");
  EXPECT_EQ(location(), server.url("/article.html#s1"));

  // Near-ties are the user's pick, and the picked link is the one followed.
  loadURL(server.url("/links.html"));
  Outcome which = command("click story number");
  ASSERT_TRUE(which.choose());
  EXPECT_EQ(which.choose()->prompt, "Which one do you mean?");
  ASSERT_GE(which.choose()->options.size(), 2u);
  EXPECT_LE(which.choose()->options.size(), 6u);
  const ChoiceOption& second = which.choose()->options[1];
  Outcome picked = second.run();
  ASSERT_TRUE(picked.result());
  EXPECT_EQ(picked.result()->headline, "Clicked **" + second.title + "**");
  EXPECT_THAT(location(), StartsWith(server.url("/article.html#s")));

  loadURL(server.url("/links.html"));
  ActionResult links = result("what links are there");
  EXPECT_EQ(links.headline, "Found **14** links");
}

TEST_F(LiveCommands, SettingsRiskyClickAsksFirstAndTogglesControls) {
  load("settings.html");
  Outcome risky = command("click Delete account");
  ASSERT_TRUE(risky.confirm());
  EXPECT_EQ(risky.confirm()->title, "Click “Delete account”?");
  EXPECT_EQ(risky.confirm()->message, "This may delete content or cancel something.");
  EXPECT_EQ(risky.confirm()->confirmLabel, "Click");
  EXPECT_EQ(text("result"), "") << "nothing is pressed before the answer";
  ActionResult done = accept(risky);
  EXPECT_EQ(done.headline, "Clicked **Delete account**");
  EXPECT_EQ(text("result"), "Account deleted");

  EXPECT_EQ(result("click Save changes").headline, "Clicked **Save changes**");
  EXPECT_EQ(text("result"), "Saved");

  ActionResult boxes = result("what checkboxes are there");
  EXPECT_THAT(boxes.headline, StartsWith("Found **"));
  EXPECT_THAT(itemTexts(boxes), Contains(HasSubstr("Text messages")));
  result("click Text messages");
  EXPECT_TRUE(checked("sms"));
  result("click the Email newsletter checkbox");
  EXPECT_FALSE(checked("newsletter"));
  result("click Dark mode");
  EXPECT_EQ(js("document.getElementById('dark').getAttribute('aria-checked')"), "true");
  result("select Pro");
  EXPECT_TRUE(checked("pro"));
  EXPECT_FALSE(checked("free"));
}

TEST_F(LiveCommands, TabsByNumberNameAndOrder) {
  load("tab_one.html");
  EXPECT_EQ(result("click Open the tide table").headline, "Clicked **Open the tide table**");
  EXPECT_THAT(tabTitles(), ElementsAre("Tab one: weather", "Tab two: tides"));
  EXPECT_EQ(title(), "Tab two: tides");

  ActionResult first = result("tab 1");
  EXPECT_EQ(first.headline, "Switched to tab **1**");
  EXPECT_EQ(title(), "Tab one: weather");
  ActionResult named = result("switch to the tides tab");
  EXPECT_EQ(named.headline, "Switched to **Tab two: tides**");
  EXPECT_EQ(title(), "Tab two: tides");
  EXPECT_EQ(result("previous tab").headline, "Switched to the **previous** tab");
  EXPECT_EQ(title(), "Tab one: weather");
  EXPECT_EQ(result("next tab").headline, "Switched to the **next** tab");
  EXPECT_EQ(title(), "Tab two: tides");
  EXPECT_EQ(result("switch to the lunar tab").headline, "No tab matches “lunar”");

  EXPECT_EQ(result("open a new tab").headline, "**Opened a new tab**");
  EXPECT_EQ(browser().tabs().size(), 3u);
  Outcome close = command("close this tab");
  ASSERT_TRUE(close.confirm());
  EXPECT_EQ(close.confirm()->title, "Close this tab?");
  EXPECT_EQ(browser().tabs().size(), 3u);
  EXPECT_EQ(accept(close).headline, "Closed the tab");
  EXPECT_EQ(browser().tabs().size(), 2u);
  EXPECT_EQ(session().pageState().tabs, 2);
}

}  // namespace
}  // namespace skimlet::testing
