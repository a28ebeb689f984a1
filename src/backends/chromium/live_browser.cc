#include "backends/chromium/live_browser.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <thread>

namespace skimlet::chromium {

namespace {

double now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

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
  pages_ = std::make_unique<PageCache>(*cdp_);
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
      cdp_->send("Page.addScriptToEvaluateOnNewDocument", {{"source", PageCache::changeCounter()}}, s),
      cdp_->send("Runtime.evaluate", {{"expression", PageCache::changeCounter()}}, s),
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
      if (withoutFragment(tab->url) != withoutFragment(info.value("url", ""))) pages_->replaced(id);
      tab->url = info.value("url", "");
      tab->title = info.value("title", "");
    } else if (e.method == "Target.targetDestroyed" || e.method == "Target.detachedFromTarget") {
      std::string id = p.value("targetId", "");
      auto it = std::find_if(tabs_.begin(), tabs_.end(), [&](const Tab& t) { return t.targetId == id; });
      if (it == tabs_.end()) continue;
      size_t index = static_cast<size_t>(it - tabs_.begin());
      tabs_.erase(it);
      pages_->closed(id);
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
      if (mainFrame && replacesPage(e.method)) pages_->replaced(tab->targetId);
      else if (mainFrame) pages_->mayHaveChanged(tab->targetId);
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
      Json r = cdp_->call("Runtime.evaluate", {{"expression", "document.title"}, {"returnByValue", true}},
                          tab->sessionId, 2);
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
      Json r = cdp_->call("Runtime.evaluate",
                          {{"expression", "document.readyState + '|' + location.href"}, {"returnByValue", true}},
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
  pages_->mayHaveChanged(targetId);
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
  pages_->mayHaveChanged(id);
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
  if (auto a = activeTab()) pages_->mayHaveChanged(a->targetId);
}

void LiveBrowser::forget() {
  std::lock_guard lock(mutex_);
  pages_->forgetAll();
}

void LiveBrowser::revalidate() {
  std::lock_guard lock(mutex_);
  pump();
  if (auto tab = activeTab()) pages_->revalidate(*tab);
}

const PageTree& LiveBrowser::page() {
  std::lock_guard lock(mutex_);
  pump();
  static const PageTree empty;
  auto tab = activeTab();
  return tab ? pages_->page(*tab) : empty;
}

const PageTree& LiveBrowser::page(const std::string& targetId) {
  std::lock_guard lock(mutex_);
  pump();
  static const PageTree empty;
  Tab* tab = find(targetId);
  return tab ? pages_->page(*tab) : empty;
}

const PageNode* LiveBrowser::pageNode(std::int64_t key) {
  std::lock_guard lock(mutex_);
  pump();
  auto tab = activeTab();
  return tab ? pages_->node(*tab, key) : nullptr;
}

const PageNode* LiveBrowser::pageNodeWithChildren(std::int64_t key) {
  std::lock_guard lock(mutex_);
  pump();
  auto tab = activeTab();
  return tab ? pages_->nodeWithChildren(*tab, key) : nullptr;
}

Rect LiveBrowser::windowFrame() {
  std::lock_guard lock(mutex_);
  page();
  return pages_->window();
}

Rect LiveBrowser::viewportFrame() {
  std::lock_guard lock(mutex_);
  page();
  return pages_->viewport();
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
