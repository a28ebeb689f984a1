#include "page/crawler.h"

#include <gtest/gtest.h>

#include "backends/memory/backend.h"
#include "support/forwarding_ax.h"
#include "support/page_builder.h"

namespace skimlet {
namespace {

using memory::Node;
using testing::button;
using testing::group;
using testing::text;

std::vector<std::string> roles(const std::vector<PageElement>& elements) {
  std::vector<std::string> out;
  for (const auto& e : elements) out.push_back(e.role + (e.title.empty() ? "" : ":" + e.title));
  return out;
}

std::vector<PageElement> crawl(memory::Backend& b, Crawler::Limits limits = Crawler::pageLimits) {
  return Crawler::crawl(b.ax(), b.clock(), b.window(), limits);
}

TEST(Crawler, WalksInDocumentOrder) {
  memory::Backend b(testing::plainWindow(
      {group({Node{.role = "AXHeading", .title = "A"}, group({button("A1")}), button("A2")}), button("B")}));
  auto elements = crawl(b);
  EXPECT_EQ(roles(elements), (std::vector<std::string>{"AXWindow:Window", "AXGroup", "AXHeading:A", "AXGroup",
                                                       "AXButton:A1", "AXButton:A2", "AXButton:B"}));
  std::vector<std::optional<int>> parents;
  std::vector<int> depths;
  for (std::size_t i = 0; i < elements.size(); ++i) {
    EXPECT_EQ(elements[i].id, static_cast<int>(i));
    parents.push_back(elements[i].parent);
    depths.push_back(elements[i].depth);
  }
  EXPECT_EQ(parents, (std::vector<std::optional<int>>{std::nullopt, 0, 1, 1, 3, 1, 0}));
  EXPECT_EQ(depths, (std::vector<int>{0, 1, 2, 2, 3, 2, 1}));
  EXPECT_EQ(elements[0].element, b.window());
}

TEST(Crawler, StopsAtItsLimits) {
  memory::Backend lone(testing::plainWindow({}));
  auto one = crawl(lone);
  ASSERT_EQ(one.size(), 1u);
  EXPECT_FALSE(one[0].parent);
  EXPECT_EQ(one[0].depth, 0);

  memory::Backend b(testing::plainWindow({group({group({button("deep")})}), button("B")}));
  auto limits = Crawler::pageLimits;
  limits.maxNodes = 1;
  EXPECT_EQ(roles(crawl(b, limits)), (std::vector<std::string>{"AXWindow:Window"}));
  limits.maxNodes = 3;
  EXPECT_EQ(crawl(b, limits).size(), 3u);

  // An element at the depth limit is recorded, its children are not.
  limits = Crawler::pageLimits;
  limits.maxDepth = 2;
  EXPECT_EQ(roles(crawl(b, limits)), (std::vector<std::string>{"AXWindow:Window", "AXGroup", "AXGroup", "AXButton:B"}));
}

TEST(Crawler, StopsAtTheDeadlineCheckedOncePerElement) {
  memory::Backend b(testing::plainWindow({button("1"), button("2"), button("3"), button("4")}));
  b.setReadLatency(1.0);  // every element takes a second to read
  auto limits = Crawler::pageLimits;
  limits.timeLimit = 2.5;
  // Reads start at 0, 1 and 2 seconds; at 3 the deadline has passed.
  EXPECT_EQ(crawl(b, limits).size(), 3u);
}

TEST(Crawler, LeavesOutHiddenSubtrees) {
  Node hidden = group({button("inside hidden")});
  hidden.hidden = true;
  Node shown = button("shown");
  shown.hidden = false;
  memory::Backend b(testing::plainWindow({hidden, shown, button("last")}));
  auto elements = crawl(b);
  EXPECT_EQ(roles(elements), (std::vector<std::string>{"AXWindow:Window", "AXButton:shown", "AXButton:last"}));
  EXPECT_EQ(elements[2].id, 2);
}

TEST(Crawler, NeverReadsAPasswordsValue) {
  Node password{
      .role = "AXTextField", .subrole = "AXSecureTextField", .value = std::string("••••••"), .enabled = false};
  Node plain{.role = "AXStaticText",
             .title = "t",
             .description = "d",
             .help = "h",
             .placeholder = "p",
             .value = 42.0,
             .frame = Rect{1, 2, 3, 4},
             .actions = {"AXShowMenu"}};
  memory::Backend b(testing::plainWindow({password, plain, group({}), button("B")}));
  auto elements = crawl(b);
  ASSERT_EQ(elements.size(), 5u);
  EXPECT_EQ(elements[1].value, "");
  EXPECT_EQ(elements[1].subrole, "AXSecureTextField");
  EXPECT_FALSE(elements[1].enabled);
  const PageElement& t = elements[2];
  EXPECT_EQ(t.value, "42");
  EXPECT_EQ(t.desc, "d");
  EXPECT_EQ(t.help, "h");
  EXPECT_EQ(t.placeholder, "p");
  EXPECT_EQ(t.frame, (Rect{1, 2, 3, 4}));
  EXPECT_TRUE(t.enabled);          // "AXEnabled" missing
  EXPECT_TRUE(t.actions.empty());  // text runs never have their actions read
  EXPECT_FALSE(elements[3].frame);
  EXPECT_TRUE(elements[3].actions.empty());
  EXPECT_EQ(elements[4].actions, std::vector<std::string>{"AXPress"});
}

TEST(Crawler, CutsLongValuesAtTwentyThousandCharacters) {
  std::string ascii(25000, 'a');
  std::string accented;
  for (int i = 0; i < 25000; ++i) accented += "é";
  memory::Backend b(testing::plainWindow({text(ascii), text(accented), text(std::string(20000, 'b'))}));
  auto elements = crawl(b);
  EXPECT_EQ(elements[1].value, std::string(20000, 'a'));
  EXPECT_EQ(elements[2].value.size(), 40000u);  // 20000 two-byte characters
  EXPECT_EQ(elements[3].value.size(), 20000u);
}

TEST(Crawler, WebAreaStopsOnlyTheWindowCrawl) {
  Node area{.role = "AXWebArea", .title = "Page", .children = {button("in page")}};
  memory::Backend b(testing::plainWindow({button("Back"), group({area})}));
  auto chrome = crawl(b, Crawler::windowLimits);
  EXPECT_EQ(roles(chrome), (std::vector<std::string>{"AXWindow:Window", "AXButton:Back", "AXGroup", "AXWebArea:Page"}));
  EXPECT_EQ(roles(crawl(b, Crawler::pageLimits)).back(), "AXButton:in page");
  // A crawl that starts at a web area enters it even when stopping at web areas.
  auto fromArea = Crawler::crawl(b.ax(), b.clock(), chrome[3].element, Crawler::windowLimits);
  EXPECT_EQ(roles(fromArea), (std::vector<std::string>{"AXWebArea:Page", "AXButton:in page"}));
}

// Answers every element's children with the window appended: each element is reachable twice.
class CyclicAx : public testing::ForwardingAx {
 public:
  CyclicAx(ax::Api& inner, ax::ElementRef window) : ForwardingAx(inner), window_(std::move(window)) {}
  std::optional<std::vector<ax::Value>> copyMultipleAttributeValues(const ax::ElementRef& e,
                                                                    std::span<const std::string> names) override {
    auto values = inner_.copyMultipleAttributeValues(e, names);
    for (std::size_t i = 0; values && i < names.size(); ++i) {
      if (names[i] != "AXChildren") continue;
      std::vector<ax::ElementRef> children;
      if (auto list = std::get_if<std::vector<ax::ElementRef>>(&(*values)[i])) children = *list;
      children.push_back(window_);
      auto again = children;  // and every child twice
      children.insert(children.end(), again.begin(), again.end());
      (*values)[i] = children;
    }
    return values;
  }

 private:
  ax::ElementRef window_;
};

TEST(Crawler, VisitsAnElementReachableTwiceOnce) {
  memory::Backend b(testing::plainWindow({group({button("A")}), button("B")}));
  CyclicAx cyclic(b.ax(), b.window());
  auto elements = Crawler::crawl(cyclic, b.clock(), b.window(), Crawler::pageLimits);
  EXPECT_EQ(roles(elements), (std::vector<std::string>{"AXWindow:Window", "AXGroup", "AXButton:A", "AXButton:B"}));
}

// A browser that fails whole reads: the crawl still records the element, with neutral fields.
class FailingAx : public testing::ForwardingAx {
 public:
  using ForwardingAx::ForwardingAx;
  std::optional<std::vector<ax::Value>> copyMultipleAttributeValues(const ax::ElementRef&,
                                                                    std::span<const std::string>) override {
    return std::nullopt;
  }
};

TEST(Crawler, AFailedReadGivesANeutralElement) {
  memory::Backend b(testing::plainWindow({button("B")}));
  FailingAx failing(b.ax());
  auto elements = Crawler::crawl(failing, b.clock(), b.window(), Crawler::pageLimits);
  ASSERT_EQ(elements.size(), 1u);
  EXPECT_EQ(elements[0].role, "");
  EXPECT_TRUE(elements[0].enabled);
  EXPECT_FALSE(elements[0].frame);
}

}  // namespace
}  // namespace skimlet
