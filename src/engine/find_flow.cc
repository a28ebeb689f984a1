// "find shipping": every place on the page that mentions the words, listed in page order so
// the palette can step through them, with the best one brought into view and outlined. When no
// text contains the words, the line that ranks best on their meaning is offered as the best
// match instead.
#include <algorithm>

#include "engine/action_engine.h"
#include "match/element_matcher.h"
#include "match/page_search.h"
#include "qa/page_qa.h"
#include "text/text_util.h"

namespace skimlet {

namespace {
constexpr int headlineChars = 60;
constexpr int bodyChars = 300;
constexpr int itemChars = 80;
constexpr std::size_t maxItems = 50;
}  // namespace

Outcome ActionEngine::find(const std::string& text, const PageSnapshot& snap, std::vector<std::string> dbg) {
  const std::string query = TextUtil::clean(text);
  if (TextUtil::norm(query).empty())
    return ActionResult::failure("Nothing to search for", "Say what to look for, such as “find shipping”.",
                                 std::move(dbg));

  // Literal mentions first; meaning-based ranking only when the words are nowhere on the page.
  std::optional<PageHit> hit;
  bool literal = true;
  std::vector<PageHit> hits = PageSearch::find(snap, query);
  if (!hits.empty()) {
    hit = hits.front();
  } else if (auto ranked = PageQA::rankLines(snap, query); !ranked.empty()) {
    const PageLine& line = snap.lines[ranked.front().index];
    hit = PageHit{line.elementID, line.text, 0, "closest in meaning to “" + query + "”", 0};
    literal = false;
  }
  if (!hit)
    return ActionResult::failure("Nothing on the page matches “" + query + "”",
                                 "Try other words, or ask a question about the page.", std::move(dbg));

  dbg.push_back("Best match: “" + TextUtil::truncate(hit->text, itemChars) + "” — " + hit->reason +
                (literal ? " (score " + std::to_string(static_cast<long long>(hit->score)) + ")" : ""));

  const PageElement* element = PageSearch::element(snap, hit->elementID);
  std::string where;
  if (auto section = snap.sectionTitle(hit->elementID); section && *section != hit->text)
    where = " under “" + TextUtil::md(TextUtil::truncate(*section, 40)) + "”";

  ActionResult result;
  result.kind = ActionResult::Kind::success;
  const std::size_t places = hits.size();
  if (!literal) {
    result.headline = "Best match: **" + TextUtil::md(TextUtil::truncate(hit->text, headlineChars)) + "**" + where;
    result.body = TextUtil::md(TextUtil::truncate(hit->text, bodyChars));
  } else if (places == 1) {
    result.headline = "Found **" + TextUtil::md(TextUtil::truncate(query, headlineChars)) + "**" + where;
    result.body = TextUtil::md(TextUtil::truncate(hit->text, bodyChars));
  } else {
    // The count first: the user asked where the words are, and there are several places.
    result.headline = "Found **" + TextUtil::md(TextUtil::truncate(query, headlineChars)) + "** in " +
                      std::to_string(places) + " places";
    result.body = "Showing the best match, “" + TextUtil::md(TextUtil::truncate(hit->text, itemChars)) + "”" + where +
                  (places > maxItems ? "; listing the first " + std::to_string(maxItems) + " places" : "") + ".";
  }
  result.copyText = hit->text;
  if (element) {
    dbg.push_back(elementDebug(*element));
    dbg.push_back(reveal(*element) ? "AXScrollToVisible succeeded" : "AXScrollToVisible failed; outlined in place");
  }
  // Every place in page order (element ids follow the page), so stepping through them reads
  // the page from top to bottom.
  if (!literal) hits = {*hit};
  std::sort(hits.begin(), hits.end(), [](const PageHit& a, const PageHit& b) { return a.elementID < b.elementID; });
  for (const auto& h : hits) {
    if (result.items.size() == maxItems) break;
    FoundItem item{.text = TextUtil::truncate(h.text, itemChars)};
    if (const PageElement* e = PageSearch::element(snap, h.elementID)) item.element = *e;
    result.items.push_back(std::move(item));
  }
  result.debug = std::move(dbg);
  return result;
}

}  // namespace skimlet
