#include "large_page.h"

#include <cstdint>
#include <string>
#include <vector>

namespace skimlet::bench {
namespace {

using memory::Node;

const char* const words[] = {"harbour", "council", "weather", "market", "station", "library", "bridge", "garden",
                             "winter",  "river",   "museum",  "ferry",  "summer",  "school",  "street", "festival"};

// A sentence of pseudo-random words, the same on every run.
std::string sentence(std::uint32_t& seed, int length) {
  std::string s;
  for (int i = 0; i < length; ++i) {
    seed = seed * 1664525u + 1013904223u;
    if (i) s += ' ';
    s += words[(seed >> 8) % std::size(words)];
  }
  return s + ".";
}

class PageMaker {
 public:
  Node node(std::string role, std::string title = {}, std::vector<std::string> actions = {}) {
    Node n;
    n.role = std::move(role);
    n.title = std::move(title);
    n.actions = std::move(actions);
    y_ += 22;
    n.frame = Rect{20, y_, 760, 20};
    ++count_;
    return n;
  }
  Node text(std::string value) {
    Node n = node("AXStaticText");
    n.value = std::move(value);
    return n;
  }
  int count() const { return count_; }

 private:
  double y_ = 100;
  int count_ = 0;
};

}  // namespace

// Sections of 30 elements until the web area holds elements: a heading with its text, a
// paragraph of four text runs and an inline link, a list of five linked items, a small form and
// an image. A navigation bar of repeated links comes first.
memory::Recording largePage(int elements) {
  std::uint32_t seed = 11;
  PageMaker m;
  Node web = m.node("AXWebArea", "The Harbour Gazette");
  Node nav = m.node("AXGroup");
  for (int i = 0; i < 19; ++i)
    nav.children.push_back(m.node("AXLink", "Section " + std::to_string(i % 6), {"AXPress"}));
  web.children.push_back(std::move(nav));
  for (int s = 0; m.count() + 30 <= elements; ++s) {
    Node h = m.node("AXHeading", "Chapter " + std::to_string(s));
    h.value = double(2 + s % 3);
    h.children.push_back(m.text("Chapter " + std::to_string(s)));
    web.children.push_back(std::move(h));

    // Two thirds down, the one fare on the page and the one newsletter button.
    const bool landmark = s == elements / 30 * 2 / 3;
    Node p = m.node("AXGroup");
    for (int t = 0; t < 4; ++t)
      p.children.push_back(m.text(landmark && t == 2
                                      ? "Tickets for the winter festival cost $12.50 at the harbour station."
                                      : sentence(seed, 14)));
    Node a = m.node("AXLink", "", {"AXPress", "AXShowMenu"});
    a.children.push_back(m.text(sentence(seed, 3)));
    p.children.push_back(std::move(a));
    web.children.push_back(std::move(p));

    Node list = m.node("AXList");
    for (int i = 0; i < 5; ++i) {
      Node item = m.node("AXListItem");
      Node link = m.node("AXLink", "", {"AXPress"});
      link.children.push_back(m.text(sentence(seed, 5)));
      item.children.push_back(std::move(link));
      list.children.push_back(std::move(item));
    }
    web.children.push_back(std::move(list));

    Node form = m.node("AXGroup");
    Node field = m.node("AXTextField");
    field.description = "Your comment";
    field.value = sentence(seed, 4);
    form.children.push_back(std::move(field));
    form.children.push_back(m.node("AXCheckBox", "Notify me", {"AXPress"}));
    form.children.push_back(m.node(
        "AXButton", landmark ? "Get the weekly newsletter" : "Post comment " + std::to_string(s % 4), {"AXPress"}));
    Node img = m.node("AXImage");
    img.description = "Photo: " + sentence(seed, 4);
    form.children.push_back(std::move(img));
    web.children.push_back(std::move(form));
  }
  while (m.count() < elements) web.children.push_back(m.text(sentence(seed, 8)));

  memory::Recording r;
  r.app.name = "Safari", r.app.bundleID = "com.apple.Safari", r.app.pid = 501;
  PageMaker chrome;  // the browser's own controls, outside the page's count
  r.window = chrome.node("AXWindow", "The Harbour Gazette");
  Node toolbar = chrome.node("AXToolbar");
  for (const char* b : {"Back", "Forward", "Reload this page"})
    toolbar.children.push_back(chrome.node("AXButton", b, {"AXPress"}));
  r.window.children.push_back(std::move(toolbar));
  r.window.children.push_back(std::move(web));
  return r;
}

}  // namespace skimlet::bench
