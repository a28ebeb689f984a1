// Reading the page as text and copying it: the headline's title and word count, the cut after
// 8000 characters that Copy never makes, and pages with nothing to read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "support/engine_on_page.h"
#include "support/page_builder.h"
#include "text/text_util.h"

namespace skimlet {
namespace {

using ::testing::ElementsAre;
using testing::EngineOnPage;

int wordsIn(const std::string& text) {
  std::istringstream in(text);
  int n = 0;
  for (std::string word; in >> word;) ++n;
  return n;
}

// One paragraph of `chars` characters on a page with the given titles.
memory::Recording paragraphPage(int chars, const std::string& pageTitle = "Terms",
                                const std::string& windowTitle = "Terms") {
  std::string paragraph;
  while (static_cast<int>(paragraph.size()) < chars) paragraph += "lorem ipsum ";
  paragraph.resize(chars);
  paragraph.back() = '.';
  testing::Node p = testing::text(paragraph);
  p.frame = Rect{40, 140, 900, 400};
  memory::Recording r = testing::browserWindow({p}, "com.apple.Safari", "https://example.com/terms", windowTitle);
  r.window.children.at(2).children.at(0).title = pageTitle;
  return r;
}

TEST(Read, ThePageAsText) {
  EngineOnPage page("help_centre.json");
  const std::string text = page.engine->snapshot()->text();
  ActionResult r = page.result("read the page");
  EXPECT_EQ(r.kind, ActionResult::Kind::info);
  EXPECT_EQ(r.headline, "Read **Help centre — Parcel Co** — " + std::to_string(wordsIn(text)) + " words");
  EXPECT_EQ(r.body, text);
  EXPECT_EQ(r.copyText, text);
  EXPECT_TRUE(r.items.empty());
  EXPECT_NE(text.find("Express shipping costs $12.50"), std::string::npos);
  EXPECT_TRUE(page.events().empty());
}

TEST(Read, LongPagesAreCutAfter8000CharactersButCopyGetsAll) {
  // The page's text has a fixed overhead around the paragraph; find it once.
  const int overhead = TextUtil::length(EngineOnPage(paragraphPage(1000)).engine->snapshot()->text()) - 1000;
  EngineOnPage exact(paragraphPage(8000 - overhead));
  ASSERT_EQ(TextUtil::length(exact.engine->snapshot()->text()), 8000);
  ActionResult whole = exact.result("read the page");
  EXPECT_EQ(whole.body, whole.copyText);

  EngineOnPage over(paragraphPage(8001 - overhead));
  const std::string text = over.engine->snapshot()->text();
  ActionResult cut = over.result("read the page");
  EXPECT_EQ(cut.body, TextUtil::prefix(text, 8000) + "\n…(truncated here; Copy gets everything)");
  EXPECT_EQ(cut.copyText, text);

  ActionResult copied = over.result("copy the page");
  EXPECT_EQ(copied.kind, ActionResult::Kind::success);
  EXPECT_EQ(copied.headline, "Copied **" + std::to_string(wordsIn(text)) + "** words to the clipboard");
  EXPECT_EQ(copied.body, std::nullopt);
  EXPECT_EQ(copied.copyText, std::nullopt);
  EXPECT_EQ(over.backend->pasteboard().string(), text);
  ASSERT_EQ(over.events().size(), 1u);
  EXPECT_EQ(over.events()[0].type, Event::Type::pasteboard);
}

TEST(Read, TitlesAreCutAt60AndFallBack) {
  const std::string sixty(60, 'T');
  EXPECT_TRUE(EngineOnPage(paragraphPage(200, sixty))
                  .result("read the page")
                  .headline.starts_with("Read **" + sixty + "** — "));
  EXPECT_TRUE(EngineOnPage(paragraphPage(200, sixty + "U"))
                  .result("read the page")
                  .headline.starts_with("Read **" + std::string(59, 'T') + "…** — "));

  // Without a page title the window's names the page, in the headline and in the Why? lines.
  ActionResult window = EngineOnPage(paragraphPage(200, "", "Terms of service")).result("read the page");
  EXPECT_TRUE(window.headline.starts_with("Read **Terms of service** — ")) << window.headline;
  EXPECT_EQ(window.debug[3], "Page: Terms of service");
  ActionResult untitled = EngineOnPage(paragraphPage(200, "", "")).result("read the page");
  EXPECT_TRUE(untitled.headline.starts_with("Read **page** — ")) << untitled.headline;
  EXPECT_TRUE(untitled.debug.back().starts_with("Read ")) << untitled.debug.back();  // no "Page: " line
}

TEST(Read, NothingToReadOrCopyOnAnEmptyPage) {
  memory::Recording blank = testing::recordedPage("help_centre.json");
  blank.window.children.at(0).children.at(0).children.clear();
  blank.window.title.clear();
  blank.window.children.at(0).children.at(0).title.clear();
  EngineOnPage page(blank);
  ActionResult read = page.result("read the page");
  EXPECT_EQ(read.kind, ActionResult::Kind::failure);
  EXPECT_EQ(read.headline, "Nothing readable on this page");
  ActionResult copy = page.result("copy the page");
  EXPECT_EQ(copy.kind, ActionResult::Kind::failure);
  EXPECT_EQ(copy.headline, "Nothing to copy");
  EXPECT_TRUE(page.events().empty());
}

}  // namespace
}  // namespace skimlet
