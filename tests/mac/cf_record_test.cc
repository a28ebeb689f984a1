// The macOS backend's conversions between Core Foundation values (as the Objective-C++ layer
// describes them) and the values Skimlet's core reads and sets.
#include <gtest/gtest.h>

#include "backends/mac/cf_record.h"
#include "backends/mac/overlay_placement.h"
#include "page/ax_helpers.h"

namespace skimlet::mac {
namespace {

using K = CFRecord::Kind;

struct Handle : ax::ElementHandle {
  explicit Handle(int n) : id(n) {}
  int id;
  bool equals(const ax::ElementHandle& o) const override {
    auto* h = dynamic_cast<const Handle*>(&o);
    return h && h->id == id;
  }
  std::size_t hash() const override { return static_cast<std::size_t>(id); }
};

ax::ElementRef element(int id) { return ax::ElementRef(std::make_shared<const Handle>(id)); }
CFRecord text(std::string s, K kind = K::string) { return CFRecord{.kind = kind, .text = std::move(s)}; }
CFRecord el(int id) { return CFRecord{.kind = K::element, .element = element(id)}; }
CFRecord array(std::vector<CFRecord> items) { return CFRecord{.kind = K::array, .items = std::move(items)}; }

TEST(CFRecord, EveryKindReadsAsTheCoreExpects) {
  const std::vector<std::pair<CFRecord, ax::Value>> table = {
      {CFRecord{}, std::monostate{}},
      {text("Sign in"), std::string("Sign in")},
      {text("Bold words", K::attributedString), std::string("Bold words")},
      {CFRecord{.kind = K::number, .number = 3}, 3.0},
      {CFRecord{.kind = K::boolean, .flag = true}, true},
      {CFRecord{.kind = K::point, .point = {10, -20.5}}, Point{10, -20.5}},
      {CFRecord{.kind = K::size, .size = {300, 40}}, Size{300, 40}},
      {CFRecord{.kind = K::axError, .error = -25212}, ax::Failed{ax::Error::noValue}},
      {CFRecord{.kind = K::otherAXValue}, std::monostate{}},
      {text("https://example.com/a?b=1", K::url), ax::Url{"https://example.com/a?b=1"}},
      {el(7), element(7)},
      {CFRecord{.kind = K::element}, std::monostate{}},  // a wrapper around nothing
      {array({el(1), el(2)}), std::vector<ax::ElementRef>{element(1), element(2)}},
      {array({}), std::vector<ax::ElementRef>{}},
      {array({text("AXPress"), text("AXShowMenu", K::attributedString)}),
       std::vector<std::string>{"AXPress", "AXShowMenu"}},
      {array({el(1), text("AXPress")}), std::monostate{}},  // mixed: neither children nor names
      {array({CFRecord{.kind = K::number, .number = 1}}), std::monostate{}},
      {CFRecord{.kind = K::other}, std::monostate{}},
  };
  for (std::size_t i = 0; i < table.size(); ++i) EXPECT_EQ(toValue(table[i].first), table[i].second) << "row " << i;
}

TEST(CFRecord, ReadValuesFeedTheTextAndFrameHelpers) {
  // An integer-valued number prints as the interface's integers do; a boolean as a number would.
  EXPECT_EQ(AX::str(toValue(CFRecord{.kind = K::number, .number = 3})), "3");
  EXPECT_EQ(AX::str(toValue(CFRecord{.kind = K::boolean, .flag = true})), "1");
  EXPECT_EQ(AX::rect(toValue(CFRecord{.kind = K::point, .point = {1, 2}}),
                     toValue(CFRecord{.kind = K::size, .size = {3, 4}})),
            (Rect{1, 2, 3, 4}));
  EXPECT_FALSE(AX::rect(toValue(CFRecord{.kind = K::otherAXValue}), toValue(CFRecord{.kind = K::size})));
}

TEST(CFRecord, SettableValuesRoundTripAndTheRestAreRefused) {
  const std::vector<ax::Value> settable = {
      std::string("hello"),
      true,
      false,
      12.5,
      Point{1, 2},
      Size{3, 4},
      ax::Url{"https://a.example/"},
      element(3),
      std::vector<ax::ElementRef>{element(1)},
      std::vector<std::string>{"a", "b"},
  };
  for (const ax::Value& v : settable) {
    auto record = toRecord(v);
    ASSERT_TRUE(record) << v.index();
    EXPECT_EQ(toValue(*record), v) << v.index();
  }
  EXPECT_FALSE(toRecord(std::monostate{}));
  EXPECT_FALSE(toRecord(ax::Failed{}));
  EXPECT_FALSE(toRecord(ax::ElementRef{}));
}

TEST(OverlayPlacement, FlipsAgainstTheMainScreenAndLetsOnlyTheLatestShowHide) {
  // An element 50 points below the top of a 900-point screen, 30 high: its outline's bottom edge
  // sits 900 - 80 - 2 points above the screen's bottom.
  EXPECT_EQ(overlayFrame({100, 50, 200, 30}, 900, 2), (Rect{98, 818, 204, 34}));
  EXPECT_EQ(axPoint({100, 850}, 900), (Point{100, 50}));

  OverlayTokens tokens;
  auto first = tokens.shown();
  auto second = tokens.shown();
  EXPECT_FALSE(tokens.stillCurrent(first));
  EXPECT_TRUE(tokens.stillCurrent(second));
  tokens.hidden();
  EXPECT_FALSE(tokens.stillCurrent(second));
}

}  // namespace
}  // namespace skimlet::mac
