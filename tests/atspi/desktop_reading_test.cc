// Reading the user's own browser through the desktop's accessibility bus: the page and the
// browser's own controls as the macOS interface would show them.
#include <gmock/gmock.h>

#include "support/desktop_fixture.h"

namespace skimlet::testing {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

template <class B>
class DesktopReading : public DesktopTest<B> {};
using Browsers = ::testing::Types<Firefox, Chromium>;
TYPED_TEST_SUITE(DesktopReading, Browsers, BrowserNames);

const PageElement* find(const std::vector<PageElement>& list, const std::string& role, const std::string& label) {
  for (const auto& e : list)
    if (e.role == role && e.label() == label) return &e;
  return nullptr;
}

TYPED_TEST(DesktopReading, SignInPageAndWindow) {
  this->load("signin.html", "Sign in - Example Shop");
  PageSnapshot snap = this->capture();
  EXPECT_EQ(snap.pageTitle, "Sign in - Example Shop");
  EXPECT_EQ(snap.url, this->site("signin.html"));
  ASSERT_TRUE(snap.webArea);
  EXPECT_TRUE(snap.webArea->frame && snap.webArea->frame->hasArea());

  const auto& page = snap.elements;
  const PageElement* heading = find(page, "AXHeading", "Sign in");
  ASSERT_TRUE(heading);
  EXPECT_EQ(heading->value, "1");
  const PageElement* email = find(page, "AXTextField", "Email address");
  ASSERT_TRUE(email);
  EXPECT_EQ(email->placeholder, "you@example.com");
  EXPECT_TRUE(email->frame && email->frame->hasArea()) << "extents are known once the page has settled";
  const PageElement* search = find(page, "AXTextField", "Search the shop");
  ASSERT_TRUE(search);
  EXPECT_EQ(search->subrole, "AXSearchField");
  EXPECT_TRUE(find(page, "AXTextArea", "Notes"));
  const PageElement* password = find(page, "AXTextField", "Password");
  ASSERT_TRUE(password);
  EXPECT_EQ(password->subrole, "AXSecureTextField");
  EXPECT_EQ(password->value, "");
  EXPECT_TRUE(find(page, "AXCheckBox", "Remember me"));
  const PageElement* country = find(page, "AXPopUpButton", "Country");
  ASSERT_TRUE(country);
  ax::Value selected;
  this->platform().ax.copyAttributeValue(country->element, "AXValue", selected);
  EXPECT_EQ(std::get_if<std::string>(&selected) ? std::get<std::string>(selected) : "", "Norway");
  const PageElement* disabled = find(page, "AXButton", "Create account");
  ASSERT_TRUE(disabled);
  EXPECT_FALSE(disabled->enabled);
  EXPECT_THAT(disabled->actions, Contains("AXPress"));
  const PageElement* link = find(page, "AXLink", "Read our article");
  ASSERT_TRUE(link);
  ax::Value url;
  this->platform().ax.copyAttributeValue(link->element, "AXURL", url);
  ASSERT_TRUE(std::holds_alternative<ax::Url>(url));
  EXPECT_EQ(std::get<ax::Url>(url).absolute, this->site("article.html"));

  // Text runs become static text; the text of controls is not repeated as lines of its own.
  EXPECT_THAT(snap.text(), HasSubstr("# Sign in"));
  EXPECT_THAT(snap.text(), HasSubstr("[Field] Email address"));
  EXPECT_THAT(snap.text(), HasSubstr("→ Read our article"));
  EXPECT_THAT(snap.text(), ::testing::Not(HasSubstr("Hidden button")));

  // The browser's own controls: history buttons, the tab strip, one web area.
  const PageElement* back = find(snap.chrome, "AXButton", "Back");
  ASSERT_TRUE(back);
  EXPECT_THAT(this->tabTitles(), Contains("Sign in - Example Shop"));
  int areas = 0;
  for (const auto& e : snap.chrome) areas += e.role == "AXWebArea";
  EXPECT_EQ(areas, 1) << "only the shown document is the page";
}

}  // namespace
}  // namespace skimlet::testing
