// A page read once serves later reads while it stays as it was: scrolling the page and moving the
// focus are followed in the tree that was read, and the result must be what a fresh read shows;
// every other change (new content, a menu shown by the pointer, sticky boxes) has it read again.
#include "live_fixture.h"

namespace skimlet::testing {
namespace {

using chromium::PageNode;
using chromium::PageTree;

class LiveCache : public LiveTest {
 protected:
  const PageTree& tree() { return browser().page(); }

  // What a read from nothing shows now, copied before the cache is used again.
  PageTree fresh() {
    browser().forget();
    return tree();
  }

  // The cached tree has the nodes and frames of a fresh read, and the same focused node.
  void expectLikeFresh(const PageTree& cached, const std::string& when) {
    PageTree now = fresh();
    ASSERT_EQ(cached.nodes.size(), now.nodes.size()) << when;
    for (const PageNode& n : now.nodes) {
      const PageNode* c = cached.find(n.key);
      ASSERT_TRUE(c) << when << ": " << n.role << " " << n.title << n.text;
      ASSERT_EQ(c->frame.has_value(), n.frame.has_value()) << when << ": " << n.role << " " << n.title << n.text;
      if (n.frame) {
        EXPECT_NEAR(c->frame->x, n.frame->x, 0.5) << when << ": " << n.role << " " << n.title << n.text;
        EXPECT_NEAR(c->frame->y, n.frame->y, 0.5) << when << ": " << n.role << " " << n.title << n.text;
      }
    }
    EXPECT_EQ(cached.nodes[static_cast<size_t>(cached.focused)].key, now.nodes[static_cast<size_t>(now.focused)].key)
        << when;
    EXPECT_EQ(cached.url, now.url) << when;
  }

  static bool hasLink(const PageTree& t, const std::string& name) {
    for (const PageNode& n : t.nodes)
      if (n.role == "AXLink" && n.title == name && n.frame && n.frame->height > 0) return true;
    return false;
  }

  void movePointer(double x, double y) {
    browser().tabCall("Input.dispatchMouseEvent", {{"type", "mouseMoved"}, {"x", x}, {"y", y}});
    browser().changed(false);
  }
};

TEST_F(LiveCache, InPageChangesAreFollowedWithoutARead) {
  load("long_menu.html");
  movePointer(600, 400);
  browser().forget();
  const PageTree* read = &tree();

  js("window.scrollTo(0, 900)");
  browser().revalidate();
  ASSERT_EQ(&tree(), read) << "scrolling alone does not need a new read";
  PageTree scrolled = tree();
  expectLikeFresh(scrolled, "scrolled");
  const PageNode* summer = nullptr;
  for (const PageNode& n : scrolled.nodes)
    if (n.role == "AXLink" && n.title == "Summer") summer = &n;
  ASSERT_TRUE(summer && summer->frame);
  EXPECT_LT(summer->frame->y, browser().viewportFrame().y + 48) << "the fixed bar stays in view";

  read = &tree();
  js("document.getElementById('search').focus()");
  browser().changed(false);
  ASSERT_EQ(&tree(), read);
  EXPECT_EQ(tree().nodes[static_cast<size_t>(tree().focused)].role, "AXTextField");
  expectLikeFresh(tree(), "focused");

  // A link within the page scrolls it, moves the URL and (clicked) the focus.
  read = &tree();
  js("document.querySelector('a[href=\"#summer\"]').click()");
  browser().changed(true);
  ASSERT_EQ(&tree(), read);
  EXPECT_NE(tree().url.find("#summer"), std::string::npos);
  expectLikeFresh(tree(), "followed a link");
}

TEST_F(LiveCache, OtherChangesHaveThePageReadAgain) {
  load("long_menu.html");
  movePointer(600, 400);
  browser().forget();
  const PageTree* read = &tree();

  js("document.querySelector('main').insertAdjacentHTML('beforeend', '<p><a href=\"#\">Fares</a></p>')");
  browser().revalidate();
  EXPECT_NE(&tree(), read);
  EXPECT_TRUE(hasLink(tree(), "Fares"));

  // A menu that only the pointer's place shows: no count moves, the style rules in play do.
  EXPECT_FALSE(hasLink(tree(), "North route"));
  read = &tree();
  Rect routes, viewport = browser().viewportFrame();
  for (const PageNode& n : tree().nodes)
    if (n.role == "AXLink" && n.title == "Routes" && n.frame) routes = *n.frame;
  movePointer(routes.midX() - viewport.x, routes.midY() - viewport.y);
  EXPECT_NE(&tree(), read);
  EXPECT_TRUE(hasLink(tree(), "North route"));
  movePointer(600, 400);
  EXPECT_FALSE(hasLink(tree(), "North route"));

  // Sticky headings move against the page as it scrolls: scrolling is read, not followed.
  js("document.body.classList.add('sticky')");
  browser().revalidate();
  read = &tree();
  js("window.scrollTo(0, 1200)");
  browser().revalidate();
  EXPECT_NE(&tree(), read);
  expectLikeFresh(tree(), "sticky");

  // The same URL loaded again is a new document.
  read = &tree();
  browser().reload();
  EXPECT_NE(&tree(), read);
}

}  // namespace
}  // namespace skimlet::testing
