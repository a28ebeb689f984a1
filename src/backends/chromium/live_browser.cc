#include "backends/chromium/live_browser.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <thread>

namespace skimlet::chromium {

namespace {

double now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

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

std::string withoutFragment(const std::string& url) { return url.substr(0, url.find('#')); }

// Main-frame events that say a new document took the page's place or its viewport changed.
// Loading alone says nothing (a link within the document starts and stops a load too); what
// changed in place shows in the page's own counts.
bool replacesPage(const std::string& method) {
  return method == "Page.frameNavigated" || method == "Page.documentOpened" || method == "Page.frameResized" ||
         method == "Page.domContentEventFired" || method == "Page.loadEventFired";
}

}  // namespace

LiveBrowser::LiveBrowser(const LaunchOptions& options) {
  process_ = std::make_unique<BrowserProcess>(options);
  executable_ = BrowserProcess::findExecutable(options.executable);
  pid_ = process_->pid();
  cdp_ = std::make_unique<CdpClient>(process_->writeFd(), process_->readFd(), 15.0);
  try {
    cdp_->call("Target.setDiscoverTargets", {{"discover", true}});
    // Copy and paste reach the page's clipboard as the user's own shortcuts would.
    try {
      cdp_->call("Browser.grantPermissions", {{"permissions", {"clipboardReadWrite", "clipboardSanitizedWrite"}}});
    } catch (const CdpError&) {
    }
    // The first tab may take a moment to be announced after start-up.
    for (int i = 0; i < 200 && tabs_.empty(); ++i) {
      pump();
      if (tabs_.empty()) cdp_->poll(0.02);
    }
    if (tabs_.empty()) throw CdpError("the browser opened no tab");
    process_->noteHelpers();
    active_ = tabs_.front().targetId;
  } catch (...) {
    close();
    throw;
  }
}

LiveBrowser::~LiveBrowser() { close(); }

void LiveBrowser::close() {
  std::lock_guard lock(mutex_);
  if (!process_) return;
  process_->noteHelpers();
  if (cdp_ && !cdp_->broken()) {
    try {
      cdp_->send("Browser.close");
    } catch (const CdpError&) {
    }
  }
  process_->shutdown(3.0);
  process_.reset();
}

bool LiveBrowser::alive() {
  std::lock_guard lock(mutex_);
  return process_ && process_->running() && !cdp_->broken();
}

Tab* LiveBrowser::find(const std::string& targetId) {
  for (auto& t : tabs_)
    if (t.targetId == targetId) return &t;
  return nullptr;
}

void LiveBrowser::attach(Tab& tab) {
  tab.sessionId = cdp_->call("Target.attachToTarget", {{"targetId", tab.targetId}, {"flatten", true}})["sessionId"];
  const std::string& s = tab.sessionId;
  int ids[] = {
      cdp_->send("Page.enable", Json::object(), s),
      cdp_->send("Page.addScriptToEvaluateOnNewDocument", {{"source", kChangeCounter}}, s),
      cdp_->send("Runtime.evaluate", {{"expression", kChangeCounter}}, s),
      // Every tab behaves as if its window had focus, as the front window's pages do.
      cdp_->send("Emulation.setFocusEmulationEnabled", {{"enabled", true}}, s),
      // Keeps the browser's accessibility tree alive between reads, which makes re-reads cheap.
      cdp_->send("Accessibility.enable", Json::object(), s),
  };
  for (int id : ids) {
    try {
      cdp_->wait(id);
    } catch (const CdpError&) {
      // A tab that is closing, or a page that refuses a script: reads will say so later.
    }
  }
}

void LiveBrowser::pump() {
  // A crawl reads tens of thousands of attributes, each of which looks at the tabs first; the
  // pipe is looked at again only after a moment, which no event's meaning depends on.
  double t = now();
  if (t - polledAt_ > 0.002 || t < polledAt_) {
    cdp_->poll(0);
    polledAt_ = t;
  }
  if (!cdp_->hasEvents()) return;
  for (auto& e : cdp_->takeEvents()) {
    const Json& p = e.params;
    if (e.method == "Target.targetCreated" || e.method == "Target.targetInfoChanged") {
      const Json& info = p["targetInfo"];
      if (info.value("type", "") != "page") continue;
      std::string id = info["targetId"];
      Tab* tab = find(id);
      if (!tab) {
        if (e.method != "Target.targetCreated") continue;
        tabs_.push_back(Tab{id, "", info.value("url", ""), info.value("title", "")});
        tab = &tabs_.back();
        try {
          attach(*tab);
        } catch (const CdpError&) {
          tabs_.pop_back();
          continue;
        }
        // A tab that appears later (a link with a target, window.open) comes to the front,
        // as it does in the desktop browser.
        if (!active_.empty()) {
          active_ = id;
          openedByPage_.push_back(id);
        }
        continue;
      }
      if (withoutFragment(tab->url) != withoutFragment(info.value("url", ""))) cache_[id].valid = false;
      tab->url = info.value("url", "");
      tab->title = info.value("title", "");
    } else if (e.method == "Target.targetDestroyed" || e.method == "Target.detachedFromTarget") {
      std::string id = p.value("targetId", "");
      auto it = std::find_if(tabs_.begin(), tabs_.end(), [&](const Tab& t) { return t.targetId == id; });
      if (it == tabs_.end()) continue;
      size_t index = static_cast<size_t>(it - tabs_.begin());
      tabs_.erase(it);
      cache_.erase(id);
      if (active_ == id && !tabs_.empty()) active_ = tabs_[std::min(index, tabs_.size() - 1)].targetId;
    } else if (e.method.rfind("Page.", 0) == 0) {
      Tab* tab = nullptr;
      for (auto& t : tabs_)
        if (t.sessionId == e.sessionId) tab = &t;
      if (!tab) continue;
      std::string frame = p.value("frameId", "");
      bool mainFrame = frame.empty() || frame == tab->targetId;
      if (e.method == "Page.frameStartedLoading" && mainFrame) tab->loadsStarted++;
      else if (e.method == "Page.frameStoppedLoading" && mainFrame) tab->loadsStopped = tab->loadsStarted;
      if (mainFrame && replacesPage(e.method)) cache_[tab->targetId].valid = false;
      else if (mainFrame) cache_[tab->targetId].check = true;
    }
  }
}

std::vector<Tab> LiveBrowser::tabs() {
  std::lock_guard lock(mutex_);
  pump();
  return tabs_;
}

int LiveBrowser::activeIndex() {
  std::lock_guard lock(mutex_);
  pump();
  for (size_t i = 0; i < tabs_.size(); ++i)
    if (tabs_[i].targetId == active_) return static_cast<int>(i);
  return tabs_.empty() ? -1 : 0;
}

std::optional<Tab> LiveBrowser::activeTab() {
  std::lock_guard lock(mutex_);
  int i = activeIndex();
  if (i < 0) return std::nullopt;
  return tabs_[static_cast<size_t>(i)];
}

std::string LiveBrowser::titleOf(const std::string& targetId) {
  std::lock_guard lock(mutex_);
  pump();
  Tab* tab = find(targetId);
  if (!tab) return "";
  std::string title;
  if (targetId == active_) {
    title = page().title;
  } else {
    // Background tabs are not re-read; their own document knows its title.
    try {
      Json r = cdp_->call("Runtime.evaluate", {{"expression", "document.title"}, {"returnByValue", true}}, tab->sessionId, 2);
      title = r["result"].value("value", "");
    } catch (const CdpError&) {
      title = tab->title;
    }
  }
  return title.empty() ? tab->url : title;
}

void LiveBrowser::activate(int index) {
  std::lock_guard lock(mutex_);
  pump();
  if (index < 0 || index >= static_cast<int>(tabs_.size())) return;
  active_ = tabs_[static_cast<size_t>(index)].targetId;
  try {
    cdp_->call("Target.activateTarget", {{"targetId", active_}});
  } catch (const CdpError&) {
  }
}

void LiveBrowser::waitUntilReady(const std::string& targetId, double timeout) {
  double deadline = now() + timeout;
  while (now() < deadline) {
    pump();
    Tab* tab = find(targetId);
    if (!tab) return;
    try {
      Json r = cdp_->call("Runtime.evaluate", {{"expression", "document.readyState + '|' + location.href"}, {"returnByValue", true}},
                          tab->sessionId, 2.0);
      std::string state = r["result"].value("value", "");
      if (state.rfind("complete|", 0) == 0 && state != "complete|about:blank") return;
    } catch (const CdpError&) {
    }
    cdp_->poll(0.02);
  }
}

void LiveBrowser::openTab(const std::string& url, double timeout) {
  std::lock_guard lock(mutex_);
  pump();
  std::string id = cdp_->call("Target.createTarget", {{"url", "about:blank"}})["targetId"];
  for (int i = 0; i < 200 && !find(id); ++i) {
    cdp_->poll(0.01);
    pump();
  }
  openedByPage_.erase(std::remove(openedByPage_.begin(), openedByPage_.end(), id), openedByPage_.end());
  Tab* tab = find(id);
  if (!tab) throw CdpError("the new tab did not appear");
  active_ = id;
  if (url != "about:blank") {
    int before = tab->loadsStarted;
    cdp_->call("Page.navigate", {{"url", url}}, tab->sessionId);
    waitForLoad(id, before, timeout);
  }
}

void LiveBrowser::closeActiveTab() {
  std::lock_guard lock(mutex_);
  pump();
  std::string id = active_;
  cdp_->call("Target.closeTarget", {{"targetId", id}});
  for (int i = 0; i < 200 && find(id); ++i) {
    cdp_->poll(0.01);
    pump();
  }
}

void LiveBrowser::waitForLoad(const std::string& targetId, int startedBefore, double timeout) {
  double deadline = now() + timeout;
  while (now() < deadline) {
    pump();
    Tab* tab = find(targetId);
    if (!tab) return;
    if (tab->loadsStarted > startedBefore && tab->loadsStopped >= tab->loadsStarted) break;
    cdp_->poll(0.01);
  }
  // A new document announces itself; one that stayed may still have changed.
  cache_[targetId].check = true;
}

void LiveBrowser::navigate(const std::string& url, double timeout) {
  std::lock_guard lock(mutex_);
  pump();
  auto tab = activeTab();
  if (!tab) throw CdpError("no tab to navigate");
  std::string id = tab->targetId;
  int before = tab->loadsStarted;
  Json r = cdp_->call("Page.navigate", {{"url", url}}, tab->sessionId);
  if (r.contains("errorText")) throw CdpError("cannot open " + url + ": " + r["errorText"].get<std::string>());
  waitForLoad(id, before, timeout);
}

History LiveBrowser::history() {
  std::lock_guard lock(mutex_);
  History h;
  try {
    Json r = tabCall("Page.getNavigationHistory");
    int current = r.value("currentIndex", 0);
    h.canGoBack = current > 0;
    h.canGoForward = current + 1 < static_cast<int>(r["entries"].size());
  } catch (const CdpError&) {
  }
  return h;
}

bool LiveBrowser::goBack() {
  std::lock_guard lock(mutex_);
  Json r = tabCall("Page.getNavigationHistory");
  int current = r.value("currentIndex", 0);
  if (current <= 0) return false;
  auto tab = activeTab();
  if (!tab) return false;
  std::string id = tab->targetId;
  int before = tab->loadsStarted;
  tabCall("Page.navigateToHistoryEntry", {{"entryId", r["entries"][current - 1]["id"]}});
  changed(false);
  waitForLoad(id, before, 0.05);  // a same-document entry starts no load
  if (find(id) && find(id)->loadsStarted > before) waitForLoad(id, before, 10);
  return true;
}

bool LiveBrowser::goForward() {
  std::lock_guard lock(mutex_);
  Json r = tabCall("Page.getNavigationHistory");
  int current = r.value("currentIndex", 0);
  if (current + 1 >= static_cast<int>(r["entries"].size())) return false;
  auto tab = activeTab();
  if (!tab) return false;
  std::string id = tab->targetId;
  int before = tab->loadsStarted;
  tabCall("Page.navigateToHistoryEntry", {{"entryId", r["entries"][current + 1]["id"]}});
  changed(false);
  waitForLoad(id, before, 0.05);
  if (find(id) && find(id)->loadsStarted > before) waitForLoad(id, before, 10);
  return true;
}

void LiveBrowser::reload() {
  std::lock_guard lock(mutex_);
  auto tab = activeTab();
  if (!tab) return;
  std::string id = tab->targetId;
  int before = tab->loadsStarted;
  tabCall("Page.reload");
  waitForLoad(id, before, 10);
}

void LiveBrowser::changed(bool settle) {
  std::lock_guard lock(mutex_);
  pump();
  auto tab = activeTab();
  if (!tab) return;
  std::string id = tab->targetId;
  cache_[id].check = true;
  if (!settle) return;
  // On a busy machine the start of the load may come with the effect's own answer and so have
  // been seen already: a load still under way counts as started by the effect.
  int before = tab->loadsStopped < tab->loadsStarted ? tab->loadsStarted - 1 : tab->loadsStarted;
  size_t tabCount = tabs_.size();
  // A click's navigation is requested asynchronously; give it a moment to show up.
  double deadline = now() + 0.06;
  while (now() < deadline) {
    cdp_->poll(0.01);
    pump();
    Tab* t = find(id);
    if (!t || t->loadsStarted > before || tabs_.size() != tabCount) break;
  }
  if (Tab* t = find(id); t && t->loadsStarted > before) waitForLoad(id, before, 10);
  // Tabs the page opened: wait for them to have loaded, as the user would see them.
  auto opened = std::move(openedByPage_);
  openedByPage_.clear();
  for (const auto& o : opened) waitUntilReady(o, 10);
  if (auto a = activeTab()) cache_[a->targetId].check = true;
}

void LiveBrowser::forget() {
  std::lock_guard lock(mutex_);
  for (auto& [id, c] : cache_) c.valid = false;
}

void LiveBrowser::revalidate() {
  std::lock_guard lock(mutex_);
  pump();
  auto tab = activeTab();
  if (!tab) return;
  cache_[tab->targetId].check = true;
  check(tab->targetId);
}

void LiveBrowser::check(const std::string& targetId) {
  Cache& c = cache_[targetId];
  c.check = false;
  Tab* tab = find(targetId);
  if (!c.valid || !tab || !c.reader) return;
  Json now;
  try {
    Json r = cdp_->call("Runtime.evaluate", {{"expression", kGeneration}, {"returnByValue", true}}, tab->sessionId);
    now = std::move(r["result"]["value"]);
  } catch (const CdpError&) {
  }
  if (now == c.generation) return;
  c.valid = follow(*tab, c, now);
  if (c.valid) c.generation = std::move(now);
}

bool LiveBrowser::follow(const Tab& tab, Cache& c, const Json& now) {
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
    Json active = cdp_->call("Runtime.evaluate", {{"expression", kActiveElement}, {"objectGroup", "skimlet"}},
                             tab.sessionId);
    int index = -1;
    if (active.contains("result") && active["result"].contains("objectId")) {
      Json described = cdp_->call("DOM.describeNode", {{"objectId", active["result"]["objectId"]}}, tab.sessionId);
      std::int64_t key = described["node"].value("backendNodeId", std::int64_t{0});
      auto it = reader.tree().byKey.find(key);
      if (key <= 0 || it == reader.tree().byKey.end()) return false;
      index = it->second;
    }
    reader.focus(index);
  }
  return true;
}

const PageTree& LiveBrowser::page() {
  std::lock_guard lock(mutex_);
  auto tab = activeTab();
  static const PageTree empty;
  if (!tab) return empty;
  return page(tab->targetId);
}

const PageTree& LiveBrowser::page(const std::string& targetId) {
  std::lock_guard lock(mutex_);
  pump();
  Cache& c = cache_[targetId];
  if (c.valid && c.check) {
    try {
      check(targetId);
    } catch (const CdpError&) {
      c.valid = false;
    }
  }
  if (!c.valid) refresh(targetId);
  static const PageTree empty;
  const Cache& read = cache_[targetId];
  return read.reader ? read.reader->tree() : empty;
}

const PageNode* LiveBrowser::pageNode(std::int64_t key) {
  std::lock_guard lock(mutex_);
  if (const PageNode* n = page().find(key)) return n;
  auto tab = activeTab();
  if (!tab) return nullptr;
  std::string session = tab->sessionId;
  Cache& c = cache_[tab->targetId];
  // Text and elements have DOM nodes; a node without one is only ever met through its parent.
  if (key <= 0 || !c.reader) return nullptr;
  try {
    reach(session, *c.reader, {{"backendNodeId", key}});
  } catch (const CdpError&) {
  }
  return c.reader->tree().find(key);
}

const PageNode* LiveBrowser::pageNodeWithChildren(std::int64_t key) {
  std::lock_guard lock(mutex_);
  const PageNode* n = pageNode(key);
  if (!n) return nullptr;
  auto tab = activeTab();
  Cache& c = cache_[tab->targetId];
  int index = c.reader->tree().byKey.at(key);
  if (c.reader->pending(index)) {
    try {
      listChildren(tab->sessionId, *c.reader, index);
    } catch (const CdpError&) {
    }
  }
  return &c.reader->tree().nodes[static_cast<size_t>(index)];
}

void LiveBrowser::fetch(const std::string& session, PageTreeReader& reader, const std::vector<std::string>& first,
                        std::size_t until) {
  std::deque<std::pair<int, std::string>> inFlight;
  std::size_t next = 0;
  for (;;) {
    while (inFlight.size() < kInFlight) {
      std::optional<std::string> id;
      if (next < first.size()) {
        id = first[next++];
        reader.asking(*id);
      }
      else if (reader.exposedCount() < until) id = reader.nextToFetch();
      if (!id) break;
      inFlight.emplace_back(cdp_->send("Accessibility.getChildAXNodes", {{"id", *id}}, session), std::move(*id));
    }
    if (inFlight.empty()) return;
    auto [request, id] = std::move(inFlight.front());
    inFlight.pop_front();
    Json nodes = Json::array();
    try {
      Json r = cdp_->wait(request, 20);
      if (r.contains("nodes")) nodes = std::move(r["nodes"]);
    } catch (const CdpError&) {
      if (cdp_->broken()) throw;
      // The node went away since it was listed: it has no children to show.
    }
    reader.addChildren(id, std::move(nodes));
  }
}

void LiveBrowser::listChildren(const std::string& session, PageTreeReader& reader, int index) {
  // Each round reads one more level of ignored nodes between the node and its children.
  for (int round = 0; round < 100 && !reader.expand(index); ++round)
    fetch(session, reader, reader.missingFor(index), reader.exposedCount() + kReadMore);
}

void LiveBrowser::reach(const std::string& session, PageTreeReader& reader, const Json& params) {
  Json chain;
  try {
    chain = cdp_->call("Accessibility.getAXNodeAndAncestors", params, session);
  } catch (const CdpError&) {
    if (cdp_->broken()) throw;
    return;
  }
  const Json& nodes = chain["nodes"];
  if (!nodes.is_array()) return;
  // From the root down: listing each page node's children makes the next one a page node.
  for (auto it = nodes.rbegin(); it != nodes.rend(); ++it) {
    int index = reader.indexOf(nodeIdOf(*it));
    if (index < 0) continue;
    for (int round = 0; round < 100 && !reader.expand(index); ++round) fetch(session, reader, reader.missingFor(index), 0);
  }
}

void LiveBrowser::refresh(const std::string& targetId) {
  Tab* tab = find(targetId);
  Cache& c = cache_[targetId];
  if (!tab) {
    c = Cache{};
    return;
  }
  const std::string s = tab->sessionId;
  // Independent requests travel together; the generation is read first so that any change
  // made while the tree is read shows up at the next check. The snapshot goes last: Chromium
  // answers in order, so the tree's first requests are on their way while its answer is read.
  int gen = cdp_->send("Runtime.evaluate", {{"expression", kGeneration}, {"returnByValue", true}}, s);
  int release = cdp_->send("Runtime.releaseObjectGroup", {{"objectGroup", "skimlet"}}, s);
  int count = cdp_->send("Runtime.evaluate", {{"expression", kElementCount}, {"returnByValue", true}}, s);
  Json genR, releaseR, countR, rootR, activeR, snapR, metricsR, histR, winR;
  auto get = [&](int id, Json& out) {
    try {
      out = cdp_->wait(id, 20);
    } catch (const CdpError&) {
      out = Json::object();
    }
  };
  get(count, countR);
  const Json* elements = countR.contains("result") ? &countR["result"] : nullptr;
  const bool whole = elements && elements->contains("value") && (*elements)["value"].is_number() &&
                     (*elements)["value"].get<double>() <= kWholeTreeElements;
  int root = cdp_->send(whole ? "Accessibility.getFullAXTree" : "Accessibility.getRootAXNode", Json::object(), s);
  int active = cdp_->send("Runtime.evaluate", {{"expression", kActiveElement}, {"objectGroup", "skimlet"}}, s);
  int metrics = cdp_->send("Page.getLayoutMetrics", Json::object(), s);
  int hist = cdp_->send("Page.getNavigationHistory", Json::object(), s);
  int win = cdp_->send("Browser.getWindowForTarget", {{"targetId", targetId}});
  int snap = cdp_->send("DOMSnapshot.captureSnapshot", {{"computedStyles", Json::array({"position"})}}, s);
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
  get(hist, histR);
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
  if (tree.url.empty()) tree.url = tab->url;
  if (tree.title.empty()) tree.title = tab->title;
  c.history = {};
  if (histR.contains("entries")) {
    int current = histR.value("currentIndex", 0);
    c.history.canGoBack = current > 0;
    c.history.canGoForward = current + 1 < static_cast<int>(histR["entries"].size());
  }
  c.generation = genR.contains("result") && genR["result"].contains("value") ? std::move(genR["result"]["value"]) : Json();
  c.check = false;
  c.valid = true;
}

void LiveBrowser::retire(std::unique_ptr<PageTreeReader> old) {
  if (!old) return;
  // Joins the one before, long done by now.
  retiring_ = std::jthread([old = std::move(old)]() mutable { old.reset(); });
}

Rect LiveBrowser::windowFrame() {
  std::lock_guard lock(mutex_);
  page();
  return window_;
}

Rect LiveBrowser::viewportFrame() {
  std::lock_guard lock(mutex_);
  page();
  return viewport_;
}

Rect LiveBrowser::tabStripFrame() {
  Rect v = viewportFrame();
  return Rect{v.x, v.y - kTabStripHeight - kToolbarHeight, v.width, kTabStripHeight};
}

Rect LiveBrowser::toolbarFrame() {
  Rect v = viewportFrame();
  return Rect{v.x, v.y - kToolbarHeight, v.width, kToolbarHeight};
}

Json LiveBrowser::tabCall(const std::string& method, const Json& params) {
  std::lock_guard lock(mutex_);
  auto tab = activeTab();
  if (!tab) throw CdpError("no open tab for " + method);
  return cdp_->call(method, params, tab->sessionId);
}

void LiveBrowser::tabCalls(const std::vector<std::pair<std::string, Json>>& calls) {
  std::lock_guard lock(mutex_);
  auto tab = activeTab();
  if (!tab) throw CdpError("no open tab for " + (calls.empty() ? std::string() : calls.front().first));
  std::vector<int> ids;
  for (const auto& [method, params] : calls) ids.push_back(cdp_->send(method, params, tab->sessionId));
  for (int id : ids) cdp_->wait(id);
}

Json LiveBrowser::evaluate(const std::string& expression) {
  Json r = tabCall("Runtime.evaluate", {{"expression", expression}, {"returnByValue", true}, {"awaitPromise", true}});
  if (r.contains("exceptionDetails")) throw CdpError("script failed: " + r["exceptionDetails"].dump());
  return r["result"].contains("value") ? r["result"]["value"] : Json();
}

Json LiveBrowser::callOnNode(std::int64_t key, const std::string& function, const Json& args) {
  std::lock_guard lock(mutex_);
  if (key <= 0) throw CdpError("the element has no DOM node");
  Json resolved = tabCall("DOM.resolveNode", {{"backendNodeId", key}, {"objectGroup", "skimlet"}});
  std::string objectId = resolved["object"].value("objectId", "");
  Json arguments = Json::array();
  for (const auto& a : args) arguments.push_back({{"value", a}});
  std::string wrapped = "function(...args) { const el = this.nodeType === 1 ? this : this.parentElement; return (" +
                        function + ").apply(el, args); }";
  Json r = tabCall("Runtime.callFunctionOn", {{"functionDeclaration", wrapped},
                                              {"objectId", objectId},
                                              {"arguments", arguments},
                                              {"returnByValue", true},
                                              {"awaitPromise", true}});
  if (r.contains("exceptionDetails")) throw CdpError("script failed: " + r["exceptionDetails"].dump());
  return r["result"].contains("value") ? r["result"]["value"] : Json();
}

}  // namespace skimlet::chromium
