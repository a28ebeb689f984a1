// Opening links on a recorded news page: one link by name, every link that mentions some
// words (web links only, a question before many tabs, never more than fifteen), and the article.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/engine_on_page.h"

namespace skimlet {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using testing::EngineOnPage;

TEST(OpenLink, ByNameElseAButton) {
  EngineOnPage news("engine_news.json");
  ActionResult r = news.result("open the pricing faq link");
  EXPECT_EQ(r.headline, "Clicked **Pricing FAQ**");
  EXPECT_THAT(news.eventLines(), ElementsAre("press AXLink “Pricing FAQ”"));
  // The same words in two places are two candidates.
  ASSERT_NE(news.command("open the pricing plans link").choose(), nullptr);

  // No link says it, but a button does: "open sign in" presses the button.
  EngineOnPage checkout("engine_checkout.json");
  TargetSpec signIn;
  signIn.query = "sign in";
  EXPECT_EQ(checkout.run(intents::OpenLink{signIn}).headline, "Clicked **Sign in**");
}

TEST(OpenLinks, OnlyWebLinksThatMentionTheWordsOnceEach) {
  EngineOnPage page("engine_news.json");
  ActionResult r = page.result("open all links about pricing");
  EXPECT_EQ(r.kind, ActionResult::Kind::success);
  EXPECT_EQ(r.headline, "Opened **3** links mentioning “pricing”");
  // Not the mailto: or javascript: links, not the second "Pricing plans", not the hidden one.
  EXPECT_EQ(r.body, "• Pricing plans\n• Pricing FAQ\n• Pricing for teams");
  EXPECT_THAT(
      page.eventLines(),
      ElementsAre("open https://news.example/pricing http://news.example/pricing-faq HTTPS://news.example/teams"));

  EXPECT_EQ(page.result("open all links about solar").headline, "Opened **1** link mentioning “solar”");

  page.backend->clearEvents();
  ActionResult email = page.result("open all links about email");  // only a mailto: link says it
  EXPECT_EQ(email.kind, ActionResult::Kind::failure);
  EXPECT_EQ(email.headline, "No links mention “email”");
  EXPECT_EQ(page.result("open all links about weather").headline, "No links mention “weather”");
  EXPECT_TRUE(page.events().empty());
}

TEST(OpenLinks, ManyLinksAskFirst) {
  EngineOnPage page("engine_news.json");
  Outcome docs = page.command("open all links about docs");
  const Confirmation* confirm = docs.confirm();
  ASSERT_NE(confirm, nullptr);
  EXPECT_EQ(confirm->title, "Open 4 links?");
  EXPECT_EQ(confirm->message, "Each will open in a new Firefox tab.");
  EXPECT_EQ(confirm->confirmLabel, "Open");
  EXPECT_TRUE(page.events().empty());
  EXPECT_EQ(confirm->perform().headline, "Opened **4** links mentioning “docs”");
  ASSERT_EQ(page.events().size(), 1u);
  EXPECT_EQ(page.events()[0].urls.size(), 4u);

  page.backend->clearEvents();
  Outcome releases = page.command("open all links about release notes");
  ASSERT_NE(releases.confirm(), nullptr);
  EXPECT_EQ(releases.confirm()->title, "Open 15 links?");
  ActionResult opened = releases.confirm()->perform();
  EXPECT_EQ(opened.headline, "Opened **15** links mentioning “release notes”");
  ASSERT_EQ(page.events().size(), 1u);
  const std::vector<std::string> urls = page.events()[0].urls;
  ASSERT_EQ(urls.size(), 15u);
  EXPECT_EQ(urls.front(), "https://news.example/releases/1");
  EXPECT_EQ(urls.back(), "https://news.example/releases/15");
}

// The news page with its headline link taken out of the "Top stories" heading.
memory::Recording withoutHeadingLink(bool keepTheLink) {
  memory::Recording r = testing::recordedPage("engine_news.json");
  auto& content = r.window.children.at(0).children;
  memory::Node headline = content.at(0).children.at(0);
  content.at(0).children.clear();
  if (keepTheLink) content.push_back(headline);  // at the end of the page, after shorter links
  return r;
}

TEST(OpenArticle, HeadingLinkThenLongLinkThenNothing) {
  EngineOnPage page("engine_news.json");
  ActionResult r = page.result("open the article");
  EXPECT_EQ(r.headline, "Clicked **Solar farms now power a third of the city**");
  EXPECT_THAT(std::vector<std::string>(r.debug.begin() + 4, r.debug.end()),
              ElementsAre("Article link: “Solar farms now power a third of the city”",
                          "Element: AXLink (20,60 500×30) actions=AXPress", "AXPress succeeded"));
  EXPECT_THAT(page.eventLines(), ElementsAre("press AXLink “Solar farms now power a third of the city”"));

  EngineOnPage longLink(withoutHeadingLink(true));
  EXPECT_EQ(longLink.result("open the article").headline, "Clicked **Solar farms now power a third of the city**");

  EngineOnPage none(withoutHeadingLink(false));
  ActionResult missing = none.result("open the article");
  EXPECT_EQ(missing.kind, ActionResult::Kind::failure);
  EXPECT_EQ(missing.headline, "Couldn't find an article link");
  EXPECT_TRUE(none.events().empty());
}

TEST(OpenArticle, TheFocusedLinkComesFirst) {
  memory::Recording r = testing::recordedPage("engine_news.json");
  r.window.children.at(0).children.at(3).focused = true;  // "Pricing FAQ", reached with Tab
  EngineOnPage page(r);
  ActionResult opened = page.result("open the article");
  EXPECT_EQ(opened.kind, ActionResult::Kind::success);
  EXPECT_EQ(opened.headline, "Opened the focused link");
  EXPECT_THAT(page.eventLines(), ElementsAre("press AXLink “Pricing FAQ”"));

  // A page that puts focus on a risky link gets a question, not a press.
  r.window.children.at(0).children.at(3).title = "Delete account";
  EngineOnPage risky(r);
  Outcome asked = risky.command("open the article");
  ASSERT_TRUE(asked.confirm());
  EXPECT_EQ(asked.confirm()->title, "Click “Delete account”?");
  EXPECT_TRUE(risky.events().empty());
}

// Safari leaves these links unnamed: their words are the text runs (or the image) inside them.
TEST(UnnamedLinks, AreKnownByTheWordsInside) {
  EngineOnPage page("recipes_listing.json");
  ActionResult pasta = page.result("open all links about pasta");
  EXPECT_EQ(pasta.headline, "Opened **3** links mentioning “pasta”");
  EXPECT_EQ(pasta.body, "• Ten-minute tomato pasta\n• Pasta recipes\n• Pasta of the week");
  EXPECT_THAT(page.eventLines(), ElementsAre("open https://forkandfield.example/recipes/tomato-pasta "
                                             "https://forkandfield.example/pasta "
                                             "https://forkandfield.example/pasta-of-the-week"));

  page.backend->clearEvents();
  ActionResult chicken = page.result("open the chicken recipes link");
  EXPECT_EQ(chicken.headline, "Clicked **Chicken recipes**");
  EXPECT_THAT(chicken.debug,
              Contains("Selected: Link “Chicken recipes” — label matches “chicken recipes” (score 100)"));
  EXPECT_THAT(chicken.debug, Contains("Element: AXLink (900,250 200×22) actions=AXPress,AXShowMenu"));
  ASSERT_EQ(page.events().size(), 1u);
  EXPECT_EQ(page.events()[0].role, "AXLink");

  Outcome recipes = page.command("open the recipes link");  // both nav links say it
  ASSERT_NE(recipes.choose(), nullptr);
  EXPECT_EQ(recipes.choose()->options[0].subtitle, "Link · under “Ten-minute tomato pasta” · top of view");

  ActionResult article = page.result("open the article");
  EXPECT_EQ(article.headline, "Clicked **One-pan lemon chicken with crispy potatoes**");
  EXPECT_THAT(article.debug, Contains("Article link: “One-pan lemon chicken with crispy potatoes”"));
}

}  // namespace
}  // namespace skimlet
