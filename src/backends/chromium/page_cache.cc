#include "backends/chromium/page_cache.h"

#include <algorithm>
#include <deque>

namespace skimlet::chromium {

namespace {

// Counts the page's own changes so that a cached tree can be trusted until a count moves. Changes
// that may move or alter anything (DOM mutations, input, resizing, a box scrolling inside the
// page, resources and animations finishing) count in one counter; focus moves in another, since
// only the focused node changes with them; scrolling the page itself moves every frame by the
// same amount and shows in the scroll offsets. A document gets its own token, so that a new
// document never passes for the old one. Changes to Skimlet's own overlay do not count.
constexpr const char* kChangeCounter = R"JS((() => {
  if (window.__skimletChanges !== undefined) return;
  let n = 0, focus = 0;
  const token = Math.random().toString(36).slice(2);
  const bump = () => { n++; };
  Object.defineProperty(window, '__skimletChanges', {get: () => n, configurable: true});
  Object.defineProperty(window, '__skimletFocusChanges', {get: () => focus, configurable: true});
  Object.defineProperty(window, '__skimletDocument', {get: () => token, configurable: true});
  const own = (node) => node.nodeType === 1 && node.hasAttribute('data-skimlet-overlay');
  new MutationObserver((records) => {
    for (const r of records) {
      const nodes = [...r.addedNodes, ...r.removedNodes];
      if (own(r.target) || (nodes.length && nodes.every(own))) continue;
      n++;
      return;
    }
  }).observe(document, {subtree: true, childList: true, attributes: true, characterData: true});
  for (const type of ['input', 'change', 'resize', 'load', 'error', 'transitionend', 'animationend'])
    addEventListener(type, bump, {capture: true, passive: true});
  for (const type of ['focusin', 'focusout'])
    addEventListener(type, () => { focus++; }, {capture: true, passive: true});
  addEventListener('scroll', (e) => { if (e.target !== document) n++; }, {capture: true, passive: true});
})())JS";

// The page's state as far as a cached tree depends on it: document token, change counts, URL,
// scroll offsets, viewport size, and the style rules that pointer and focus states bring into
// play (a menu shown by :hover changes the page without any of the counts moving). Where rules
// cannot be read (another origin's style sheet), the element under the pointer stands in.
constexpr const char* kGeneration = R"JS((() => {
  const live = [];
  let unreadable = false;
  // Only elements in one of these states can bring such a rule into play; asking them first
  // keeps the check cheap on pages with many rules.
  const inState = [...document.querySelectorAll(':hover, :focus-within, :target')];
  const stateful = /^(.*:(?:hover|focus[\w-]*|target)[^\s>+~]*)/;
  const inPlay = (selector) => {
    for (const part of selector.split(',')) {
      const m = part.trim().match(stateful);
      if (m && inState.some((e) => e.matches(m[1]))) return !!document.querySelector(selector);
    }
    return false;
  };
  const visit = (rules) => {
    for (const r of rules) {
      const s = r.selectorText;
      if (s && /:not\([^)]*:(hover|focus|target)/.test(s)) {
        unreadable = true;  // in play for everything the pointer is not on
      } else if (s && /:(hover|focus|target)/.test(s)) {
        try {
          if (inPlay(s)) live.push(s);
        } catch (e) {
          unreadable = true;
        }
      }
      if (r.cssRules) visit(r.cssRules);
    }
  };
  for (const sheet of document.styleSheets) {
    try { visit(sheet.cssRules); } catch (e) { unreadable = true; }
  }
  if (unreadable) {
    const hovered = document.querySelectorAll(':hover');
    const last = hovered[hovered.length - 1];
    if (last) {
      if (last.__skimletId === undefined) last.__skimletId = (window.__skimletIds = (window.__skimletIds || 0) + 1);
      live.push('#' + last.__skimletId);
    }
  }
  return [window.__skimletDocument ?? '', window.__skimletChanges ?? -1, window.__skimletFocusChanges ?? -1,
          innerWidth, innerHeight, live.join('\n'), location.href, scrollX, scrollY];
})())JS";

// The element that has focus, looked for inside shadow roots; null while the page itself has it.
constexpr const char* kActiveElement = R"JS((() => {
  let a = document.activeElement;
  while (a && a.shadowRoot && a.shadowRoot.activeElement) a = a.shadowRoot.activeElement;
  return a && a !== document.body && a !== document.documentElement ? a : null;
})())JS";

// Requests for accessibility nodes kept in flight at once: enough to hide the round trip, few
// enough that little is read past what is needed.
constexpr std::size_t kInFlight = 16;
// Exposed nodes a fresh read takes from the start of the page. Readers of a page stop at a few
// thousand elements (a crawl at 6000), so this serves a whole crawl in one pass, while the
// whole tree of a long document (tens of thousands of nodes with its text boxes) would cost
// seconds to produce.
constexpr std::size_t kReadAhead = 6500;
// Further nodes read in document order when a reader goes past that.
constexpr std::size_t kReadMore = 1000;
// A document of at most this many elements is read whole in one request instead: each request
// for one node's children costs Chromium about as much as a few dozen nodes of a whole tree, so
// for pages up to some ten thousand nodes one answer is cheaper than a thousand small ones
// (7 600 nodes: 260 instead of 600 ms), while a long manual's whole tree costs seconds.
constexpr int kWholeTreeElements = 4000;
constexpr const char* kElementCount = "document.getElementsByTagName('*').length";

const std::string& nodeIdOf(const Json& n) {
  static const std::string none;
  auto it = n.find("nodeId");
  return it != n.end() && it->is_string() ? it->get_ref<const std::string&>() : none;
}

// Positions in the generation list.
enum Generation { kToken, kChanges, kFocus, kWidth, kHeight, kStates, kHref, kScrollX, kScrollY, kFields };

}  // namespace

const char* PageCache::changeCounter() { return kChangeCounter; }

const PageTree& PageCache::page(const Tab& tab) {
  Entry& c = entries_[tab.targetId];
  if (c.valid && c.check) {
    try {
      check(tab);
    } catch (const CdpError&) {
      c.valid = false;
    }
  }
  if (!c.valid) refresh(tab);
  static const PageTree empty;
  return c.reader ? c.reader->tree() : empty;
}

const PageNode* PageCache::node(const Tab& tab, std::int64_t key) {
  if (const PageNode* n = page(tab).find(key)) return n;
  Entry& c = entries_[tab.targetId];
  // Text and elements have DOM nodes; a node without one is only ever met through its parent.
  if (key <= 0 || !c.reader) return nullptr;
  try {
    reach(tab.sessionId, *c.reader, {{"backendNodeId", key}});
  } catch (const CdpError&) {
  }
  return c.reader->tree().find(key);
}

const PageNode* PageCache::nodeWithChildren(const Tab& tab, std::int64_t key) {
  if (!node(tab, key)) return nullptr;
  Entry& c = entries_[tab.targetId];
  int index = c.reader->tree().byKey.at(key);
  if (c.reader->pending(index)) {
    try {
      listChildren(tab.sessionId, *c.reader, index);
    } catch (const CdpError&) {
    }
  }
  return &c.reader->tree().nodes[static_cast<size_t>(index)];
}

void PageCache::replaced(const std::string& targetId) { entries_[targetId].valid = false; }

void PageCache::mayHaveChanged(const std::string& targetId) { entries_[targetId].check = true; }

void PageCache::revalidate(const Tab& tab) {
  entries_[tab.targetId].check = true;
  check(tab);
}

void PageCache::closed(const std::string& targetId) { entries_.erase(targetId); }

void PageCache::forgetAll() {
  for (auto& [id, c] : entries_) c.valid = false;
}

void PageCache::check(const Tab& tab) {
  Entry& c = entries_[tab.targetId];
  c.check = false;
  if (!c.valid || !c.reader) return;
  Json now;
  try {
    Json r = cdp_.call("Runtime.evaluate", {{"expression", kGeneration}, {"returnByValue", true}}, tab.sessionId);
    now = std::move(r["result"]["value"]);
  } catch (const CdpError&) {
  }
  if (now == c.generation) return;
  c.valid = follow(tab, c, now);
  if (c.valid) c.generation = std::move(now);
}

bool PageCache::follow(const Tab& tab, Entry& c, const Json& now) {
  const Json& was = c.generation;
  if (!now.is_array() || now.size() != kFields || !was.is_array() || was.size() != kFields) return false;
  if (!now[kToken].is_string() || now[kToken].get_ref<const std::string&>().empty()) return false;
  for (int field : {kToken, kChanges, kWidth, kHeight, kStates})
    if (now[field] != was[field]) return false;
  PageTreeReader& reader = *c.reader;
  if (!now[kScrollX].is_number() || !now[kScrollY].is_number()) return false;
  if (now[kScrollX] != was[kScrollX] || now[kScrollY] != was[kScrollY])
    if (!reader.scrollTo(now[kScrollX].get<double>(), now[kScrollY].get<double>())) return false;
  if (now[kHref] != was[kHref] && now[kHref].is_string()) {
    PageTree& tree = reader.tree();
    tree.url = now[kHref].get<std::string>();
    if (!tree.nodes.empty()) tree.nodes[0].url = tree.url;
  }
  if (now[kFocus] != was[kFocus]) {
    // Only which node has the focus changed. A node past what was read would have to be read
    // into the tree, which must not grow under a caller holding one of its nodes: read anew.
    Json active =
        cdp_.call("Runtime.evaluate", {{"expression", kActiveElement}, {"objectGroup", "skimlet"}}, tab.sessionId);
    int index = -1;
    if (active.contains("result") && active["result"].contains("objectId")) {
      Json described = cdp_.call("DOM.describeNode", {{"objectId", active["result"]["objectId"]}}, tab.sessionId);
      std::int64_t key = described["node"].value("backendNodeId", std::int64_t{0});
      auto it = reader.tree().byKey.find(key);
      if (key <= 0 || it == reader.tree().byKey.end()) return false;
      index = it->second;
    }
    reader.focus(index);
  }
  return true;
}

void PageCache::fetch(const std::string& session, PageTreeReader& reader, const std::vector<std::string>& first,
                      std::size_t until) {
  std::deque<std::pair<int, std::string>> inFlight;
  std::size_t next = 0;
  for (;;) {
    while (inFlight.size() < kInFlight) {
      std::optional<std::string> id;
      if (next < first.size()) {
        id = first[next++];
        reader.asking(*id);
      } else if (reader.exposedCount() < until) id = reader.nextToFetch();
      if (!id) break;
      inFlight.emplace_back(cdp_.send("Accessibility.getChildAXNodes", {{"id", *id}}, session), std::move(*id));
    }
    if (inFlight.empty()) return;
    auto [request, id] = std::move(inFlight.front());
    inFlight.pop_front();
    Json nodes = Json::array();
    try {
      Json r = cdp_.wait(request, 20);
      if (r.contains("nodes")) nodes = std::move(r["nodes"]);
    } catch (const CdpError&) {
      if (cdp_.broken()) throw;
      // The node went away since it was listed: it has no children to show.
    }
    reader.addChildren(id, std::move(nodes));
  }
}

void PageCache::listChildren(const std::string& session, PageTreeReader& reader, int index) {
  // Each round reads one more level of ignored nodes between the node and its children.
  for (int round = 0; round < 100 && !reader.expand(index); ++round)
    fetch(session, reader, reader.missingFor(index), reader.exposedCount() + kReadMore);
}

void PageCache::reach(const std::string& session, PageTreeReader& reader, const Json& params) {
  Json chain;
  try {
    chain = cdp_.call("Accessibility.getAXNodeAndAncestors", params, session);
  } catch (const CdpError&) {
    if (cdp_.broken()) throw;
    return;
  }
  const Json& nodes = chain["nodes"];
  if (!nodes.is_array()) return;
  // From the root down: listing each page node's children makes the next one a page node.
  for (auto it = nodes.rbegin(); it != nodes.rend(); ++it) {
    int index = reader.indexOf(nodeIdOf(*it));
    if (index < 0) continue;
    for (int round = 0; round < 100 && !reader.expand(index); ++round)
      fetch(session, reader, reader.missingFor(index), 0);
  }
}

void PageCache::refresh(const Tab& tab) {
  Entry& c = entries_[tab.targetId];
  const std::string s = tab.sessionId;
  // Independent requests travel together; the generation is read first so that any change
  // made while the tree is read shows up at the next check. The snapshot goes last: Chromium
  // answers in order, so the tree's first requests are on their way while its answer is read.
  int gen = cdp_.send("Runtime.evaluate", {{"expression", kGeneration}, {"returnByValue", true}}, s);
  int release = cdp_.send("Runtime.releaseObjectGroup", {{"objectGroup", "skimlet"}}, s);
  int count = cdp_.send("Runtime.evaluate", {{"expression", kElementCount}, {"returnByValue", true}}, s);
  Json genR, releaseR, countR, rootR, activeR, snapR, metricsR, winR;
  auto get = [&](int id, Json& out) {
    try {
      out = cdp_.wait(id, 20);
    } catch (const CdpError&) {
      out = Json::object();
    }
  };
  get(count, countR);
  const Json* elements = countR.contains("result") ? &countR["result"] : nullptr;
  const bool whole = elements && elements->contains("value") && (*elements)["value"].is_number() &&
                     (*elements)["value"].get<double>() <= kWholeTreeElements;
  int root = cdp_.send(whole ? "Accessibility.getFullAXTree" : "Accessibility.getRootAXNode", Json::object(), s);
  int active = cdp_.send("Runtime.evaluate", {{"expression", kActiveElement}, {"objectGroup", "skimlet"}}, s);
  int metrics = cdp_.send("Page.getLayoutMetrics", Json::object(), s);
  int win = cdp_.send("Browser.getWindowForTarget", {{"targetId", tab.targetId}});
  int snap = cdp_.send("DOMSnapshot.captureSnapshot", {{"computedStyles", Json::array({"position"})}}, s);
  get(gen, genR);
  get(release, releaseR);
  get(root, rootR);
  retire(std::move(c.previous));
  c.previous = std::move(c.reader);
  c.reader = std::make_unique<PageTreeReader>();
  PageTreeReader& reader = *c.reader;
  if (whole) {
    if (rootR.contains("nodes")) reader.addTree(std::move(rootR["nodes"]));
  } else if (rootR.contains("node")) {
    reader.addRoot(std::move(rootR["node"]));
    try {
      fetch(s, reader, {}, kReadAhead);
    } catch (const CdpError&) {
    }
  }
  get(active, activeR);
  get(metrics, metricsR);
  get(win, winR);
  get(snap, snapR);

  if (winR.contains("bounds")) {
    const Json& b = winR["bounds"];
    window_ = Rect{b.value("left", 0.0), b.value("top", 0.0), b.value("width", 1200.0), b.value("height", 800.0)};
  }
  if (metricsR.contains("cssLayoutViewport")) {
    double h = metricsR["cssLayoutViewport"].value("clientHeight", window_.height);
    double band = std::max(kTabStripHeight + kToolbarHeight, window_.height - h);
    viewport_ = Rect{window_.x, window_.y + band, window_.width, window_.height - band};
  }
  reader.build(snapR, viewport_);
  // The focused element may lie past what was read: read down to it.
  if (activeR.contains("result") && activeR["result"].contains("objectId") && reader.tree().focused <= 0) {
    try {
      reach(s, reader, {{"objectId", activeR["result"]["objectId"]}});
    } catch (const CdpError&) {
    }
  }
  PageTree& tree = reader.tree();
  if (tree.url.empty()) tree.url = tab.url;
  if (tree.title.empty()) tree.title = tab.title;
  c.generation =
      genR.contains("result") && genR["result"].contains("value") ? std::move(genR["result"]["value"]) : Json();
  c.check = false;
  c.valid = true;
}

void PageCache::retire(std::unique_ptr<PageTreeReader> old) {
  if (!old) return;
  // Joins the one before, long done by now.
  retiring_ = std::jthread([old = std::move(old)]() mutable { old.reset(); });
}

}  // namespace skimlet::chromium
