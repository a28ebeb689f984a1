// Decides which page elements a target description means: scores each element's visible names
// against the words the user typed (with a few equivalent phrasings), keeps the elements of the
// requested kind, and answers them best first.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "intent/intent.h"
#include "page/page_element.h"

namespace skimlet {

// One candidate element with how well it fits (0…100) and why, for the "Why?" lines.
struct Match {
  PageElement element;
  double score = 0;
  std::string reason;
  int id() const { return element.id; }
};

// What the calling flow is about to do with the element; it narrows the candidates beyond the
// role the user named.
//  - click: elements that can take a press (a clickable role or an "AXPress" action), text
//    inputs (clicking one focuses it), and text or images inside an unnamed pressable
//    container, whose own words are then the only name the control has. Such text stands in
//    for its container in the role check too: the words of an unnamed link are "a link".
//  - link: links, and text or images inside an unnamed link.
//  - field: text inputs and search fields.
//  - find: every element; used when looking for text rather than a control.
enum class MatchPurpose { click, link, field, find };

struct MatchList {
  std::vector<Match> matches;   // best first
  bool ordinalApplied = false;  // the ordinal already picked the single match: no choice to offer
};

namespace ElementMatcher {

// Matches below this score are not candidates; the same threshold finds a next-to anchor.
inline constexpr double threshold = 30;

// Text similarity of a visible name and a query, 0…100.
double score(std::string_view label, std::string_view query);
// The best similarity of any of the element's names, trying the query's equivalent phrasings.
double score(const PageElement& element, std::string_view query);
// Whether the element is of the requested kind.
bool fits(const PageElement& element, RoleHint role);
// Whether the element itself can be pressed (a clickable role, or it offers "AXPress").
bool canPress(const PageElement& element);
// The element itself when it can be pressed, else its nearest ancestor that can; the element
// itself when none can (the press then falls back to a mouse click on it).
const PageElement& pressable(const PageElement& element, const std::vector<PageElement>& elements);
// The element as the page names it: itself when it has a name of its own, else a copy titled
// with the text runs and images inside it. Browsers often leave a link or button unnamed and put
// its words in the text it contains.
PageElement named(const PageElement& element, const std::vector<PageElement>& elements);
// The candidates for a target, best first; ties keep document order.
//
// With `nextTo`, the anchor is the element that scores best for the anchor text (at least
// `threshold`; the first on the page among equals), and candidates are ranked by their gap to
// it: the shortest distance between the two frames, 0 when they touch or overlap, so a label
// and the control beside it are close however wide the label is. The anchor itself, its
// ancestors and its descendants are never candidates (they contain it, or are part of it).
// Without an anchor on the page nothing is near it, and the list is empty.
MatchList matches(const TargetSpec& target, const std::vector<PageElement>& elements, MatchPurpose purpose);

// The gap between two frames in points: 0 when they touch or overlap.
double distance(const Rect& a, const Rect& b);

}  // namespace ElementMatcher
}  // namespace skimlet
