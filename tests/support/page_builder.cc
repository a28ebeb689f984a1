#include "support/page_builder.h"

namespace skimlet::testing {

int ElementList::add(PageElement e, std::optional<int> parent) {
  e.id = static_cast<int>(list_.size());
  e.parent = parent;
  e.depth = parent ? list_[*parent].depth + 1 : 0;
  list_.push_back(std::move(e));
  return list_.back().id;
}

Node group(std::vector<Node> children) { return Node{.role = "AXGroup", .children = std::move(children)}; }

Node text(std::string value) { return Node{.role = "AXStaticText", .value = std::move(value)}; }

Node heading(std::string title, int level, std::vector<Node> children) {
  if (children.empty()) children.push_back(text(title));
  return Node{.role = "AXHeading", .title = std::move(title), .value = double(level), .children = std::move(children)};
}

Node button(std::string title) { return Node{.role = "AXButton", .title = std::move(title), .actions = {"AXPress"}}; }

Node webArea(std::string url, std::string title, std::vector<Node> children) {
  return Node{.role = "AXWebArea",
              .title = std::move(title),
              .url = std::move(url),
              .frame = Rect{0, 100, 1280, 700},
              .actions = {"AXScrollDownByPage", "AXScrollUpByPage"},
              .children = std::move(children)};
}

memory::Recording plainWindow(std::vector<Node> children, std::string title) {
  memory::Recording r;
  r.app = {"Safari", "com.apple.Safari", 501, ""};
  r.window = Node{.role = "AXWindow", .title = std::move(title), .children = std::move(children)};
  return r;
}

memory::Recording browserWindow(std::vector<Node> content, const std::string& bundleID, const std::string& url,
                                const std::string& title, std::vector<std::string> tabs) {
  auto toolbarButton = [](std::string name) {
    return Node{.role = "AXButton", .description = std::move(name), .actions = {"AXPress", "AXShowMenu"}};
  };
  Node tabBar{.role = "AXTabGroup", .frame = Rect{0, 60, 1280, 30}};
  for (std::size_t i = 0; i < tabs.size(); ++i) {
    tabBar.children.push_back(Node{.role = "AXRadioButton",
                                   .title = tabs[i],
                                   .value = i == 0 ? 1.0 : 0.0,
                                   .frame = Rect{double(i) * 200, 60, 200, 30},
                                   .actions = {"AXPress"}});
  }
  memory::Recording r;
  r.app = {"", bundleID, 501, ""};
  r.window =
      Node{.role = "AXWindow",
           .subrole = "AXStandardWindow",
           .title = title,
           .frame = Rect{0, 0, 1280, 800},
           .children = {Node{.role = "AXToolbar",
                             .frame = Rect{0, 20, 1280, 40},
                             .children = {toolbarButton("Back"), toolbarButton("Forward"), toolbarButton("Reload")}},
                        std::move(tabBar), group({webArea(url, title, std::move(content))})}};
  return r;
}

}  // namespace skimlet::testing
