#include "page/page_element.h"

#include <cmath>

#include <gtest/gtest.h>

#include "backends/memory/backend.h"
#include "page/ax_helpers.h"
#include "page/crawler.h"
#include "page/roles.h"
#include "support/forwarding_ax.h"
#include "support/page_builder.h"

namespace skimlet {
namespace {

TEST(PageElementLabel, FieldsAreNamedByTitleDescriptionPlaceholderOrHelpNeverTheirValue) {
  PageElement field{.role = "AXTextField", .value = "hello", .desc = "  Search \n the site "};
  EXPECT_EQ(field.label(), "Search the site");
  field.desc.clear();
  EXPECT_EQ(field.label(), "");
  field.help = "help";
  field.placeholder = "Email";
  EXPECT_EQ(field.label(), "Email");
  EXPECT_EQ(field.labels(), (std::vector<std::string>{"Email", "help"}));
  // A search field of another role is a field too.
  PageElement search{.role = "AXGroup", .subrole = "AXSearchField", .value = "typed", .help = "Find"};
  EXPECT_EQ(search.label(), "Find");
}

TEST(PageElementLabel, OtherElementsMayBeNamedByTheirValue) {
  PageElement link{.role = "AXLink", .value = "  Next   page "};
  EXPECT_EQ(link.label(), "Next page");
  PageElement ok{.role = "AXButton", .title = "OK", .desc = "OK"};
  EXPECT_EQ(ok.labels(), (std::vector<std::string>{"OK", "OK"}));
  PageElement order{.role = "AXButton", .value = "v", .desc = "d", .help = "h", .placeholder = "p"};
  EXPECT_EQ(order.labels(), (std::vector<std::string>{"d", "v", "h", "p"}));
  PageElement blank{.role = "AXButton", .title = " \n ", .desc = "\t"};
  EXPECT_EQ(blank.label(), "");
  EXPECT_TRUE(blank.labels().empty());
}

TEST(Roles, RoleSetsHoldTheirRoles) {
  struct Case {
    const char* role;
    bool clickable, textInput, actionsRead;
  };
  const std::vector<Case> cases = {
      {"AXButton", true, false, true},
      {"AXLink", true, false, true},
      {"AXCheckBox", true, false, true},
      {"AXRadioButton", true, false, true},
      {"AXMenuItem", true, false, true},
      {"AXPopUpButton", true, false, true},
      {"AXMenuButton", true, false, true},
      {"AXDisclosureTriangle", true, false, true},
      {"AXTab", true, false, true},
      {"AXSwitch", true, false, true},
      {"AXToolbarButton", true, false, true},
      {"AXGroup", false, false, true},
      {"AXCell", false, false, true},
      {"AXUnknown", false, false, true},
      {"AXRow", false, false, true},
      {"AXImage", false, false, true},
      {"AXTextField", false, true, false},
      {"AXTextArea", false, true, false},
      {"AXComboBox", false, true, false},
      {"AXSearchField", false, true, false},
      {"AXStaticText", false, false, false},
      {"AXWebArea", false, false, false},
      {"AXHeading", false, false, false},
      {"AXSecureTextField", false, false, false},  // a subrole
      {"", false, false, false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Roles::clickable(c.role), c.clickable) << c.role;
    EXPECT_EQ(Roles::textInput(c.role), c.textInput) << c.role;
    EXPECT_EQ(Crawler::readsActions(c.role), c.actionsRead) << c.role;
  }
  EXPECT_EQ(Roles::clickableSet().size(), 11u);
  EXPECT_EQ(Roles::textInputSet().size(), 4u);
}

TEST(AXHelpers, ValuesAsText) {
  std::vector<std::string> texts;
  for (const ax::Value& v :
       {ax::Value{}, ax::Value{std::string("Sign in")}, ax::Value{3.0}, ax::Value{-2.0}, ax::Value{0.5},
        ax::Value{true}, ax::Value{ax::Url{"https://example.com/"}}, ax::Value{Point{1, 2}}})
    texts.push_back(AX::str(v));
  EXPECT_EQ(texts, (std::vector<std::string>{"", "Sign in", "3", "-2", "0.5", "1", "", ""}));
}

TEST(AXHelpers, RectNeedsFiniteNumbers) {
  EXPECT_EQ(AX::rect(Point{1, 2}, Size{3, 4}), (Rect{1, 2, 3, 4}));
  EXPECT_FALSE(AX::rect(Point{1, 2}, ax::Value{}));
  EXPECT_FALSE(AX::rect(Size{1, 2}, Size{3, 4}));
  EXPECT_FALSE(AX::rect(Point{INFINITY, 2}, Size{3, 4}));
  EXPECT_FALSE(AX::rect(Point{1, 2}, Size{NAN, 4}));
}

memory::Recording page() {
  return testing::plainWindow({memory::Node{
      .role = "AXButton", .title = "Go", .frame = Rect{10, 20, 30, 40}, .actions = {"AXPress", "AXShowMenu"}}});
}

// Answers a multi-attribute read with one value too few.
class ShortAx : public testing::ForwardingAx {
 public:
  using ForwardingAx::ForwardingAx;
  std::optional<std::vector<ax::Value>> copyMultipleAttributeValues(const ax::ElementRef& e,
                                                                    std::span<const std::string> names) override {
    auto v = inner_.copyMultipleAttributeValues(e, names);
    if (v && !v->empty()) v->pop_back();
    return v;
  }
};

TEST(AXHelpers, MultiGivesOneEntryPerNameWithFailuresAsNothing) {
  memory::Backend b(page());
  auto go = *b.find("AXButton", "Go");
  std::vector<std::string> names = {"AXRole", "AXNoSuchThing", "AXTitle"};
  auto v = AX::multi(b.ax(), go, names);
  ASSERT_EQ(v.size(), 3u);
  EXPECT_EQ(AX::str(v[0]), "AXButton");
  EXPECT_TRUE(std::holds_alternative<std::monostate>(v[1]));
  EXPECT_EQ(AX::str(v[2]), "Go");

  ShortAx shortAx(b.ax());
  auto none = AX::multi(shortAx, go, names);
  ASSERT_EQ(none.size(), 3u);
  for (const auto& value : none) EXPECT_TRUE(std::holds_alternative<std::monostate>(value));
}

TEST(AXHelpers, ElementReadsGoThroughTheInterface) {
  memory::Backend b(page());
  auto go = *b.find("AXButton", "Go");
  EXPECT_EQ(AX::frame(b.ax(), go), (Rect{10, 20, 30, 40}));
  EXPECT_FALSE(AX::frame(b.ax(), b.window()));
  EXPECT_EQ(AX::actions(b.ax(), go), (std::vector<std::string>{"AXPress", "AXShowMenu"}));
  EXPECT_TRUE(AX::actions(b.ax(), ax::ElementRef()).empty());
  EXPECT_EQ(AX::parent(b.ax(), go), b.window());
  EXPECT_FALSE(AX::parent(b.ax(), b.application()));

  AX::openPrivacySettings(b.workspace());
  auto events = b.events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].urls,
            std::vector<std::string>{"x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"});
}

}  // namespace
}  // namespace skimlet
