#include "page/page_reader.h"

#include <gtest/gtest.h>

#include <climits>
#include <tuple>

#include "backends/memory/backend.h"
#include "page/page_snapshot.h"
#include "support/page_builder.h"

namespace skimlet {
namespace {

using Kind = PageLine::Kind;
using testing::ElementList;

struct L {
  std::string text;
  Kind kind;
  int level = 0;
  bool operator==(const L&) const = default;
};
std::ostream& operator<<(std::ostream& os, const L& l) {
  return os << "{" << l.text << ", " << static_cast<int>(l.kind) << ", " << l.level << "}";
}

std::vector<L> read(const std::vector<PageElement>& elements) {
  std::vector<L> out;
  for (const auto& line : PageReader::lines(elements)) out.push_back({line.text, line.kind, line.level});
  return out;
}

PageElement staticText(std::string value) { return PageElement{.role = "AXStaticText", .value = std::move(value)}; }

TEST(PageReaderLines, OneParagraphIsOneLine) {
  ElementList page;
  int p = page.add({.role = "AXGroup"});
  page.add(staticText("The council"), p);
  page.add(staticText(" voted  on\nTuesday"), p);
  int a = page.add({.role = "AXLink"}, p);
  page.add(staticText("new budget"), a);  // said by the link itself
  page.add(staticText("for the city."), p);
  int q = page.add({.role = "AXGroup"});
  page.add(staticText("Next paragraph."), q);
  // The link's label comes from its text child.
  auto list = page.list();
  list[a].title = "new budget";
  EXPECT_EQ(read(list), (std::vector<L>{{"The council voted on Tuesday new budget for the city.", Kind::text},
                                        {"Next paragraph.", Kind::text}}));
}

TEST(PageReaderLines, TextComesFromValueTitleOrDescription) {
  ElementList page;
  int list = page.add({.role = "AXList"});
  int item = page.add({.role = "AXListItem"}, list);
  page.add({.role = "AXStaticText", .title = "from title"}, item);
  int item2 = page.add({.role = "AXListItem"}, list);
  page.add({.role = "AXStaticText", .desc = "from desc"}, item2);
  page.add({.role = "AXStaticText", .value = "  "}, item2);
  EXPECT_EQ(read(page), (std::vector<L>{{"from title", Kind::item}, {"from desc", Kind::item}}));
}

TEST(PageReaderLines, ControlsEndAParagraph) {
  ElementList page;
  int p = page.add({.role = "AXGroup"});
  page.add(staticText("Before"), p);
  page.add({.role = "AXButton", .title = "Go"}, p);
  page.add(staticText("After"), p);
  EXPECT_EQ(read(page), (std::vector<L>{{"Before", Kind::text}, {"Go", Kind::button}, {"After", Kind::text}}));

  // A link on its own line is followed by a new line; one after text merges into the paragraph.
  ElementList links;
  int q = links.add({.role = "AXGroup"});
  links.add({.role = "AXLink", .title = "Home"}, q);
  links.add(staticText("Welcome"), q);
  links.add({.role = "AXLink", .title = "About"}, q);
  EXPECT_EQ(read(links), (std::vector<L>{{"Home", Kind::link}, {"Welcome About", Kind::text}}));
}

TEST(PageReaderLines, RepeatedShortControlsAppearOnce) {
  const std::string longLabel = "A headline that is at least forty chars";  // 39 characters
  ASSERT_EQ(longLabel.size(), 39u);
  ElementList page;
  page.add({.role = "AXLink", .title = "Reply"});
  page.add({.role = "AXLink", .title = "reply!"});  // the same once normalised
  page.add({.role = "AXLink", .title = longLabel});
  page.add({.role = "AXLink", .title = longLabel});
  page.add({.role = "AXLink", .title = longLabel + "!"});
  page.add({.role = "AXLink", .title = longLabel + "!"});
  page.add({.role = "AXButton", .title = longLabel + "!"});
  page.add({.role = "AXPopUpButton", .title = longLabel + "?"});
  page.add({.role = "AXMenuButton", .title = longLabel + "!"});
  page.add({.role = "AXLink"});
  EXPECT_EQ(read(page), (std::vector<L>{{"Reply", Kind::link},
                                        {longLabel, Kind::link},
                                        {longLabel + "!", Kind::link},
                                        {longLabel + "!", Kind::link},
                                        {longLabel + "!", Kind::button}}));
}

TEST(PageReaderLines, HeadingsKeepTheirLevels) {
  ElementList page;
  page.add({.role = "AXHeading", .title = "One", .value = "1"});
  page.add({.role = "AXHeading", .title = "Six", .value = "+6"});
  page.add({.role = "AXHeading", .title = "Unknown", .value = "two"});
  page.add({.role = "AXHeading", .title = "Two signs", .value = "+-4"});
  page.add({.role = "AXHeading", .title = "Huge", .value = "99999999999"});
  page.add({.role = "AXHeading", .title = "Too huge", .value = "99999999999999999999"});
  page.add({.role = "AXHeading", .value = " \n "});  // nothing to name it by
  page.add({.role = "AXHeading", .value = "3"});     // its level is its only text, so it names it too
  int h = page.add({.role = "AXHeading", .title = "Inside", .value = "-1"});
  page.add(staticText("Inside"), h);
  EXPECT_EQ(read(page), (std::vector<L>{{"One", Kind::heading, 1},
                                        {"Six", Kind::heading, 6},
                                        {"Unknown", Kind::heading, 2},
                                        {"Two signs", Kind::heading, 2},
                                        {"Huge", Kind::heading, INT_MAX},
                                        {"Too huge", Kind::heading, 2},
                                        {"3", Kind::heading, 3},
                                        {"Inside", Kind::heading, -1}}));
}

TEST(PageReaderLines, AHeadingLevelMissingFromTheCrawlIsReadLive) {
  memory::Backend b(testing::plainWindow({testing::heading("Live", 3)}));
  PageElement h{.element = *b.find("AXHeading", "Live"), .role = "AXHeading", .title = "Live"};
  EXPECT_EQ(PageReader::lines({h}, &b.ax()).at(0).level, 3);
  EXPECT_EQ(PageReader::lines({h}).at(0).level, 2);
}

TEST(PageReaderLines, ControlsShowTheirState) {
  ElementList page;
  page.add({.role = "AXCheckBox", .title = "Remember me", .value = "True"});
  page.add({.role = "AXRadioButton", .title = "Dark", .value = "0"});
  page.add({.role = "AXCheckBox", .title = "Subscribe", .value = "1"});
  page.add({.role = "AXCheckBox"});  // nothing to name it by
  page.add({.role = "AXTextField", .value = "me@example.com", .desc = "Email"});
  page.add({.role = "AXTextField", .subrole = "AXSecureTextField", .value = "hunter2", .desc = "Password"});
  page.add({.role = "AXTextArea"});
  page.add({.role = "AXComboBox", .value = " a \n b ", .placeholder = "Country"});
  EXPECT_EQ(read(page), (std::vector<L>{{"☑ Remember me", Kind::field},
                                        {"☐ Dark", Kind::field},
                                        {"☑ Subscribe", Kind::field},
                                        {"Email: me@example.com", Kind::field},
                                        {"Password", Kind::field},
                                        {"text field", Kind::field},
                                        {"Country: a b", Kind::field}}));
}

TEST(PageReaderLines, ImagesNeedARealDescription) {
  ElementList page;
  page.add({.role = "AXImage", .desc = "logo.PNG"});
  page.add({.role = "AXImage", .desc = "photo.jpg"});
  page.add({.role = "AXImage", .desc = "abc"});
  page.add({.role = "AXImage", .title = "Title used", .desc = " "});
  page.add({.role = "AXImage", .title = "ignored", .desc = "Harbour at dawn"});
  int a = page.add({.role = "AXLink", .title = "Our logo home"});
  page.add({.role = "AXImage", .desc = "our LOGO"}, a);
  EXPECT_EQ(
      read(page),
      (std::vector<L>{{"Title used", Kind::image}, {"Harbour at dawn", Kind::image}, {"Our logo home", Kind::link}}));
}

TEST(PageReaderLines, OnlyVisibleReadableRolesGiveLines) {
  ElementList page;
  page.add({.role = "AXButton", .title = "Zero width", .frame = Rect{0, 0, 0, 10}});
  page.add({.role = "AXButton", .title = "No frame"});
  page.add({.role = "AXButton", .title = "Shown", .frame = Rect{0, 0, 10, 10}});
  page.add({.role = "AXGroup", .title = "A group"});
  page.add({.role = "AXWebArea", .title = "Page"});
  std::vector<std::pair<std::string, int>> lines;
  for (const PageLine& l : PageReader::lines(page)) lines.emplace_back(l.text, l.elementID);
  EXPECT_EQ(lines, (std::vector<std::pair<std::string, int>>{{"No frame", 1}, {"Shown", 2}}));
}

PageLine line(std::string text, Kind kind = Kind::text, int id = 0) { return PageLine{std::move(text), id, kind, 0}; }

// Chunks as {heading, text, first element}, to compare whole.
using C = std::tuple<std::string, std::string, int>;
std::vector<C> chunked(const std::vector<PageLine>& lines, int limit) {
  std::vector<C> out;
  for (const auto& c : PageReader::chunks(lines, limit)) out.emplace_back(c.heading, c.text, c.elementID);
  return out;
}

TEST(PageReaderChunks, ALongSectionSplitsUnderItsHeading) {
  std::vector<PageLine> lines = {line("Ten chars!", Kind::heading, 1), line(std::string(500, 'a'), Kind::text, 2),
                                 line(std::string(500, 'b'), Kind::text, 3),
                                 line(std::string(500, 'c'), Kind::text, 4)};
  EXPECT_EQ(chunked(lines, 900), (std::vector<C>{{"Ten chars!", "Ten chars!\n" + std::string(500, 'a'), 1},
                                                 {"Ten chars!", std::string(500, 'b'), 3},
                                                 {"Ten chars!", std::string(500, 'c'), 4}}));
}

TEST(PageReaderChunks, HeadingsOpenChunks) {
  std::vector<PageLine> lines = {line("intro", Kind::text, 0),
                                 line("Head", Kind::heading, 1),
                                 line("ééé", Kind::text, 2),
                                 line("xyz", Kind::link, 3),
                                 line("Empty", Kind::heading, 4),
                                 line("Last", Kind::heading, 5),
                                 line(std::string(20, 'z'), Kind::text, 6)};
  // "Head" + "ééé" is 7 characters (10 bytes) and fits in 9; "xyz" would make 10.
  // A heading alone is a chunk; the long line after "Last" does not fit beside it, and is never
  // split, even past the limit.
  EXPECT_EQ(chunked(lines, 9), (std::vector<C>{{"", "intro", 0},
                                               {"Head", "Head\nééé", 1},
                                               {"Head", "xyz", 3},
                                               {"Empty", "Empty", 4},
                                               {"Last", "Last", 5},
                                               {"Last", std::string(20, 'z'), 6}}));
}

TEST(PageReaderChunks, BlankTextMakesNoChunk) {
  EXPECT_TRUE(PageReader::lines({}).empty());
  EXPECT_TRUE(PageReader::chunks({}, 900).empty());
  EXPECT_EQ(PageSnapshot{}.text(), "");
  // Non-breaking and em spaces are white space too.
  std::vector<PageLine> lines = {line(" ", Kind::text, 0), line("\u00A0\u2003", Kind::text, 1),
                                 line("Head", Kind::heading, 2), line("\u00A0é", Kind::text, 3)};
  EXPECT_EQ(chunked(lines, 900), (std::vector<C>{{"Head", "Head\n\u00A0é", 2}}));
}

TEST(PageSnapshotText, RendersEveryKindOfLine) {
  PageSnapshot s;
  s.lines = {line("Title", Kind::heading, 0), line("Para", Kind::text, 1),    line("Link", Kind::link, 2),
             line("Go", Kind::button, 3),     line("Email", Kind::field, 4),  line("Dawn", Kind::image, 5),
             line("One", Kind::item, 6),      line("Deep", Kind::heading, 7), line("Zero", Kind::heading, 8)};
  s.lines[0].level = 1;
  s.lines[7].level = 6;
  EXPECT_EQ(s.text(), "# Title\nPara\n→ Link\n[Button] Go\n[Field] Email\n[Image] Dawn\n• One\n\n#### Deep\n\n# Zero");
}

TEST(PageSnapshotSectionTitle, TheLastHeadingAtOrBeforeTheElement) {
  PageSnapshot s;
  s.lines = {line("intro", Kind::text, 1), line("First", Kind::heading, 3), line("a", Kind::text, 4),
             line("Second", Kind::heading, 8), line("b", Kind::text, 9)};
  std::vector<std::optional<std::string>> titles;
  for (int id : {2, 3, 7, 8, 100}) titles.push_back(s.sectionTitle(id));
  EXPECT_EQ(titles, (std::vector<std::optional<std::string>>{std::nullopt, "First", "First", "Second", "Second"}));
}

}  // namespace
}  // namespace skimlet
