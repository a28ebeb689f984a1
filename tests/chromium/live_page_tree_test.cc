// A page read a part at a time must show the same tree as the page read whole, and whatever a
// reader reaches past the first part (children, the focused field, an element it kept) is read
// when it is asked for.
#include "backends/chromium/page_tree.h"
#include "live_fixture.h"

namespace skimlet::testing {
namespace {

using chromium::Json;
using chromium::PageNode;
using chromium::PageTree;
using chromium::PageTreeReader;

class LivePageTree : public LiveTest {
 protected:
  Json call(const std::string& method, const Json& params = Json::object()) {
    return browser().tabCall(method, params);
  }
  Json snapshot() { return call("DOMSnapshot.captureSnapshot", {{"computedStyles", Json::array()}}); }

  // Reads the tree from its root, asking for `steps` nodes' children in document order, then
  // lists every node still pending, asking only for what each one lacks.
  PageTree readInParts(int steps) {
    PageTreeReader reader;
    reader.addRoot(call("Accessibility.getRootAXNode")["node"]);
    for (int i = 0; i < steps; ++i) {
      auto id = reader.nextToFetch();
      if (!id) break;
      reader.addChildren(*id, call("Accessibility.getChildAXNodes", {{"id", *id}})["nodes"]);
    }
    reader.build(snapshot(), browser().viewportFrame());
    for (size_t index = 0; index < reader.tree().nodes.size(); ++index)
      for (int round = 0; round < 20 && !reader.expand(static_cast<int>(index)); ++round)
        for (const auto& id : reader.missingFor(static_cast<int>(index)))
          reader.addChildren(id, call("Accessibility.getChildAXNodes", {{"id", id}})["nodes"]);
    return reader.tree();
  }

  PageTree readWhole() {
    return chromium::buildPageTree(call("Accessibility.getFullAXTree"), snapshot(), browser().viewportFrame());
  }

  // Compares two trees from their roots, child by child, since listing on demand numbers nodes
  // in the order they were listed.
  static void expectSame(const PageTree& a, const PageTree& b, int ia, int ib, const std::string& where) {
    const PageNode& x = a.nodes[static_cast<size_t>(ia)];
    const PageNode& y = b.nodes[static_cast<size_t>(ib)];
    std::string at = where + "/" + x.role + " " + x.title + x.desc + x.text;
    EXPECT_EQ(x.key, y.key) << at;
    EXPECT_EQ(x.role, y.role) << at;
    EXPECT_EQ(x.subrole, y.subrole) << at;
    EXPECT_EQ(x.title, y.title) << at;
    EXPECT_EQ(x.desc, y.desc) << at;
    EXPECT_EQ(x.text, y.text) << at;
    EXPECT_EQ(x.number, y.number) << at;
    EXPECT_EQ(x.placeholder, y.placeholder) << at;
    EXPECT_EQ(x.pressable, y.pressable) << at;
    EXPECT_EQ(x.frame.has_value(), y.frame.has_value()) << at;
    if (x.frame && y.frame) {
      EXPECT_EQ(x.frame->y, y.frame->y) << at;
    }
    ASSERT_EQ(x.children.size(), y.children.size()) << at;
    for (size_t i = 0; i < x.children.size(); ++i) expectSame(a, b, x.children[i], y.children[i], at);
  }
};

TEST_F(LivePageTree, ReadInPartsEqualsReadWhole) {
  for (const char* page : {"article.html", "signin.html", "settings.html"}) {
    load(page);
    PageTree whole = readWhole();
    ASSERT_GT(whole.nodes.size(), 10u) << page;
    // Nothing past the root, a few nodes, and all of them: each must come out the same.
    for (int steps : {0, 3, 1000}) {
      PageTree parts = readInParts(steps);
      ASSERT_EQ(parts.nodes.size(), whole.nodes.size()) << page << " after " << steps;
      EXPECT_EQ(parts.title, whole.title);
      expectSame(parts, whole, 0, 0, std::string(page) + "@" + std::to_string(steps));
    }
  }
}

TEST_F(LivePageTree, ReadersGoPastTheFirstPartOfALongPage) {
  load("article.html");
  // Far more elements than a fresh read takes, with a field at the very end that has focus.
  js(R"JS((() => {
    const main = document.querySelector('main');
    for (let i = 0; i < 4500; i++) {
      const p = document.createElement('p');
      p.innerHTML = 'Paragraph ' + i + ' with <a href="#">link ' + i + '</a>';
      main.appendChild(p);
    }
    const field = document.createElement('input');
    field.setAttribute('aria-label', 'Last field');
    main.appendChild(field);
    field.focus();
  })())JS");
  browser().changed(false);

  ax::Value focused = attribute(app(), "AXFocusedUIElement");
  ASSERT_TRUE(std::holds_alternative<ax::ElementRef>(focused));
  auto field = std::get<ax::ElementRef>(focused);
  EXPECT_EQ(std::get<std::string>(attribute(field, "AXRole")), "AXTextField");
  EXPECT_EQ(std::get<std::string>(attribute(field, "AXDescription")), "Last field");

  // The crawl stops at its limit; everything it returns has its texts and frame, in order.
  auto elements = page();
  ASSERT_EQ(elements.size(), static_cast<size_t>(Crawler::pageLimits.maxNodes));
  auto link = find(elements, "AXLink", "link 1400");
  ASSERT_TRUE(link);
  EXPECT_TRUE(link->frame);
  EXPECT_EQ(elements[static_cast<size_t>(link->id - 1)].value, "Paragraph 1400 with ");
  EXPECT_EQ(elements[static_cast<size_t>(link->id + 1)].value, "link 1400");

  // A kept element past what any read so far has listed is still found when the page is read
  // again from nothing, and so are the children of its neighbours.
  browser().forget();
  EXPECT_EQ(std::get<std::string>(attribute(field, "AXRole")), "AXTextField");
  ax::Value parent = attribute(field, "AXParent");
  ASSERT_TRUE(std::holds_alternative<ax::ElementRef>(parent));
  auto siblings = std::get<std::vector<ax::ElementRef>>(attribute(std::get<ax::ElementRef>(parent), "AXChildren"));
  ASSERT_GE(siblings.size(), 4502u);
  EXPECT_TRUE(siblings.back() == field);
  auto lastParagraph = std::get<std::vector<ax::ElementRef>>(attribute(siblings[siblings.size() - 2], "AXChildren"));
  ASSERT_EQ(lastParagraph.size(), 2u);
  EXPECT_EQ(std::get<std::string>(attribute(lastParagraph[0], "AXValue")), "Paragraph 4499 with ");
  EXPECT_EQ(std::get<std::string>(attribute(lastParagraph[1], "AXTitle")), "link 4499");
}

}  // namespace
}  // namespace skimlet::testing
