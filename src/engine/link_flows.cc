// Opening many matching links at once in new tabs, and the article of a listing page.
#include <algorithm>

#include "engine/action_engine.h"
#include "match/element_matcher.h"
#include "text/text_util.h"

namespace skimlet {

namespace {
constexpr double kLinkScore = 50;  // how well a link must mention the words to be opened
constexpr size_t kMaxLinks = 15;   // more would flood the tab bar
constexpr size_t kAskFrom = 4;     // this many tabs at once deserve a question first
constexpr int kArticleLabel = 24;  // a link longer than this reads like a headline

bool visible(const PageElement& e) { return !e.frame || e.frame->hasArea(); }

// Only web pages: mailto:, javascript: and the like are never opened in bulk.
bool isWebURL(const std::string& url) {
  auto colon = url.find(':');
  if (colon == std::string::npos) return false;
  const std::string scheme = TextUtil::lower(std::string_view(url).substr(0, colon));
  return (scheme == "http" || scheme == "https") && url.compare(colon, 3, "://") == 0 && url.size() > colon + 3;
}

struct FoundLink {
  std::string url;
  std::string label;
};
}  // namespace

Outcome ActionEngine::openLinks(const std::string& matching, const PageSnapshot& snap, std::vector<std::string> dbg) {
  std::vector<FoundLink> links;
  for (const auto& link : snap.elements) {
    if (link.role != "AXLink" || !visible(link)) continue;
    const PageElement e = ElementMatcher::named(link, snap.elements);
    if (ElementMatcher::score(e, matching) < kLinkScore) continue;
    std::string url = attributeText(e.element, "AXURL");
    if (!isWebURL(url)) continue;
    if (std::any_of(links.begin(), links.end(), [&](const FoundLink& l) { return l.url == url; })) continue;
    links.push_back({url, e.label()});
  }
  if (links.empty()) return ActionResult::failure("No links mention “" + matching + "”", std::nullopt, std::move(dbg));
  if (links.size() > kMaxLinks) links.resize(kMaxLinks);

  auto open = [links, matching](ActionEngine& engine, std::vector<std::string> trail) {
    std::vector<std::string> urls;
    std::string body;
    for (const auto& l : links) {
      urls.push_back(l.url);
      body += (body.empty() ? "• " : "\n• ") + l.label;
    }
    // Opened with this browser, not the default one: the user is reading in it.
    const std::string& bundle = engine.target().app.bundlePath;
    if (!bundle.empty()) engine.platform().workspace.openURLs(urls, bundle);
    size_t n = links.size();
    ActionResult r = ActionResult::success("Opened **" + std::to_string(n) + "** link" + (n == 1 ? "" : "s") +
                                               " mentioning “" + TextUtil::md(matching) + "”",
                                           std::move(trail));
    r.body = body;
    return r;
  };
  if (links.size() < kAskFrom) return open(*this, std::move(dbg));
  Confirmation c{"Open " + std::to_string(links.size()) + " links?",
                 "Each will open in a new " + browserName() + " tab.",
                 "Open",
                 dbg,
                 {}};
  c.perform = followUp<ActionResult>([open, dbg](ActionEngine& engine) { return open(engine, dbg); });
  return c;
}

Outcome ActionEngine::openArticle(const PageSnapshot& snap, std::vector<std::string> dbg) {
  if (auto focused = target_.focusedElement(platform_.ax); focused && attributeText(*focused, "AXRole") == "AXLink") {
    // A page chooses what has focus, so the focused link is as risky as any other: it is
    // pressed through the same gate, as the page read it (its words may sit in its children).
    PageElement link;
    link.element = *focused;
    link.role = "AXLink";
    for (const auto& e : snap.elements)
      if (e.element == *focused) link = ElementMatcher::named(e, snap.elements);
    if (link.label().empty()) link.title = attributeText(*focused, "AXTitle");
    if (link.label().empty()) link.desc = attributeText(*focused, "AXDescription");
    Outcome pressed = press(Match{link, 60, "focused link"}, snap, std::move(dbg));
    if (ActionResult* r = pressed.result(); r && r->kind == ActionResult::Kind::success)
      r->headline = "Opened the focused link";
    return pressed;
  }

  // Links are judged by their words, which an unnamed link keeps in the text inside it.
  std::optional<PageElement> link;
  for (const auto& h : snap.elements) {
    if (h.role != "AXHeading" || !visible(h)) continue;
    for (const auto& e : snap.elements) {
      if (e.role == "AXLink" && (e.id == h.id || e.parent == h.id)) {
        link = ElementMatcher::named(e, snap.elements);
        break;
      }
    }
    if (link) break;
  }
  if (!link) {
    for (const auto& e : snap.elements) {
      if (e.role != "AXLink" || !visible(e)) continue;
      if (PageElement named = ElementMatcher::named(e, snap.elements);
          TextUtil::length(named.label()) > kArticleLabel) {
        link = std::move(named);
        break;
      }
    }
  }
  if (!link) return ActionResult::failure("Couldn't find an article link", std::nullopt, std::move(dbg));
  dbg.push_back("Article link: “" + link->label() + "”");
  return press(Match{*link, 60, "first heading link / long link"}, snap, std::move(dbg));
}

}  // namespace skimlet
