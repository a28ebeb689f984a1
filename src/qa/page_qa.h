// Questions and summaries over one read of a page, without a model: ranks the page's text
// against a question, chooses the excerpts a model is shown, and writes extractive answers and
// summaries for when no model answers. Pure functions; they never fail.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "page/page_snapshot.h"

namespace skimlet {

// One ranking entry: the position of a text in the ranked list and its score (always > 0).
struct Ranked {
  int index = 0;
  double score = 0;
  bool operator==(const Ranked&) const = default;
};

// The excerpts a question is answered from, in page order, and their text as the model sees it.
struct QAExcerpts {
  // The local model reads slowly on long prompts, so it gets less text than the other paths.
  static constexpr int localModelBudget = 2800;
  static constexpr int defaultBudget = 4500;
  static constexpr std::string_view separator = "\n---\n";

  std::vector<Ranked> ranked;  // the chunks ranked for the query, which the excerpts were chosen from
  std::vector<PageChunk> chunks;
  std::string text;

  // `localModelReady`: the local model file is installed and the runtime recorded no error.
  QAExcerpts(const PageSnapshot& snapshot, std::string_view query, bool localModelReady);
};

namespace PageQA {

// TextUtil::tokens and TextUtil::length with the same answers, faster on page text: a few
// characters beyond ASCII (the "• " of a list line, a curly quote) would otherwise send a whole
// section through the slow Unicode path, and a question tokenizes every section of the page.
std::vector<std::string> tokens(std::string_view text);
int length(std::string_view text);

// Scores texts against the query's content words (1.0 each) and their synonyms (0.45), with
// document frequency, an optional heading bonus, coverage of the query, a phrase bonus and a
// damping of long texts. Texts without any hit get no entry. Best first; ties keep input order.
std::vector<Ranked> rank(const std::vector<std::string>& texts, const std::vector<std::string>* headings,
                         std::string_view query);
// rank over the chunks' texts with their headings.
std::vector<Ranked> rankChunks(const PageSnapshot& snapshot, std::string_view query);
// rank over the lines' texts; heading lines count 1.3 times.
std::vector<Ranked> rankLines(const PageSnapshot& snapshot, std::string_view query);
// The best chunks that fit in `budget` characters, in page order. The best one is always taken,
// however long; when nothing ranks, the page is taken from its start.
std::vector<PageChunk> excerpts(const PageSnapshot& snapshot, std::string_view query, int budget);
// The same, from chunks already ranked for the query.
std::vector<PageChunk> excerpts(const PageSnapshot& snapshot, const std::vector<Ranked>& ranked, int budget);
// A few sentences of the page that bear on the question, as "• " lines; for a question without
// content words, the page's title and lead.
std::string extractiveAnswer(const PageSnapshot& snapshot, std::string_view question);
// The same, from chunks already ranked for the question (ranking a large page is the costly part).
std::string extractiveAnswer(const PageSnapshot& snapshot, std::string_view question,
                             const std::vector<Ranked>& ranked);
// The title in bold and the first substantial sentence of up to six sections, as "• " lines.
std::string extractiveSummary(const PageSnapshot& snapshot);
// The page shortened to fit `budget` characters for a summary prompt: each section's heading
// and lead, the leads cut ever shorter, and at last the plain start of the page text.
std::string condensed(const PageSnapshot& snapshot, int budget);

}  // namespace PageQA
}  // namespace skimlet
