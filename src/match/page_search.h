// Looking for words in the page's text rather than for a control: the best place that mentions
// them, every place that contains them, and the heading of a section about them. Used by the
// find, find-all and scroll flows.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "page/page_snapshot.h"

namespace skimlet {

// One place on the page: the element that shows it and the text it shows there.
struct PageHit {
  int elementID = 0;
  std::string text;
  double score = 0;     // 0…100, as ElementMatcher scores labels
  std::string reason;   // for the "Why?" lines
  int occurrences = 0;  // how often the words occur in `text` (find-all)
};

namespace PageSearch {

// How well a run of page text answers a search, 0…100. A short text that is the query (or
// nearly) scores as a label does; a longer text that contains the words still counts: 60 when it
// has the words as a phrase, 50 when they start a word ("ship" in "shipping"), so that a long
// paragraph is not drowned by its length the way a button label would be.
double textScore(std::string_view text, std::string_view query);

// How often the query occurs in the text at the start of a word, after folding case and
// diacritics: "ship" occurs in "Shipping and reshipping" once, "art" never in "cart".
int occurrences(std::string_view text, std::string_view query);

// Every place that scores at least ElementMatcher::threshold: the page's lines and the names of
// its visible elements, one hit per element (its best). Best first; among equals the shorter
// text, which is the more precise place (one sentence rather than the paragraph that holds it),
// then page order.
std::vector<PageHit> find(const PageSnapshot& snapshot, std::string_view query);

// Every line that contains the query (see occurrences), in page order.
std::vector<PageHit> findAll(const PageSnapshot& snapshot, std::string_view query);

// The snapshot's element with this id, if there is one.
const PageElement* element(const PageSnapshot& snapshot, int id);

// The headings that score at least ElementMatcher::threshold for the query, best first, ties in
// page order.
std::vector<PageHit> sections(const PageSnapshot& snapshot, std::string_view query);

}  // namespace PageSearch
}  // namespace skimlet
