#include "match/page_search.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "match/element_matcher.h"
#include "text/text_util.h"

namespace skimlet::PageSearch {
namespace {

constexpr double phraseInText = 60;
constexpr double wordStartInText = 50;

int countAtWordStarts(const std::string& l, const std::string& q) {
  if (q.empty()) return 0;
  int n = 0;
  for (std::size_t p = l.find(q); p != std::string::npos; p = l.find(q, p + 1)) {
    if (p != 0 && l[p - 1] != ' ') continue;
    ++n;
    p += q.size() - 1;
  }
  return n;
}

std::string quoted(std::string_view s) { return "“" + std::string(s) + "”"; }

// Keeps the best hit per element, then orders them best first with ties in page order.
class Hits {
 public:
  void offer(PageHit hit) {
    auto [it, added] = index_.emplace(hit.elementID, hits_.size());
    if (added) hits_.push_back(std::move(hit));
    else if (hit.score > hits_[it->second].score) hits_[it->second] = std::move(hit);
  }
  // Best first; among equals the shorter text when `preferShort` (the more precise place), then
  // page order.
  std::vector<PageHit> sorted(bool preferShort) && {
    std::sort(hits_.begin(), hits_.end(), [](const PageHit& a, const PageHit& b) { return a.elementID < b.elementID; });
    std::stable_sort(hits_.begin(), hits_.end(), [preferShort](const PageHit& a, const PageHit& b) {
      if (a.score != b.score) return a.score > b.score;
      return preferShort && a.text.size() < b.text.size();
    });
    return std::move(hits_);
  }

 private:
  std::vector<PageHit> hits_;
  std::unordered_map<int, std::size_t> index_;
};

// A link and the text run inside it, or a paragraph's line and the sentence of it that says the
// words, are one place to the reader: of hits whose elements contain one another, or that are
// siblings whose texts contain one another, only the best (the first of `ranked`) is kept.
std::vector<PageHit> withoutRepeats(const PageSnapshot& snapshot, std::vector<PageHit> ranked) {
  std::unordered_map<int, int> parentOf;
  for (const auto& e : snapshot.elements)
    if (e.parent) parentOf.emplace(e.id, *e.parent);
  auto ancestors = [&](int id) {
    std::vector<int> chain;
    for (auto it = parentOf.find(id); it != parentOf.end(); it = parentOf.find(it->second)) chain.push_back(it->second);
    return chain;
  };
  std::unordered_set<int> taken;    // the kept hits' elements
  std::unordered_set<int> covered;  // their ancestors
  std::vector<PageHit> kept;
  auto sameWords = [&](const PageHit& h) {
    const auto parent = parentOf.find(h.elementID);
    const std::string text = TextUtil::norm(h.text);
    return std::any_of(kept.begin(), kept.end(), [&](const PageHit& k) {
      const auto other = parentOf.find(k.elementID);
      if (parent == parentOf.end() || other == parentOf.end() || parent->second != other->second) return false;
      const std::string keptText = TextUtil::norm(k.text);
      return text.find(keptText) != std::string::npos || keptText.find(text) != std::string::npos;
    });
  };
  for (auto& h : ranked) {
    if (covered.contains(h.elementID)) continue;  // an outer element of a kept hit
    const std::vector<int> chain = ancestors(h.elementID);
    if (std::any_of(chain.begin(), chain.end(), [&](int id) { return taken.contains(id); })) continue;
    if (sameWords(h)) continue;
    taken.insert(h.elementID);
    covered.insert(chain.begin(), chain.end());
    kept.push_back(std::move(h));
  }
  return kept;
}

}  // namespace

double textScore(std::string_view text, std::string_view query) {
  const double asLabel = ElementMatcher::score(text, query);
  if (asLabel >= phraseInText) return asLabel;
  const std::string l = TextUtil::norm(text), q = TextUtil::norm(query);
  if (l.empty() || q.empty()) return asLabel;
  if ((" " + l + " ").find(" " + q + " ") != std::string::npos) return phraseInText;
  if (countAtWordStarts(l, q) > 0) return std::max(asLabel, wordStartInText);
  return asLabel;
}

int occurrences(std::string_view text, std::string_view query) {
  return countAtWordStarts(TextUtil::norm(text), TextUtil::norm(query));
}

std::vector<PageHit> find(const PageSnapshot& snapshot, std::string_view query) {
  Hits hits;
  const std::string textReason = "text matches " + quoted(query);
  for (const auto& line : snapshot.lines) {
    const double s = textScore(line.text, query);
    if (s >= ElementMatcher::threshold) hits.offer({line.elementID, line.text, s, textReason, 0});
  }
  // A line may join the texts of several elements; each element's own words point closer.
  const std::string labelReason = "label matches " + quoted(query);
  for (const auto& e : snapshot.elements) {
    if (e.role == "AXWebArea" || !e.frame || !e.frame->hasArea()) continue;
    std::string label = e.label();
    const double s = std::max(ElementMatcher::score(e, query), textScore(label, query));
    if (s >= ElementMatcher::threshold) hits.offer({e.id, std::move(label), s, labelReason, 0});
  }
  return withoutRepeats(snapshot, std::move(hits).sorted(true));
}

std::vector<PageHit> findAll(const PageSnapshot& snapshot, std::string_view query) {
  std::vector<PageHit> out;
  const std::string q = TextUtil::norm(query);
  const std::string reason = "contains " + quoted(query);
  for (const auto& line : snapshot.lines) {
    const int n = countAtWordStarts(TextUtil::norm(line.text), q);
    if (n > 0) out.push_back({line.elementID, line.text, 100, reason, n});
  }
  return out;
}

const PageElement* element(const PageSnapshot& snapshot, int id) {
  const auto& all = snapshot.elements;
  if (id >= 0 && id < static_cast<int>(all.size()) && all[id].id == id) return &all[id];
  auto it = std::find_if(all.begin(), all.end(), [id](const PageElement& e) { return e.id == id; });
  return it == all.end() ? nullptr : &*it;
}

std::vector<PageHit> sections(const PageSnapshot& snapshot, std::string_view query) {
  Hits hits;
  const std::string reason = "heading matches " + quoted(query);
  for (const auto& line : snapshot.lines) {
    if (line.kind != PageLine::Kind::heading) continue;
    const double s = ElementMatcher::score(line.text, query);
    if (s >= ElementMatcher::threshold) hits.offer({line.elementID, line.text, s, reason, 0});
  }
  for (const auto& e : snapshot.elements) {
    if (e.role != "AXHeading") continue;
    const double s = ElementMatcher::score(e, query);
    if (s >= ElementMatcher::threshold) hits.offer({e.id, e.label(), s, reason, 0});
  }
  return std::move(hits).sorted(false);
}

}  // namespace skimlet::PageSearch
