// The running browser as Skimlet sees it: its tabs in strip order with one active, the active
// page read as an accessibility tree (cached until the page may have changed), the window's
// geometry, and the browser's own commands (navigate, history, tabs). Every effect of the
// backend goes through here, under one lock, because the DevTools pipe is one conversation.
// Tabs are handed out as copies: the list changes whenever the pipe is read, by any call.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "backends/chromium/browser_process.h"
#include "backends/chromium/cdp_client.h"
#include "backends/chromium/page_cache.h"
#include "backends/chromium/page_tree.h"
#include "platform/geometry.h"

namespace skimlet::chromium {

struct History {
  bool canGoBack = false;
  bool canGoForward = false;
};

class LiveBrowser {
 public:
  explicit LiveBrowser(const LaunchOptions& options = {});
  ~LiveBrowser();
  LiveBrowser(const LiveBrowser&) = delete;
  LiveBrowser& operator=(const LiveBrowser&) = delete;

  // Closes the browser (Browser.close, then the process group). Safe to call twice.
  void close();
  bool alive();
  int pid() const { return pid_; }
  const std::string& executable() const { return executable_; }

  // The browser held for a sequence of calls that must not interleave with another thread's,
  // such as a page node found by one call and read by the next (nodes stay valid until the page
  // is read twice more). Each call below holds the browser by itself for its own length.
  class [[nodiscard]] Turn {
   public:
    explicit Turn(std::recursive_mutex& mutex) : lock_(mutex) {}

   private:
    std::unique_lock<std::recursive_mutex> lock_;
  };
  Turn take() { return Turn(mutex_); }

  // Tabs, in strip order.
  std::vector<Tab> tabs();
  int activeIndex();
  std::optional<Tab> activeTab();
  // A tab's page title as its tab shows it (the URL while it has none).
  std::string titleOf(const std::string& targetId);
  void activate(int index);
  // Opens a URL in a new tab that becomes the active one, and waits for it to load.
  void openTab(const std::string& url, double timeout = 10);
  void closeActiveTab();

  // Navigation of the active tab; each waits for the resulting load.
  void navigate(const std::string& url, double timeout = 10);
  bool goBack();
  bool goForward();
  void reload();
  History history();

  // The active tab's page, re-read when it may have changed.
  const PageTree& page();
  // The page of any tab (the active one is the one usually asked).
  const PageTree& page(const std::string& targetId);
  // A node of the active tab's page by its key, read from the browser when the page's first read
  // did not reach it; null when the page has no such node.
  const PageNode* pageNode(std::int64_t key);
  // The same with the node's children listed, read from the browser when the first read stopped
  // above them.
  const PageNode* pageNodeWithChildren(std::int64_t key);
  // Screen frames: the window, the tab strip, the toolbar and the page's viewport.
  Rect windowFrame();
  Rect viewportFrame();
  Rect tabStripFrame();
  Rect toolbarFrame();

  // Notes that an effect may have changed the page, so that the next read checks it first; with
  // settle, waits for a navigation that the effect started (a link, a submitted form, a key) to
  // finish loading.
  void changed(bool settle);
  // Checks cheaply whether the page changed by itself since it was read; reads at the start of a
  // crawl call this. Scrolling the page and moving the focus are followed in the cached tree;
  // anything else has the page read again.
  void revalidate();
  // Drops every cached tree, so that the next read starts from nothing.
  void forget();

  // Runs a function on a page node's DOM element (text nodes use their parent element) and
  // returns its JSON result. Throws CdpError when the node is gone.
  Json callOnNode(std::int64_t key, const std::string& function, const Json& args = Json::array());
  // Evaluates an expression in the active page; returns its JSON value.
  Json evaluate(const std::string& expression);
  // Sends a command to the active tab's session.
  Json tabCall(const std::string& method, const Json& params = Json::object());
  // Sends commands to the active tab's session back to back, then waits for every answer:
  // input events that must arrive together.
  void tabCalls(const std::vector<std::pair<std::string, Json>>& calls);

 private:
  void attach(Tab& tab);
  void pump();
  void waitForLoad(const std::string& targetId, int startedBefore, double timeout);
  void waitUntilReady(const std::string& targetId, double timeout);
  Tab* find(const std::string& targetId);

  std::recursive_mutex mutex_;
  std::unique_ptr<BrowserProcess> process_;
  std::unique_ptr<CdpClient> cdp_;
  std::string executable_;
  int pid_ = 0;
  std::vector<Tab> tabs_;
  std::string active_;
  std::vector<std::string> openedByPage_;  // tabs the page opened, still loading when noticed
  double polledAt_ = -1;                   // when the pipe was last looked at for events

  std::unique_ptr<PageCache> pages_;  // made with the pipe it reads through
};

}  // namespace skimlet::chromium
