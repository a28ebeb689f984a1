// One read of a tab's page as the desktop accessibility interface shows it: Chromium's
// accessibility tree with ignored nodes flattened, roles translated, and every node's layout box
// turned into a frame in screen points. A large page is read a part at a time (PageTreeReader):
// asking Chromium for all of a long document's tree costs seconds, while a reader of the page
// rarely goes past its first few thousand elements.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <nlohmann/json.hpp>

#include "platform/geometry.h"

namespace skimlet::chromium {

struct PageNode {
  // Identity across reads: the DOM node's backend id, or a negative id for nodes without one.
  std::int64_t key = 0;
  int parent = -1;
  std::vector<int> children;
  std::string role, subrole, title, desc, help, placeholder, url;
  enum class ValueKind { none, text, number } valueKind = ValueKind::none;
  std::string text;   // the value when it is text
  double number = 0;  // the value when it is a number (heading level, check state)
  std::optional<Rect> frame;
  bool enabled = true;
  bool focused = false;
  bool focusable = false;
  bool valueSettable = false;
  bool secure = false;
  bool pressable = false;
  bool pinned = false;  // fixed in the viewport (position: fixed, or inside such a box)
  std::string tag;      // the DOM element's tag name, upper case; empty for text and pseudo nodes
};

struct PageTree {
  std::vector<PageNode> nodes;  // nodes[0] is the web area when the tree is not empty
  std::unordered_map<std::int64_t, int> byKey;
  int focused = -1;  // the focused node, else the web area
  std::string url, title;
  double scrollX = 0, scrollY = 0;
  double contentHeight = 0;

  const PageNode* find(std::int64_t key) const {
    auto it = byKey.find(key);
    return it == byKey.end() ? nullptr : &nodes[it->second];
  }
};

// Builds the tree from the answers of Accessibility.getFullAXTree and DOMSnapshot.captureSnapshot
// for a page whose viewport sits at `viewport` on the screen.
PageTree buildPageTree(const nlohmann::json& axTree, const nlohmann::json& domSnapshot, Rect viewport);

// A page tree filled in from Chromium's accessibility nodes as they arrive: the root first
// (Accessibility.getRootAXNode), then the children of one node at a time
// (Accessibility.getChildAXNodes). A node whose children have not all arrived is left pending;
// it is listed once they have. The DOM snapshot supplies tags, input facts and layout boxes.
class PageTreeReader {
 public:
  PageTreeReader();
  ~PageTreeReader();
  PageTreeReader(const PageTreeReader&) = delete;
  PageTreeReader& operator=(const PageTreeReader&) = delete;

  // The root node, as Accessibility.getRootAXNode answers it ("node").
  void addRoot(nlohmann::json node);
  // The children of a node, as Accessibility.getChildAXNodes answers for it ("nodes"); an empty
  // list for a node that could not be asked, whose children then count as none.
  void addChildren(const std::string& parentId, nlohmann::json nodes);
  // Every node at once, as Accessibility.getFullAXTree answers ("nodes").
  void addTree(nlohmann::json nodes);

  // The node whose children should be fetched next, in document order, so that the tree grows
  // from its start; none when every node that can have exposed children has been asked.
  std::optional<std::string> nextToFetch();
  // Exposed nodes received so far (not ignored, of a role the desktop shows).
  std::size_t exposedCount() const { return exposed_; }

  // Builds the tree from the root as far as the nodes received reach, with the DOM facts of
  // DOMSnapshot.captureSnapshot, for a page whose viewport sits at `viewport` on the screen.
  void build(const nlohmann::json& domSnapshot, Rect viewport);
  // Whether a page node's children are still to be listed.
  bool pending(int index) const { return pending_.count(index) > 0; }
  // The nodes whose children must still be fetched before a pending node's can be listed.
  std::vector<std::string> missingFor(int index) const;
  // Lists a pending node's children (and their descendants, as far as received) when nothing is
  // missing for it; returns whether it did.
  bool expand(int index);
  // The page node made from an accessibility node; -1 if none was (yet).
  int indexOf(const std::string& nodeId) const;
  // Notes that a node's children are being asked for, so that nextToFetch passes it over.
  void asking(const std::string& nodeId) { asked_.insert(nodeId); }

  // Follows the page scrolling to these offsets without reading it again: every frame moves by
  // the same amount except those pinned to the viewport. False when the page has sticky boxes,
  // whose place depends on the offset in ways only a new read tells.
  bool scrollTo(double x, double y);
  // Moves the focus to a page node (-1: to the page itself).
  void focus(int index);

  const PageTree& tree() const { return tree_; }
  PageTree& tree() { return tree_; }

 private:
  struct Dom;
  const nlohmann::json* raw(const std::string& id) const;
  void take(nlohmann::json& nodes, bool placed);
  bool ready(const nlohmann::json& n) const;
  void collectMissing(const nlohmann::json& n, std::vector<std::string>& out) const;
  void add(const nlohmann::json& n, int parent);
  void addChildren(const nlohmann::json& n, int parent);
  std::int64_t keyFor(const nlohmann::json& n, std::int64_t backendId);

  std::unique_ptr<Dom> dom_;
  Rect viewport_;
  std::vector<std::unique_ptr<nlohmann::json>> answers_;  // owners of the nodes below
  std::unordered_map<std::string, const nlohmann::json*> byId_;
  std::unordered_set<std::string> asked_;                    // nodes whose children were asked for
  std::unordered_set<std::string> fetched_;                  // nodes whose children arrived (or never will)
  std::unordered_map<std::string, std::vector<int>> paths_;  // child positions from the root
  std::map<std::vector<int>, std::string> toFetch_;          // document order is path order
  std::unordered_map<int, const nlohmann::json*> pending_;
  std::unordered_map<std::string, int> indexById_;
  const nlohmann::json* root_ = nullptr;
  std::size_t exposed_ = 0;
  PageTree tree_;
};

// Masks a secret the way the desktop shows a password field's value: one bullet per character.
std::string maskSecret(const std::string& text);

}  // namespace skimlet::chromium
