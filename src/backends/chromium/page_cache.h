// The pages of the browser's tabs, read as accessibility trees and kept until the page may
// have changed. A read asks the page cheaply whether it changed by itself (its own counts of
// mutations, focus moves and scrolling) and follows scrolling and focus in the tree it holds;
// anything else has the page read again, from its start as far as readers go.
//
// Used only under LiveBrowser's lock, which also keeps the pipe one conversation.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "backends/chromium/cdp_client.h"
#include "backends/chromium/page_tree.h"
#include "platform/geometry.h"

namespace skimlet::chromium {

struct Tab {
  std::string targetId;
  std::string sessionId;
  std::string url;
  std::string title;
  int loadsStarted = 0;  // main-frame loads begun and ended, to wait for a navigation to finish
  int loadsStopped = 0;
};

// Heights of the browser's own bands above the page, in points: the tab strip, then the
// toolbar. Headless Chromium reserves the same room above its viewport.
inline constexpr double kTabStripHeight = 40;
inline constexpr double kToolbarHeight = 40;

class PageCache {
 public:
  explicit PageCache(CdpClient& cdp) : cdp_(cdp) {}

  // The script every tab runs from its first document on, counting the page's own changes.
  static const char* changeCounter();

  // The tab's page, re-read when it may have changed.
  const PageTree& page(const Tab& tab);
  // A node of the tab's page by its key, read from the browser when the page's first read did
  // not reach it; null when the page has no such node.
  const PageNode* node(const Tab& tab, std::int64_t key);
  // The same with the node's children listed, read when the first read stopped above them.
  const PageNode* nodeWithChildren(const Tab& tab, std::int64_t key);

  // A new document took the tab's place: its next read starts from nothing.
  void replaced(const std::string& targetId);
  // Something may have changed the tab's page: its next read checks first.
  void mayHaveChanged(const std::string& targetId);
  // Checks the page now, following what it can.
  void revalidate(const Tab& tab);
  void closed(const std::string& targetId);
  void forgetAll();

  // The window and the page's viewport on screen, as of the last read.
  Rect window() const { return window_; }
  Rect viewport() const { return viewport_; }

 private:
  struct Entry {
    std::unique_ptr<PageTreeReader> reader;
    // The read before, kept until the next so that a tree handed out just before a re-read
    // stays valid while its caller finishes with it.
    std::unique_ptr<PageTreeReader> previous;
    Json generation;  // the page's own state when the tree was read (or last followed)
    bool valid = false;
    bool check = false;  // an effect may have changed the page since
  };

  void refresh(const Tab& tab);
  // Compares the page's state with the cached tree's and follows what it can; a tree that
  // cannot be followed is no longer valid.
  void check(const Tab& tab);
  bool follow(const Tab& tab, Entry& c, const Json& now);
  // Reads the children of these nodes, then of the next nodes in document order until the tree
  // holds `until` exposed nodes.
  void fetch(const std::string& session, PageTreeReader& reader, const std::vector<std::string>& first,
             std::size_t until);
  // Lists a page node's children, reading what is missing for it.
  void listChildren(const std::string& session, PageTreeReader& reader, int index);
  // Lists the page nodes down to the accessibility node that Accessibility.getAXNodeAndAncestors
  // finds with these parameters.
  void reach(const std::string& session, PageTreeReader& reader, const Json& params);
  // Frees a tree nobody is handed any more on a thread of its own: a large page's tree takes
  // tens of milliseconds to free, which the next read shouldn't wait for.
  void retire(std::unique_ptr<PageTreeReader> old);

  CdpClient& cdp_;
  std::unordered_map<std::string, Entry> entries_;
  std::jthread retiring_;
  Rect window_{0, 0, 1200, 800};
  Rect viewport_{0, 143, 1200, 657};
};

}  // namespace skimlet::chromium
