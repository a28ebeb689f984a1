// The live window as the accessibility interface shows it: application, window, tab strip,
// toolbar and the page's web area with roles, labels, states and frames.
#include <cmath>

#include "live_fixture.h"
#include "platform/system_clock.h"

namespace skimlet::testing {
namespace {

using chromium::LiveSession;

class LiveWindow : public LiveTest {};

TEST_F(LiveWindow, WindowLooksLikeADesktopBrowser) {
  load("signin.html");
  EXPECT_EQ(std::get<std::string>(attribute(app(), "AXRole")), "AXApplication");
  EXPECT_EQ(std::get<std::string>(attribute(window(), "AXTitle")), "Sign in - Example Shop");
  ax::Value focused = attribute(app(), "AXFocusedUIElement");
  ASSERT_TRUE(std::holds_alternative<ax::ElementRef>(focused));
  EXPECT_EQ(ax().setAttributeValue(app(), "AXManualAccessibility", true), ax::Error::success);
  EXPECT_TRUE(std::get<bool>(attribute(app(), "AXManualAccessibility")));

  auto chrome = this->chrome();
  auto back = find(chrome, "AXButton", "Back");
  auto forward = find(chrome, "AXButton", "Forward");
  ASSERT_TRUE(back && forward && find(chrome, "AXButton", "Reload") && find(chrome, "AXButton", "New Tab"));
  EXPECT_FALSE(back->enabled) << "the first page has no history";
  EXPECT_FALSE(forward->enabled);
  auto tab = find(chrome, "AXRadioButton", "Sign in - Example Shop");
  ASSERT_TRUE(tab);
  EXPECT_EQ(tab->subrole, "AXTabButton");
  EXPECT_EQ(tab->value, "1");
  int webAreas = 0;
  for (const auto& e : chrome)
    if (e.role == "AXWebArea") {
      ++webAreas;
      EXPECT_EQ(e.title, "Sign in - Example Shop");
      EXPECT_EQ(std::get<ax::Url>(attribute(e.element, "AXURL")).absolute, site("signin.html"));
      ASSERT_TRUE(e.frame);
      EXPECT_GT(e.frame->y, tab->frame->y) << "the page sits below the tab strip and toolbar";
    }
  EXPECT_EQ(webAreas, 1);
}

TEST_F(LiveWindow, FormControlsLookLikeDesktopControls) {
  load("signin.html");
  js("document.getElementById('password').value = 'hunter2'");
  browser().changed(false);
  auto page = this->page();
  auto name = find(page, "AXTextField", "Full name");
  auto email = find(page, "AXTextField", "Email address");
  auto password = find(page, "AXTextField", "Password");
  auto search = find(page, "AXTextField", "Search the shop");
  auto notes = find(page, "AXTextArea", "Notes");
  auto remember = find(page, "AXCheckBox", "Remember me");
  auto country = find(page, "AXPopUpButton", "Country");
  auto submit = find(page, "AXButton", "Sign in");
  auto create = find(page, "AXButton", "Create account");
  auto heading = find(page, "AXHeading", "Sign in");
  auto link = find(page, "AXLink", "Read our article");
  ASSERT_TRUE(name && email && password && search && notes && remember && country && submit && create && heading &&
              link);

  EXPECT_EQ(email->placeholder, "you@example.com");
  EXPECT_EQ(password->subrole, "AXSecureTextField");
  EXPECT_EQ(password->value, "") << "a password field's value is never read";
  ax::Value secret = attribute(password->element, "AXValue");
  EXPECT_EQ(std::get<std::string>(secret).find("hunter2"), std::string::npos);
  EXPECT_EQ(search->subrole, "AXSearchField");
  EXPECT_EQ(remember->value, "0");
  EXPECT_EQ(country->value, "Norway");
  EXPECT_TRUE(submit->enabled);
  EXPECT_FALSE(create->enabled);
  EXPECT_EQ(heading->value, "1");
  EXPECT_EQ(std::get<ax::Url>(attribute(link->element, "AXURL")).absolute, site("article.html"));
  EXPECT_TRUE(std::find(submit->actions.begin(), submit->actions.end(), "AXPress") != submit->actions.end());
  EXPECT_FALSE(find(page, "AXButton", "Hidden button")) << "display:none content is not exposed";

  // Frames are the page's own boxes, moved to where the viewport sits on the screen.
  auto box =
      js("(() => { const r = document.getElementById('email').getBoundingClientRect();"
         " return [r.x, r.y, r.width, r.height]; })()");
  Rect viewport = browser().viewportFrame();
  ASSERT_TRUE(email->frame);
  EXPECT_NEAR(email->frame->x, viewport.x + box[0].get<double>(), 0.5);
  EXPECT_NEAR(email->frame->y, viewport.y + box[1].get<double>(), 0.5);
  EXPECT_NEAR(email->frame->width, box[2].get<double>(), 0.5);
  EXPECT_NEAR(email->frame->height, box[3].get<double>(), 0.5);
}

TEST_F(LiveWindow, ArticleFramesFollowScrolling) {
  load("article.html");
  auto page = this->page();
  auto h2 = find(page, "AXHeading", "History of the harbour");
  auto image = find(page, "AXImage", "Boats moored at the quay");
  ASSERT_TRUE(h2 && image);
  EXPECT_EQ(h2->value, "2");
  EXPECT_EQ(image->desc, "Boats moored at the quay");
  int items = 0;
  for (const auto& e : page)
    if (e.role == "AXStaticText" && e.parent && page[*e.parent].role == "AXListItem") ++items;
  EXPECT_EQ(items, 3) << "list items read as item lines";
  for (const auto& e : page) EXPECT_NE(e.value, "•") << "list markers are not exposed";

  // After scrolling, frames move up by the scrolled distance.
  js("window.scrollTo(0, 300)");
  auto moved = find(this->page(), "AXHeading", "History of the harbour");
  ASSERT_TRUE(moved && moved->frame && h2->frame);
  EXPECT_NEAR(moved->frame->y, h2->frame->y - 300, 1);
  js("window.scrollTo(0, 0)");
}

TEST_F(LiveWindow, ElementsKeepTheirIdentityAcrossReads) {
  load("signin.html");
  auto first = find(page(), "AXButton", "Sign in");
  js("document.getElementById('status').textContent = 'changed'");
  auto second = find(page(), "AXButton", "Sign in");
  ASSERT_TRUE(first && second);
  EXPECT_TRUE(first->element == second->element);
  EXPECT_EQ(first->element.hash(), second->element.hash());
  // The page's own change was noticed without any effect of ours.
  auto status = this->page();
  bool seen = false;
  for (const auto& e : status) seen |= e.role == "AXStaticText" && e.value == "changed";
  EXPECT_TRUE(seen);
  // An element of a page that is gone is invalid.
  load("article.html");
  ax::Value v;
  EXPECT_EQ(ax().copyAttributeValue(first->element, "AXRole", v), ax::Error::invalidUIElement);
}

TEST_F(LiveWindow, HighlightDrawsOverThePageWithoutChangingTheTree) {
  load("signin.html");
  size_t before = page().size();
  auto button = element("AXButton", "Sign in");
  session().platform().highlighter.show(*button.frame, 5);
  EXPECT_EQ(js("document.querySelectorAll('[data-skimlet-overlay]').length").get<int>(), 1);
  EXPECT_EQ(page().size(), before);
  session().platform().highlighter.hide();
  EXPECT_EQ(js("document.querySelectorAll('[data-skimlet-overlay]').length").get<int>(), 0);
}

}  // namespace
}  // namespace skimlet::testing
