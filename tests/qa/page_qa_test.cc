#include "qa/page_qa.h"

#include <gtest/gtest.h>

#include <algorithm>
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

TEST(PageText, CountsAgreeWithTheTextFunctions) {
  // Cut points beside characters that join or compose with their neighbours, CR LF, bad bytes.
  const std::string samples[] = {
      "• Harbour station, 12.50 each.\nNext line: “quoted” — done…",
      "cafe\u0301 au lait; na\u00efve r\u00e9sum\u00e9",
      "x \u0301y a =\u0338 b <\u0338c",
      "one\r\n\u00e9two\r\n\nthree\n\u0301four",
      "\u0600 1 \u0600\n2 \U0001F469\u200D\U0001F467 family \U0001F1EB\U0001F1F7 flag",
      "STRASSE Stra\u00dfe \u03a3\u039f\u03a6\u039f\u03a3 \u0130stanbul",
      "bad \xff bytes \xe2\x82 here\xe2",
      "",
  };
  for (const std::string& text : samples) {
    SCOPED_TRACE(text);
    EXPECT_EQ(PageQA::tokens(text), TextUtil::tokens(text));
    EXPECT_EQ(PageQA::length(text), TextUtil::length(text));
  }
}

TEST(Rank, RankingWeighsTheMatches) {
  // Stop words alone rank nothing, and the excerpts then take the page from its start.
  PageSnapshot s = page({chunk("A", "alpha text here"), chunk("B", "beta text here")});
  EXPECT_TRUE(PageQA::rankChunks(s, "what is the").empty());
  EXPECT_EQ(PageQA::excerpts(s, "what is the", 4500).size(), 2u);

  // One query word: term frequency and document frequency, but no phrase bonus.
  std::vector<std::string> texts = {"tomato soup", "zucchini soup", "zucchini zucchini"};
  std::vector<Ranked> one = PageQA::rank(texts, nullptr, "zucchini");
  ASSERT_EQ(one.size(), 2u);
  EXPECT_EQ(one[0].index, 2);
  EXPECT_NEAR(one[0].score, (std::log(2.0) + 1) * std::log(3.0 / 2 + 1) / damping(texts[2]), 1e-9);
  EXPECT_NEAR(one[1].score, std::log(3.0 / 2 + 1) / damping(texts[1]), 1e-9);

  // Same words and length: only the phrase differs.
  std::vector<Ranked> phrase = PageQA::rank({"soup today zucchini", "zucchini soup today"}, nullptr, "zucchini soup");
  EXPECT_EQ(phrase.at(0).index, 1);
  EXPECT_NEAR(phrase.at(0).score / phrase.at(1).score, 1.6, 1e-9);
  // Half the query found: coverage 0.75.
  EXPECT_NEAR(PageQA::rank({"zucchini only", "x"}, nullptr, "zucchini gazpacho").at(0).score,
              std::log(3.0) * 0.75 / damping("zucchini only"), 1e-9);
  // A heading alone ranks, with m = 0; ties keep input order.
  std::vector<std::string> headings = {"Zucchini", "Zucchini"};
  std::vector<Ranked> byHeading = PageQA::rank({"nothing here", "nothing here"}, &headings, "zucchini");
  EXPECT_EQ(byHeading.at(0).index, 0);
  EXPECT_NEAR(byHeading.at(0).score, 1.5 * 0.5 / damping("nothing here"), 1e-9);
}

TEST(Rank, SynonymsWeighLess) {
  const std::string word = TextUtil::contentTokens("price").at(0);
  ASSERT_FALSE(TextUtil::synonyms(word).empty());
  const std::string other = TextUtil::synonyms(word).front();
  std::vector<Ranked> r = PageQA::rank({other, word}, nullptr, word);
  ASSERT_EQ(r.size(), 2u);
  EXPECT_NEAR(r[1].score, 0.45 * std::log(3.0) * 0.5 / damping(other), 1e-9);  // m = 0: half coverage

  PageSnapshot s;
  s.lines = {{"zucchini facts", 0, PageLine::Kind::text, 0}, {"zucchini facts", 1, PageLine::Kind::heading, 2}};
  std::vector<Ranked> lines = PageQA::rankLines(s, "zucchini");
  EXPECT_EQ(lines.at(0).index, 1);
  EXPECT_NEAR(lines.at(0).score / lines.at(1).score, 1.3, 1e-9);
}

TEST(Excerpts, TheBestChunkIsAlwaysTaken) {
  PageSnapshot s = page({
      chunk("", "intro without the word"),
      chunk("", "zucchini zucchini zucchini " + std::string(3000, 'a')),  // best, longer than the budget
      chunk("", "zucchini " + std::string(100, 'b')),
      chunk("", "zucchini zucchini " + std::string(2000, 'c')),
  });
  EXPECT_EQ(PageQA::excerpts(s, "zucchini", 2800).size(), 1u);  // the best alone fills the budget

  // 1027 taken; the 2018 one would overflow and is passed over; the 109 one still fits.
  s.chunks[1].text = "zucchini zucchini zucchini " + std::string(1000, 'a');
  QAExcerpts local(s, "zucchini", true), other(s, "zucchini", false);
  EXPECT_EQ(local.text, s.chunks[1].text + "\n---\n" + s.chunks[2].text);  // back in page order
  EXPECT_EQ(other.chunks.size(), 3u);                                      // 4500 characters take the long one too
}

TEST(ExtractiveAnswer, WithoutContentWordsTheLeadAnswers) {
  // The short menu chunk is passed over for the first one of more than 80 characters.
  PageSnapshot s =
      page({chunk("", "Menu"),
            chunk("", "First sentence here. Second one is here. Third is too. Fourth is not included at all.")},
           "Garden Club");
  EXPECT_EQ(PageQA::extractiveAnswer(s, "what is this"),
            "“Garden Club”\n\nFirst sentence here. Second one is here. Third is too.");
  EXPECT_EQ(PageQA::extractiveAnswer(page({}), "what is this"), "The page has no readable text.");
}

TEST(ExtractiveAnswer, AtMostFourBulletsInPageOrderElseTheChunk) {
  PageSnapshot s = page({
      chunk("Zucchini",
            "Zucchini grows fast. It likes sun. Zucchini needs water daily. Harvest zucchini young. "
            "Zucchini flowers are edible. Store zucchini cold."),
      chunk("Other", "Nothing related is said here at all."),
  });
  const std::string answer = PageQA::extractiveAnswer(s, "how to grow zucchini?");
  EXPECT_EQ(std::count(answer.begin(), answer.end(), '\n'), 3);
  EXPECT_LT(answer.find("grows fast"), answer.find("needs water"));
  EXPECT_EQ(answer.find("likes sun"), std::string::npos);
  EXPECT_EQ(PageQA::extractiveAnswer(s, "gazpacho recipe"), "The page doesn't appear to mention that.");

  const std::string cut =
      PageQA::extractiveAnswer(page({chunk("", "Zucchini " + std::string(400, 'z') + ".")}), "zucchini");
  EXPECT_EQ(TextUtil::length(cut), 2 + 320);
  // A long section's later chunk carries the heading but not in its text: no sentence overlaps.
  EXPECT_EQ(PageQA::extractiveAnswer(page({{"Zucchini", std::string(450, 'q'), 0}}), "zucchini"),
            std::string(399, 'q') + "…");
}

TEST(ExtractiveSummary, TitleThenOneSentencePerSubstantialSection) {
  const std::string filler = "This sentence is long enough to be worth a bullet point.";
  std::vector<PageChunk> chunks = {chunk("Tiny", "Too short to count.")};
  for (int i = 0; i < 8; ++i) chunks.push_back(chunk("Part " + std::to_string(i), "Short. " + repeat(filler, 2)));
  chunks.push_back(chunk("", std::string(300, 'w') + " end."));
  PageSnapshot s = page(chunks, "Guide *1*");
  const std::string summary = PageQA::extractiveSummary(s);
  EXPECT_TRUE(
      summary.starts_with("**Guide *1*"
                          "**\n• Part 0 — " +
                          filler + "\n"));
  EXPECT_EQ(std::count(summary.begin(), summary.end(), '\n'), 6);  // title plus six bullets
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
