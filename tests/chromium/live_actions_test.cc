// Acting on the live page through the seam, checked against the page's own state afterwards.
// What the typed commands in live_commands_test already drive through the same calls (toolbar
// presses, typing and replacing, masked passwords, Return, Tab, the clipboard keys, switching,
// opening and closing tabs, scrolling an element into view) is not repeated here.
#include "live_fixture.h"

namespace skimlet::testing {
namespace {

class LiveActions : public LiveTest {
 protected:
  InputEvents& input() { return session().platform().input; }
  Pid pid() { return session().app().pid; }
  void type(const std::u16string& text) {
    for (char16_t c : text) input().postText(pid(), std::u16string_view(&c, 1));
  }
  std::string activeTitle() { return js("document.title").get<std::string>(); }
};

TEST_F(LiveActions, PressActsOnlyOnEnabledControls) {
  load("signin.html");
  EXPECT_EQ(ax().performAction(element("AXButton", "Sign in").element, "AXPress"), ax::Error::success);
  EXPECT_EQ(js("window.clicks.join(',')"), "submit");
  EXPECT_EQ(js("document.getElementById('status').textContent"), "Submitted as ");

  EXPECT_EQ(ax().performAction(element("AXCheckBox", "Remember me").element, "AXPress"), ax::Error::success);
  EXPECT_TRUE(js("document.getElementById('remember').checked").get<bool>());
  EXPECT_EQ(element("AXCheckBox", "Remember me").value, "1") << "the tree is re-read after the press";

  std::vector<std::string> events;
  for (const Event& e : session().events()) events.push_back(describe(e));
  EXPECT_EQ(events, (std::vector<std::string>{"press AXButton “Sign in”", "press AXCheckBox “Remember me”"}));

  // A disabled toolbar button does not take the press.
  auto forward = element("AXButton", "Forward");
  EXPECT_FALSE(forward.enabled);
  EXPECT_EQ(ax().performAction(forward.element, "AXPress"), ax::Error::cannotComplete);
}

TEST_F(LiveActions, FieldsTakeWhatIsSet) {
  load("signin.html");
  auto email = element("AXTextField", "Email address");
  bool settable = false;
  EXPECT_EQ(ax().isAttributeSettable(email.element, "AXValue", settable), ax::Error::success);
  EXPECT_TRUE(settable);
  EXPECT_EQ(ax().setAttributeValue(email.element, "AXFocused", true), ax::Error::success);
  EXPECT_EQ(js("document.activeElement.id"), "email");
  ax::Value focused;
  ax().copyAttributeValue(app(), "AXFocusedUIElement", focused);
  EXPECT_TRUE(std::get<ax::ElementRef>(focused) == email.element);

  // Setting the value directly fires the events a page listens for.
  int inputsBefore = js("window.emailInputs || 0").get<int>();
  EXPECT_EQ(ax().setAttributeValue(email.element, "AXValue", std::string("set@example.com")), ax::Error::success);
  EXPECT_EQ(js("document.getElementById('email').value"), "set@example.com");
  EXPECT_EQ(js("window.emailInputs").get<int>(), inputsBefore + 1);
  EXPECT_GE(js("window.emailChanges").get<int>(), 1);
  EXPECT_EQ(ax().setAttributeValue(element("AXPopUpButton", "Country").element, "AXValue", std::string("Sweden")),
            ax::Error::success);
  EXPECT_EQ(js("document.getElementById('country').value"), "Sweden");
  EXPECT_EQ(ax().setAttributeValue(element("AXHeading", "Sign in").element, "AXValue", std::string("x")),
            ax::Error::attributeUnsupported);

  // Unicode beyond the basic plane arrives whole.
  ax().setAttributeValue(element("AXTextArea", "Notes").element, "AXFocused", true);
  input().postText(pid(), u"\U0001F600");
  EXPECT_EQ(js("document.getElementById('notes').value"), "\U0001F600");
}

TEST_F(LiveActions, DeleteReachesThePageAsARealKeyEvent) {
  load("signin.html");
  ax().setAttributeValue(element("AXTextField", "Email address").element, "AXFocused", true);
  type(u"ab@example.orgx");
  input().postKey(pid(), 51, 0);  // Delete
  EXPECT_EQ(js("document.getElementById('email').value"), "ab@example.org");
}

TEST_F(LiveActions, TabsFollowTheBrowser) {
  load("tab_one.html");
  session().platform().workspace.openURLs({site("tab_two.html"), site("article.html")}, session().app().bundlePath);
  EXPECT_EQ(browser().tabs().size(), 3u);
  EXPECT_EQ(activeTitle(), "The Quiet Harbour") << "the last opened URL is in front";

  input().postKey(pid(), 18, keyflags::command);  // Command-1
  EXPECT_EQ(activeTitle(), "Tab one: weather");
  input().postKey(pid(), 25, keyflags::command);  // Command-9: the last tab, whatever the count
  EXPECT_EQ(activeTitle(), "The Quiet Harbour");

  // The tab strip's buttons show every page; pressing one brings it to front.
  auto tab = element("AXRadioButton", "Tab two: tides");
  EXPECT_EQ(tab.value, "0");
  EXPECT_EQ(ax().performAction(tab.element, "AXPress"), ax::Error::success);
  EXPECT_EQ(activeTitle(), "Tab two: tides");
  EXPECT_EQ(element("AXRadioButton", "Tab two: tides").value, "1");
  auto state = session().pageState();
  EXPECT_EQ(state.title, "Tab two: tides");
  EXPECT_EQ(state.url, site("tab_two.html"));
}

TEST_F(LiveActions, ScrollingMovesThePage) {
  load("article.html");
  auto webArea = find(chrome(), "AXWebArea", "The Quiet Harbour");
  ASSERT_TRUE(webArea);
  EXPECT_EQ(ax().performAction(webArea->element, "AXScrollDownByPage"), ax::Error::success);
  EXPECT_GT(js("scrollY").get<double>(), 300);
  EXPECT_EQ(ax().performAction(webArea->element, "AXScrollUpByPage"), ax::Error::success);
  EXPECT_EQ(js("scrollY").get<double>(), 0);

  Rect view = browser().viewportFrame();
  input().postScrollWheel(Point{view.midX(), view.midY()}, 5);
  EXPECT_GT(js("scrollY").get<double>(), 0);
  auto events = session().events();
  ASSERT_FALSE(events.empty());
  EXPECT_EQ(events.back().action, "scrollWheel");
}

TEST_F(LiveActions, MouseClicksLandWhereAimed) {
  load("settings.html");
  auto sms = element("AXCheckBox", "Text messages");
  input().postMouseClick(Point{sms.frame->midX(), sms.frame->midY()});
  EXPECT_TRUE(js("document.getElementById('sms').checked").get<bool>());
  auto reload = element("AXButton", "Reload");
  input().postMouseClick(Point{reload.frame->midX(), reload.frame->midY()});
  EXPECT_FALSE(js("document.getElementById('sms').checked").get<bool>()) << "the page was reloaded";
  // The switch is a check box to the desktop, with its state as value.
  auto dark = element("AXCheckBox", "Dark mode");
  EXPECT_EQ(dark.subrole, "AXSwitch");
  EXPECT_EQ(ax().performAction(dark.element, "AXPress"), ax::Error::success);
  EXPECT_EQ(element("AXCheckBox", "Dark mode").value, "1");
}

}  // namespace
}  // namespace skimlet::testing
