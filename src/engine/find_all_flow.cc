// "find every price": each place whose text contains the words, as a list the palette can jump
// through; the first one is brought into view.
#include "engine/action_engine.h"
#include "match/page_search.h"
#include "text/text_util.h"

namespace skimlet {

namespace {
constexpr std::size_t maxItems = 50;
constexpr int itemChars = 80;
}  // namespace

Outcome ActionEngine::findAll(const std::string& text, const PageSnapshot& snap, std::vector<std::string> dbg) {
  const std::string query = TextUtil::clean(text);
  if (TextUtil::norm(query).empty())
    return ActionResult::failure("Nothing to search for", "Say what to look for, such as “find every price”.",
                                 std::move(dbg));

  const std::vector<PageHit> hits = PageSearch::findAll(snap, query);
  if (hits.empty())
    return ActionResult::failure("No occurrences of “" + query + "”",
                                 "Try a shorter word, or “find …” for the closest match.", std::move(dbg));

  int total = 0;
  for (const auto& h : hits) total += h.occurrences;
  std::string headline = "Found **" + std::to_string(total) + "** occurrence" + (total == 1 ? "" : "s") + " of “" +
                         TextUtil::md(query) + "”";
  if (hits.size() > 1) headline += " in " + std::to_string(hits.size()) + " places";

  ActionResult result;
  result.kind = ActionResult::Kind::info;
  result.headline = std::move(headline);
  for (const auto& h : hits) {
    if (result.items.size() == maxItems) break;
    FoundItem item;
    item.text = TextUtil::truncate(h.text, itemChars);
    if (const PageElement* e = PageSearch::element(snap, h.elementID)) item.element = *e;
    result.items.push_back(std::move(item));
  }
  if (hits.size() > maxItems) result.body = "Showing the first " + std::to_string(maxItems) + " places.";

  if (const auto& first = result.items.front().element) {
    dbg.push_back("First at: " + elementDebug(*first));
    dbg.push_back(reveal(*first) ? "AXScrollToVisible succeeded" : "AXScrollToVisible failed; outlined in place");
  }
  result.debug = std::move(dbg);
  return result;
}

}  // namespace skimlet
