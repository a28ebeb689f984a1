// "find shipping": the one place on the page that best mentions the words, brought into view
// and outlined. When no text contains the words, the line that ranks best on their meaning is
// offered as the best match instead.
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
}  // namespace

Outcome ActionEngine::find(const std::string& text, const PageSnapshot& snap, std::vector<std::string> dbg) {
  const std::string query = TextUtil::clean(text);
  if (TextUtil::norm(query).empty())
    return ActionResult::failure("Nothing to search for", "Say what to look for, such as “find shipping”.",
                                 std::move(dbg));

  // Literal mentions first; meaning-based ranking only when the words are nowhere on the page.
  std::optional<PageHit> hit;
  bool literal = true;
  if (auto hits = PageSearch::find(snap, query); !hits.empty()) {
    hit = std::move(hits.front());
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
  result.headline = literal ? "Found **" + TextUtil::md(TextUtil::truncate(query, headlineChars)) + "**" + where
                            : "Best match: **" + TextUtil::md(TextUtil::truncate(hit->text, headlineChars)) + "**" + where;
  result.body = TextUtil::md(TextUtil::truncate(hit->text, bodyChars));
  result.copyText = hit->text;
  if (element) {
    dbg.push_back(elementDebug(*element));
    dbg.push_back(reveal(*element) ? "AXScrollToVisible succeeded" : "AXScrollToVisible failed; outlined in place");
    result.items.push_back({.text = TextUtil::truncate(hit->text, itemChars), .element = *element});
  }
  result.debug = std::move(dbg);
  return result;
}

}  // namespace skimlet
