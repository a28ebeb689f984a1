// Building pages in tests: element lists for the page reader, and recorded trees for the memory
// backend, with the roles and attributes browsers really expose.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "backends/memory/backend.h"
#include "backends/memory/recording.h"
#include "page/page_element.h"

namespace skimlet::testing {

// A flat element list as a crawl makes it: ids are positions, depths follow the parents.
class ElementList {
 public:
  // Appends the element under `parent` (an id returned earlier) and returns its id.
  int add(PageElement e, std::optional<int> parent = std::nullopt);
  const std::vector<PageElement>& list() const { return list_; }
  operator const std::vector<PageElement>&() const { return list_; }

 private:
  std::vector<PageElement> list_;
};

// --- Recorded nodes ------------------------------------------------------------------------
using memory::Node;

Node group(std::vector<Node> children);
Node text(std::string value);
Node heading(std::string title, int level, std::vector<Node> children = {});
Node button(std::string title);
Node webArea(std::string url, std::string title, std::vector<Node> children);

// A Safari window holding `children` directly, without a browser's toolbar, tabs or web area.
memory::Recording plainWindow(std::vector<Node> children, std::string title = "Window");

// A browser window around page content: a toolbar with "Back", "Forward" and "Reload", a tab
// bar with one tab per title (the first selected), and the web area (1280×700 at y 100).
memory::Recording browserWindow(std::vector<Node> content, const std::string& bundleID = "com.apple.Safari",
                                const std::string& url = "https://example.com/", const std::string& title = "Example",
                                std::vector<std::string> tabs = {"Example"});

}  // namespace skimlet::testing
