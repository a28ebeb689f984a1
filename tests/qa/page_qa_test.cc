#include "qa/page_qa.h"

#include <gtest/gtest.h>

#include <cmath>

#include "text/text_util.h"

namespace skimlet {
namespace {

PageChunk chunk(std::string heading, std::string body, int elementID = 0) {
  std::string text = heading.empty() ? body : heading + "\n" + body;
  return {std::move(heading), std::move(text), elementID};
}

PageSnapshot page(std::vector<PageChunk> chunks, std::string title = "") {
  PageSnapshot s;
  s.pageTitle = std::move(title);
  s.chunks = std::move(chunks);
  for (const auto& c : s.chunks) s.lines.push_back({c.text, c.elementID, PageLine::Kind::text, 0});
  return s;
}

std::string repeat(const std::string& sentence, int times) {
  std::string out;
  for (int i = 0; i < times; ++i) out += (i ? " " : "") + sentence;
  return out;
}

double damping(const std::string& text) { return 1 + 0.12 * std::log(1 + TextUtil::length(text) / 80.0); }

TEST(Rank, StopWordsRankNothingAndExcerptsFallBackToPageOrder) {
  PageSnapshot s = page({chunk("A", "alpha text here"), chunk("B", "beta text here")});
  EXPECT_TRUE(PageQA::rank({"the of and"}, nullptr, "the of and").empty());
  EXPECT_TRUE(PageQA::rankChunks(s, "what is the").empty());
  std::vector<PageChunk> picked = PageQA::excerpts(s, "what is the", 4500);
  ASSERT_EQ(picked.size(), 2u);
  EXPECT_EQ(picked[0].heading, "A");
}

TEST(Rank, OneTokenScoreHasNoPhraseBonus) {
  ASSERT_TRUE(TextUtil::synonyms(TextUtil::contentTokens("zucchini").at(0)).empty());
  std::vector<std::string> texts = {"tomato soup", "zucchini soup", "zucchini zucchini"};
  std::vector<Ranked> r = PageQA::rank(texts, nullptr, "zucchini");
  ASSERT_EQ(r.size(), 2u);
  EXPECT_EQ(r[0].index, 2);  // said twice: (ln 2 + 1)
  EXPECT_NEAR(r[0].score, (std::log(2.0) + 1) * std::log(3.0 / 2 + 1) / damping(texts[2]), 1e-9);
  EXPECT_NEAR(r[1].score, std::log(3.0 / 2 + 1) / damping(texts[1]), 1e-9);
}

TEST(Rank, PhraseCoverageAndHeadingBonus) {
  // Same words, same length: only the phrase differs.
  std::vector<Ranked> r = PageQA::rank({"soup today zucchini", "zucchini soup today"}, nullptr, "zucchini soup");
  ASSERT_EQ(r.size(), 2u);
  EXPECT_EQ(r[0].index, 1);
  EXPECT_NEAR(r[0].score / r[1].score, 1.6, 1e-9);

  // Half the query found: coverage 0.75.
  std::vector<Ranked> half = PageQA::rank({"zucchini only", "nothing"}, nullptr, "zucchini gazpacho");
  ASSERT_EQ(half.size(), 1u);
  EXPECT_NEAR(half[0].score, std::log(2.0 / 1 + 1) * 0.75 / damping("zucchini only"), 1e-9);

  // A heading alone is enough to rank, and ties keep input order.
  std::vector<std::string> headings = {"Zucchini", "Zucchini"};
  std::vector<Ranked> byHeading = PageQA::rank({"nothing here", "nothing here"}, &headings, "zucchini");
  ASSERT_EQ(byHeading.size(), 2u);
  EXPECT_EQ(byHeading[0].index, 0);
  EXPECT_NEAR(byHeading[0].score, 1.5 * 0.5 / damping("nothing here"), 1e-9);  // no word of the text: m = 0
}

TEST(Rank, SynonymOnlyMatchesGetHalfCoverage) {
  const std::string word = TextUtil::contentTokens("price").at(0);
  const std::vector<std::string> related = TextUtil::synonyms(word);
  ASSERT_FALSE(related.empty());
  const std::string other = related.front();
  std::vector<std::string> texts = {other, word};
  std::vector<Ranked> r = PageQA::rank(texts, nullptr, word);
  ASSERT_EQ(r.size(), 2u);
  EXPECT_EQ(r[0].index, 1);
  EXPECT_NEAR(r[1].score, 0.45 * std::log(2.0 + 1) * 0.5 / damping(other), 1e-9);
}

TEST(Rank, HeadingLinesCountMore) {
  PageSnapshot s;
  s.lines = {{"zucchini facts", 0, PageLine::Kind::text, 0}, {"zucchini facts", 1, PageLine::Kind::heading, 2}};
  std::vector<Ranked> r = PageQA::rankLines(s, "zucchini");
  ASSERT_EQ(r.size(), 2u);
  EXPECT_EQ(r[0].index, 1);
  EXPECT_NEAR(r[0].score / r[1].score, 1.3, 1e-9);
}

TEST(Excerpts, BestIsAlwaysTakenAndSmallerChunksStillFit) {
  PageSnapshot s = page({
      chunk("", "intro without the word " + std::string(200, 'x')),
      chunk("", "zucchini zucchini zucchini " + std::string(3000, 'a')),  // best, longer than the budget
      chunk("", "zucchini " + std::string(100, 'b')),
      chunk("", "zucchini zucchini " + std::string(2000, 'c')),
  });
  std::vector<PageChunk> picked = PageQA::excerpts(s, "zucchini", 2800);
  ASSERT_EQ(picked.size(), 1u);  // the best alone fills the budget
  EXPECT_EQ(TextUtil::length(picked[0].text), 3027);

  s.chunks[1].text = "zucchini zucchini zucchini " + std::string(1000, 'a');
  picked = PageQA::excerpts(s, "zucchini", 2800);
  // 1027 picked, the 2018 chunk would overflow and is passed over, the 109 one still fits;
  // the result is back in page order.
  ASSERT_EQ(picked.size(), 2u);
  EXPECT_EQ(picked[0].text, s.chunks[1].text);
  EXPECT_EQ(picked[1].text, s.chunks[2].text);

  QAExcerpts local(s, "zucchini", true), other(s, "zucchini", false);
  EXPECT_EQ(local.chunks.size(), 2u);
  EXPECT_EQ(local.text, s.chunks[1].text + "\n---\n" + s.chunks[2].text);
  EXPECT_EQ(other.chunks.size(), 3u);  // 4500 characters take the long one too
}

TEST(ExtractiveAnswer, WithoutContentWordsGivesTitleAndLead) {
  // The short menu chunk is passed over for the first one with more than 80 characters.
  PageSnapshot s = page({chunk("", "Menu"),
                         chunk("", "First sentence here. Second one is here. Third is too. Fourth is not included at all.")},
                        "Garden Club");
  EXPECT_EQ(PageQA::extractiveAnswer(s, "what is this"),
            "“Garden Club”\n\nFirst sentence here. Second one is here. Third is too.");
  EXPECT_EQ(PageQA::extractiveAnswer(page({}), "what is this"), "The page has no readable text.");
  PageSnapshot untitled = page({chunk("", "Short. Text.")});
  untitled.windowTitle = "Window";
  EXPECT_EQ(PageQA::extractiveAnswer(untitled, "what is this"), "“Window”\n\nShort. Text.");
}

TEST(ExtractiveAnswer, BulletsFromTheBestChunksInPageOrder) {
  PageSnapshot s = page({
      chunk("Zucchini", "Zucchini grows fast. It likes sun. Zucchini needs water daily. Harvest zucchini young. "
                        "Zucchini flowers are edible. Store zucchini cold."),
      chunk("Other", "Nothing related is said here at all."),
  });
  const std::string answer = PageQA::extractiveAnswer(s, "how to grow zucchini?");
  int bullets = 0;
  for (std::size_t at = answer.find("• "); at != std::string::npos; at = answer.find("• ", at + 1)) ++bullets;
  EXPECT_EQ(bullets, 4);
  EXPECT_LT(answer.find("grows fast"), answer.find("needs water"));  // page order within the chunk
  EXPECT_EQ(answer.find("likes sun"), std::string::npos);

  EXPECT_EQ(PageQA::extractiveAnswer(s, "gazpacho recipe"), "The page doesn't appear to mention that.");

  const std::string longSentence = "Zucchini " + std::string(400, 'z') + ".";
  PageSnapshot longOne = page({chunk("", longSentence)});
  const std::string cut = PageQA::extractiveAnswer(longOne, "zucchini");
  EXPECT_EQ(TextUtil::length(cut), 2 + 320);
  EXPECT_TRUE(cut.ends_with("…"));
}

TEST(ExtractiveAnswer, ChunkMatchedOnlyByItsHeadingIsQuotedWhole) {
  // A long section's second chunk carries the heading without repeating it in its text.
  PageSnapshot s = page({{"Zucchini", std::string(450, 'q'), 0}});
  const std::string answer = PageQA::extractiveAnswer(s, "zucchini");
  EXPECT_EQ(answer, std::string(399, 'q') + "…");
}

TEST(ExtractiveSummary, TitleThenOneSentencePerSubstantialSection) {
  const std::string filler = "This sentence is long enough to be worth a bullet point.";
  std::vector<PageChunk> chunks = {chunk("Tiny", "Too short to count.")};
  for (int i = 0; i < 8; ++i) chunks.push_back(chunk("Part " + std::to_string(i), "Short. " + repeat(filler, 2)));
  chunks.push_back(chunk("", std::string(300, 'w') + " end."));
  PageSnapshot s = page(chunks, "Guide *1*");
  const std::string summary = PageQA::extractiveSummary(s);
  EXPECT_TRUE(summary.starts_with("**Guide *1*" "**\n• Part 0 — " + filler + "\n"));
  int lines = 0;
  for (char c : summary) lines += c == '\n';
  EXPECT_EQ(lines, 6);  // title plus six bullets
  EXPECT_EQ(summary.find("Tiny"), std::string::npos);

  PageSnapshot untitledLong = page({chunk("", std::string(300, 'w') + " end.")});
  EXPECT_EQ(PageQA::extractiveSummary(untitledLong), "• " + std::string(239, 'w') + "…");
}

TEST(Condensed, LeadsShrinkThenThePlainPageStart) {
  const std::string sentence = "Every section opens with this rather long sentence of text.";
  std::vector<PageChunk> chunks;
  for (int i = 0; i < 3; ++i) chunks.push_back(chunk("H" + std::to_string(i), repeat(sentence, 3)));
  PageSnapshot s = page(chunks);
  EXPECT_EQ(PageQA::condensed(s, 10000),
            "## H0\n" + repeat(sentence, 2) + "\n## H1\n" + repeat(sentence, 2) + "\n## H2\n" + repeat(sentence, 2));

  // 3 × (6 + 100) + 2 characters fit once the limit is down to 100.
  const std::string at100 = PageQA::condensed(s, 320);
  EXPECT_TRUE(at100.starts_with("## H0\n" + TextUtil::prefix(repeat(sentence, 2), 99) + "…\n## H1\n"));
  EXPECT_EQ(TextUtil::length(at100), 320);

  const std::string plain = PageQA::condensed(s, 200);
  EXPECT_EQ(plain, TextUtil::prefix(s.text(), 200));
  EXPECT_FALSE(plain.ends_with("…"));
}

}  // namespace
}  // namespace skimlet
