#include "qa/page_qa.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

#include "text/text_util.h"

namespace skimlet {
namespace {

constexpr double synonymWeight = 0.45;
constexpr double headingBonus = 1.5;
constexpr double phraseBonus = 1.6;
constexpr double headingLineBoost = 1.3;

std::string join(const std::vector<std::string>& parts, std::string_view sep) {
  std::string out;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i) out += sep;
    out += parts[i];
  }
  return out;
}

void sortByScore(std::vector<Ranked>& ranked) {
  std::stable_sort(ranked.begin(), ranked.end(), [](const Ranked& a, const Ranked& b) { return a.score > b.score; });
}

// A chunk's text without its heading line, on one line: what a reader sees as the section body.
std::string body(const PageChunk& chunk) {
  std::vector<std::string> pieces;
  std::string_view text = chunk.text;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    if (end > start) pieces.emplace_back(text.substr(start, end - start));
    start = end + 1;
  }
  if (!chunk.heading.empty() && !pieces.empty()) pieces.erase(pieces.begin());
  return join(pieces, " ");
}

const std::string& titleOf(const PageSnapshot& snapshot) {
  return snapshot.pageTitle.empty() ? snapshot.windowTitle : snapshot.pageTitle;
}

// Whether the text may be cut at byte i without changing a character, a cluster or a word: an
// ASCII character that is neither letter nor digit and a cluster of its own whatever surrounds
// it. A line feed always is (a control stands alone), unless it ends a CR LF; any other such
// character is when both its neighbours are ASCII, since only characters beyond ASCII join a
// cluster to what precedes or follows them, or compose with it.
bool cutsCleanly(std::string_view s, std::size_t i) {
  const auto ascii = [&](std::size_t j) { return static_cast<unsigned char>(s[j]) < 0x80; };
  const char c = s[i];
  const bool alnum = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
  if (!ascii(i) || alnum || c == '\r') return false;
  if (c == '\n') return i == 0 || s[i - 1] != '\r';
  return (i == 0 || ascii(i - 1)) && (i + 1 == s.size() || ascii(i + 1));
}

// Calls f with each piece of s between clean cuts, empty ones left out.
template <class F>
void forEachWord(std::string_view s, F&& f) {
  std::size_t start = 0;
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (!cutsCleanly(s, i)) continue;
    if (i > start) f(s.substr(start, i - start));
    start = i + 1;
  }
  if (start < s.size()) f(s.substr(start));
}

// Calls f with the pieces of s between clean cuts, each ASCII stretch whole and each stretch
// that holds other characters apart, so that the text functions take their ASCII path wherever
// they can. Answers how many cut characters were left out between the pieces.
template <class F>
int forEachStretch(std::string_view s, F&& f) {
  constexpr std::size_t none = std::string_view::npos;
  std::size_t start = 0, lastCut = none;
  bool ascii = true;
  int cuts = 0;
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (static_cast<unsigned char>(s[i]) >= 0x80) {
      if (ascii && lastCut != none) {
        f(s.substr(start, lastCut - start));
        start = lastCut + 1;
        ++cuts;
      }
      ascii = false;
      lastCut = none;
    } else if (cutsCleanly(s, i)) {
      if (ascii) {
        lastCut = i;
        continue;
      }
      f(s.substr(start, i - start));
      start = i + 1;
      ++cuts;
      ascii = true;
      lastCut = none;
    }
  }
  f(s.substr(start));
  return cuts;
}

// The tokens of many texts, each distinct word tokenized once however often the page repeats
// it. The cache views the texts, which must outlive it.
class Tokenizer {
 public:
  void append(std::string_view text, std::vector<std::string>& out) {
    forEachWord(text, [&](std::string_view word) {
      auto it = cache_.find(word);
      if (it == cache_.end()) it = cache_.emplace(word, TextUtil::tokens(word)).first;
      out.insert(out.end(), it->second.begin(), it->second.end());
    });
  }

 private:
  std::unordered_map<std::string_view, std::vector<std::string>> cache_;
};

}  // namespace

QAExcerpts::QAExcerpts(const PageSnapshot& snapshot, std::string_view query, bool localModelReady)
    : ranked(PageQA::rankChunks(snapshot, query)),
      chunks(PageQA::excerpts(snapshot, ranked, localModelReady ? localModelBudget : defaultBudget)) {
  std::vector<std::string> texts;
  texts.reserve(chunks.size());
  for (const auto& c : chunks) texts.push_back(c.text);
  text = join(texts, separator);
}

namespace PageQA {

std::vector<std::string> tokens(std::string_view text) {
  std::vector<std::string> out;
  Tokenizer().append(text, out);
  return out;
}

int length(std::string_view text) {
  int n = 0;
  const int cuts = forEachStretch(text, [&](std::string_view piece) { n += TextUtil::length(piece); });
  return n + cuts;
}

std::vector<Ranked> rank(const std::vector<std::string>& texts, const std::vector<std::string>* headings,
                         std::string_view query) {
  const std::vector<std::string> q = TextUtil::contentTokens(query);
  if (q.empty() || texts.empty()) return {};

  // Terms in the order they were first weighted, so sums are added in a fixed order.
  std::vector<std::pair<std::string, double>> terms;
  std::unordered_map<std::string, double> weight;
  for (const auto& t : q)
    if (weight.emplace(t, 1.0).second) terms.emplace_back(t, 1.0);
  for (const auto& t : q)
    for (const auto& s : TextUtil::synonyms(t))
      if (weight.emplace(s, synonymWeight).second) terms.emplace_back(s, synonymWeight);

  // Only the weighted terms are counted: a page has thousands of words and a question a few.
  std::unordered_map<std::string_view, std::size_t> termIndex;
  for (std::size_t t = 0; t < terms.size(); ++t) termIndex.emplace(terms[t].first, t);
  const double n = static_cast<double>(texts.size());
  std::vector<std::vector<std::string>> tokens(texts.size());
  std::vector<std::vector<int>> counts(texts.size(), std::vector<int>(terms.size(), 0));
  std::vector<int> df(terms.size(), 0);
  Tokenizer tokenizer;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    tokenizer.append(texts[i], tokens[i]);
    for (const auto& t : tokens[i])
      if (auto it = termIndex.find(t); it != termIndex.end()) ++counts[i][it->second];
    for (std::size_t t = 0; t < terms.size(); ++t)
      if (counts[i][t] > 0) ++df[t];
  }

  const std::string phrase = join(q, " ");
  std::vector<Ranked> ranked;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    double s = 0;
    int m = 0;
    for (std::size_t t = 0; t < terms.size(); ++t) {
      const int c = counts[i][t];
      if (c == 0) continue;
      const double w = terms[t].second;
      s += w * (std::log(c) + 1) * std::log(n / df[t] + 1);
      if (w == 1.0) ++m;
    }
    if (headings && i < headings->size()) {
      std::vector<std::string> ht;
      tokenizer.append((*headings)[i], ht);
      const std::unordered_set<std::string> headingSet(ht.begin(), ht.end());
      for (const auto& [term, w] : terms)
        if (headingSet.contains(term)) s += w * headingBonus;
    }
    if (!(s > 0)) continue;
    s *= 0.5 + 0.5 * m / static_cast<double>(q.size());
    if (q.size() >= 2 && join(tokens[i], " ").find(phrase) != std::string::npos) s *= phraseBonus;
    s /= 1 + 0.12 * std::log(1 + PageQA::length(texts[i]) / 80.0);
    ranked.push_back({static_cast<int>(i), s});
  }
  sortByScore(ranked);
  return ranked;
}

std::vector<Ranked> rankChunks(const PageSnapshot& snapshot, std::string_view query) {
  std::vector<std::string> texts, headings;
  texts.reserve(snapshot.chunks.size());
  headings.reserve(snapshot.chunks.size());
  for (const auto& c : snapshot.chunks) {
    texts.push_back(c.text);
    headings.push_back(c.heading);
  }
  return rank(texts, &headings, query);
}

std::vector<Ranked> rankLines(const PageSnapshot& snapshot, std::string_view query) {
  std::vector<std::string> texts;
  texts.reserve(snapshot.lines.size());
  for (const auto& l : snapshot.lines) texts.push_back(l.text);
  std::vector<Ranked> ranked = rank(texts, nullptr, query);
  for (auto& r : ranked)
    if (snapshot.lines[r.index].kind == PageLine::Kind::heading) r.score *= headingLineBoost;
  sortByScore(ranked);
  return ranked;
}

std::vector<PageChunk> excerpts(const PageSnapshot& snapshot, const std::vector<Ranked>& ranked, int budget) {
  std::vector<int> order;
  for (const auto& r : ranked) order.push_back(r.index);
  if (order.empty())
    for (int i = 0; i < static_cast<int>(snapshot.chunks.size()); ++i) order.push_back(i);

  std::vector<int> picked;
  long used = 0;
  for (int i : order) {
    const long chars = PageQA::length(snapshot.chunks[i].text);
    // A chunk that does not fit is passed over; a smaller one further down may still fit.
    if (used + chars > budget && !picked.empty()) continue;
    picked.push_back(i);
    used += std::min<long>(chars, budget);
    if (used >= budget) break;
  }
  std::sort(picked.begin(), picked.end());
  std::vector<PageChunk> out;
  for (int i : picked) out.push_back(snapshot.chunks[i]);
  return out;
}

std::vector<PageChunk> excerpts(const PageSnapshot& snapshot, std::string_view query, int budget) {
  return excerpts(snapshot, rankChunks(snapshot, query), budget);
}

std::string extractiveAnswer(const PageSnapshot& snapshot, std::string_view question) {
  return extractiveAnswer(snapshot, question, rankChunks(snapshot, question));
}

std::string extractiveAnswer(const PageSnapshot& snapshot, std::string_view question,
                             const std::vector<Ranked>& ranked) {
  const std::vector<std::string> content = TextUtil::contentTokens(question);

  if (content.empty()) {
    // "What is this page?": say its name and how it begins.
    std::vector<std::string> out;
    if (const std::string& title = titleOf(snapshot); !title.empty()) out.push_back("“" + title + "”");
    std::string source;
    if (!snapshot.chunks.empty()) {
      source = snapshot.chunks.front().text;
      for (const auto& c : snapshot.chunks)
        if (TextUtil::length(c.text) > 80) {
          source = c.text;
          break;
        }
    }
    std::vector<std::string> sentences = TextUtil::sentences(source);
    if (sentences.size() > 3) sentences.resize(3);
    const std::string lead = join(sentences, " ");
    if (lead.empty() && out.empty()) return "The page has no readable text.";
    if (!lead.empty()) out.push_back(lead);
    return join(out, "\n\n");
  }

  if (ranked.empty()) return "The page doesn't appear to mention that.";

  std::unordered_set<std::string> wanted(content.begin(), content.end());
  for (const auto& t : content)
    for (const auto& s : TextUtil::synonyms(t)) wanted.insert(s);

  struct Candidate {
    int rank;
    int sentence;
    std::string text;
    double score;
  };
  std::vector<Candidate> candidates;
  const int top = static_cast<int>(std::min<std::size_t>(3, ranked.size()));
  for (int r = 0; r < top; ++r) {
    const PageChunk& chunk = snapshot.chunks[ranked[r].index];
    const std::vector<std::string> sentences = TextUtil::sentences(chunk.text);
    for (int j = 0; j < static_cast<int>(sentences.size()); ++j) {
      const std::vector<std::string> tokens = TextUtil::tokens(sentences[j]);
      const std::unordered_set<std::string> distinct(tokens.begin(), tokens.end());
      int overlap = 0;
      for (const auto& t : distinct) overlap += wanted.contains(t) ? 1 : 0;
      // The chunk's score only breaks ties between sentences that share as many words.
      if (overlap >= 1) candidates.push_back({r, j, sentences[j], overlap + 0.05 * ranked[r].score});
    }
  }
  if (candidates.empty()) return TextUtil::truncate(snapshot.chunks[ranked.front().index].text, 400);

  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const Candidate& a, const Candidate& b) { return a.score > b.score; });
  if (candidates.size() > 4) candidates.resize(4);
  std::sort(candidates.begin(), candidates.end(), [](const Candidate& a, const Candidate& b) {
    return std::tie(a.rank, a.sentence) < std::tie(b.rank, b.sentence);
  });
  std::vector<std::string> lines;
  for (const auto& c : candidates) lines.push_back("• " + TextUtil::truncate(c.text, 320));
  return join(lines, "\n");
}

std::string extractiveSummary(const PageSnapshot& snapshot) {
  std::vector<std::string> out;
  if (const std::string& title = titleOf(snapshot); !title.empty()) out.push_back("**" + title + "**");

  int bullets = 0;
  for (const auto& chunk : snapshot.chunks) {
    if (bullets >= 6) break;
    if (TextUtil::length(chunk.text) < 101) continue;
    std::string first;
    for (const auto& s : TextUtil::sentences(body(chunk)))
      if (TextUtil::length(s) > 30) {
        first = s;
        break;
      }
    if (first.empty()) continue;
    const std::string lead = chunk.heading.empty() ? "" : chunk.heading + " — ";
    out.push_back("• " + lead + TextUtil::truncate(first, 240));
    ++bullets;
  }
  if (bullets == 0) out.push_back(TextUtil::truncate(snapshot.text(), 500));
  return join(out, "\n");
}

std::string condensed(const PageSnapshot& snapshot, int budget) {
  // Each section's lead sentences, split once; only the cut changes between rounds.
  std::vector<std::pair<std::string, std::string>> leads;  // heading, lead
  for (const auto& chunk : snapshot.chunks) {
    std::vector<std::string> sentences = TextUtil::sentences(body(chunk));
    if (sentences.size() > 2) sentences.resize(2);
    leads.emplace_back(chunk.heading, join(sentences, " "));
  }
  for (int limit = 400;; limit -= 60) {
    std::vector<std::string> pieces;
    for (const auto& [heading, lead] : leads)
      pieces.push_back((heading.empty() ? "" : "## " + heading + "\n") + TextUtil::truncate(lead, limit));
    std::string joined = join(pieces, "\n");
    if (TextUtil::length(joined) <= budget) return joined;
    if (limit < 141) return TextUtil::prefix(snapshot.text(), budget);
  }
}

}  // namespace PageQA
}  // namespace skimlet
