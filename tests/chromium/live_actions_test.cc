// Acting on the live page through the seam, checked against the page's own state afterwards.
#include "live_fixture.h"

namespace skimlet::testing {
namespace {

using memory::Event;

class LiveActions : public LiveTest {
 protected:
  InputEvents& input() { return session().platform().input; }
  Pid pid() { return session().app().pid; }
  void type(const std::u16string& text) {
    for (char16_t c : text) input().postText(pid(), std::u16string_view(&c, 1));
  }
  std::string activeTitle() { return js("document.title").get<std::string>(); }
};

TEST_F(LiveActions, PressClicksButtonsCheckBoxesAndLinks) {
  load("signin.html");
  EXPECT_EQ(ax().performAction(element("AXButton", "Sign in").element, "AXPress"), ax::Error::success);
  EXPECT_EQ(js("window.clicks.join(',')"), "submit");
  EXPECT_EQ(js("document.getElementById('status').textContent"), "Submitted as ");

  EXPECT_EQ(ax().performAction(element("AXCheckBox", "Remember me").element, "AXPress"), ax::Error::success);
  EXPECT_TRUE(js("document.getElementById('remember').checked").get<bool>());
  EXPECT_EQ(element("AXCheckBox", "Remember me").value, "1") << "the tree is re-read after the press";

  auto events = session().events();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].type, Event::Type::press);
  EXPECT_EQ(events[0].role, "AXButton");
  EXPECT_EQ(events[0].label, "Sign in");

  // A link press follows the link, and the toolbar's Back and Forward follow the history.
  EXPECT_EQ(ax().performAction(element("AXLink", "Read our article").element, "AXPress"), ax::Error::success);
  EXPECT_EQ(activeTitle(), "The Quiet Harbour");
  auto back = element("AXButton", "Back");
  EXPECT_TRUE(back.enabled);
  EXPECT_EQ(ax().performAction(back.element, "AXPress"), ax::Error::success);
  EXPECT_EQ(activeTitle(), "Sign in - Example Shop");
  EXPECT_EQ(ax().performAction(element("AXButton", "Forward").element, "AXPress"), ax::Error::success);
  EXPECT_EQ(activeTitle(), "The Quiet Harbour");
  // A disabled toolbar button does not take the press.
  load("signin.html");
  auto forward = element("AXButton", "Forward");
  EXPECT_FALSE(forward.enabled);
  EXPECT_EQ(ax().performAction(forward.element, "AXPress"), ax::Error::cannotComplete);
}

TEST_F(LiveActions, FocusValuesAndTyping) {
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

  type(u"me@example.com");
  EXPECT_EQ(js("document.getElementById('email').value"), "me@example.com");
  // Command-A then typing replaces the field's text.
  input().postKey(pid(), 0, keyflags::command);
  type(u"you@example.org");
  EXPECT_EQ(js("document.getElementById('email').value"), "you@example.org");
  EXPECT_EQ(element("AXTextField", "Email address").value, "you@example.org");

  // Setting the value directly fires the events a page listens for.
  int inputsBefore = js("window.emailInputs").get<int>();
  EXPECT_EQ(ax().setAttributeValue(email.element, "AXValue", std::string("set@example.com")), ax::Error::success);
  EXPECT_EQ(js("document.getElementById('email').value"), "set@example.com");
  EXPECT_EQ(js("window.emailInputs").get<int>(), inputsBefore + 1);
  EXPECT_GE(js("window.emailChanges").get<int>(), 1);
  EXPECT_EQ(ax().setAttributeValue(element("AXPopUpButton", "Country").element, "AXValue", std::string("Sweden")),
            ax::Error::success);
  EXPECT_EQ(js("document.getElementById('country').value"), "Sweden");
  EXPECT_EQ(ax().setAttributeValue(element("AXHeading", "Sign in").element, "AXValue", std::string("x")),
            ax::Error::attributeUnsupported);

  // A password is typed for real but never shows in events or the page state.
  ax().setAttributeValue(element("AXTextField", "Password").element, "AXFocused", true);
  session().clearEvents();
  type(u"hunter2");
  EXPECT_EQ(js("document.getElementById('password').value"), "hunter2");
  auto events = session().events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].type, Event::Type::type);
  EXPECT_EQ(events[0].text, memory::maskedText);
  EXPECT_EQ(session().pageState().focusedValue, std::optional<std::string>(memory::maskedText));

  // Unicode beyond the basic plane arrives whole.
  ax().setAttributeValue(element("AXTextArea", "Notes").element, "AXFocused", true);
  input().postText(pid(), u"\U0001F600");
  EXPECT_EQ(js("document.getElementById('notes').value"), "\U0001F600");
}

TEST_F(LiveActions, KeysReachThePageAsRealKeyEvents) {
  load("signin.html");
  ax().setAttributeValue(element("AXTextField", "Email address").element, "AXFocused", true);
  type(u"ab@example.orgx");
  input().postKey(pid(), 51, 0);  // Delete
  EXPECT_EQ(js("document.getElementById('email').value"), "ab@example.org");
  input().postKey(pid(), 48, 0);  // Tab moves focus on
  EXPECT_EQ(js("document.activeElement.id"), "phone");
  input().postKey(pid(), 36, 0);  // Return submits the form
  EXPECT_EQ(js("document.getElementById('status').textContent"), "Submitted as ab@example.org");
  // Copy and paste go through the session's pasteboard.
  ax().setAttributeValue(element("AXTextField", "Email address").element, "AXFocused", true);
  input().postKey(pid(), 0, keyflags::command);
  input().postKey(pid(), 8, keyflags::command);
  EXPECT_EQ(session().platform().pasteboard.string(), std::optional<std::string>("ab@example.org"));
  ax().setAttributeValue(element("AXTextField", "Full name").element, "AXFocused", true);
  input().postKey(pid(), 9, keyflags::command);
  EXPECT_EQ(js("document.getElementById('name').value"), "ab@example.org");
}

TEST_F(LiveActions, TabsOpenSwitchAndClose) {
  load("tab_one.html");
  session().platform().workspace.openURLs({site("tab_two.html"), site("article.html")}, session().app().bundlePath);
  EXPECT_EQ(browser().tabs().size(), 3u);
  EXPECT_EQ(activeTitle(), "The Quiet Harbour") << "the last opened URL is in front";

  input().postKey(pid(), 18, keyflags::command);  // Command-1
  EXPECT_EQ(activeTitle(), "Tab one: weather");
  input().postKey(pid(), 48, keyflags::control);  // Control-Tab
  EXPECT_EQ(activeTitle(), "Tab two: tides");
  input().postKey(pid(), 48, keyflags::controlShift);
  EXPECT_EQ(activeTitle(), "Tab one: weather");
  input().postKey(pid(), 25, keyflags::command);  // Command-9: the last tab
  EXPECT_EQ(activeTitle(), "The Quiet Harbour");

  // The tab strip's buttons show every page; pressing one brings it to front.
  auto tab = element("AXRadioButton", "Tab two: tides");
  EXPECT_EQ(tab.value, "0");
  EXPECT_EQ(ax().performAction(tab.element, "AXPress"), ax::Error::success);
  EXPECT_EQ(activeTitle(), "Tab two: tides");
  EXPECT_EQ(element("AXRadioButton", "Tab two: tides").value, "1");

  input().postKey(pid(), 13, keyflags::command);  // Command-W
  EXPECT_EQ(browser().tabs().size(), 2u);
  input().postKey(pid(), 17, keyflags::command);  // Command-T
  EXPECT_EQ(browser().tabs().size(), 3u);
  EXPECT_EQ(session().pageState().tabs, 3);

  // A link with a target opens its page in a new tab in front.
  load("tab_one.html");
  ax().performAction(element("AXLink", "Open the tide table").element, "AXPress");
  EXPECT_EQ(browser().tabs().size(), 2u);
  EXPECT_EQ(activeTitle(), "Tab two: tides");
  auto state = session().pageState();
  EXPECT_EQ(state.title, "Tab two: tides");
  EXPECT_EQ(state.url, site("tab_two.html"));
}

TEST_F(LiveActions, ScrollingByPageToAnElementAndByWheel) {
  load("article.html");
  auto webArea = find(chrome(), "AXWebArea", "The Quiet Harbour");
  ASSERT_TRUE(webArea);
  EXPECT_EQ(ax().performAction(webArea->element, "AXScrollDownByPage"), ax::Error::success);
  double down = js("scrollY").get<double>();
  EXPECT_GT(down, 300);
  EXPECT_EQ(ax().performAction(webArea->element, "AXScrollUpByPage"), ax::Error::success);
  EXPECT_EQ(js("scrollY").get<double>(), 0);

  auto opening = element("AXHeading", "Opening hours");
  EXPECT_EQ(ax().performAction(opening.element, "AXScrollToVisible"), ax::Error::success);
  EXPECT_TRUE(js("(() => { const r = [...document.querySelectorAll('h3')][0].getBoundingClientRect();"
                 " return r.top >= 0 && r.bottom <= innerHeight; })()")
                  .get<bool>());
  auto moved = element("AXHeading", "Opening hours");
  Rect view = browser().viewportFrame();
  EXPECT_GE(moved.frame->y, view.y);

  js("window.scrollTo(0, 0)");
  input().postScrollWheel(Point{view.midX(), view.midY()}, 5);
  EXPECT_GT(js("scrollY").get<double>(), 0);
  auto events = session().events();
  ASSERT_FALSE(events.empty());
  EXPECT_EQ(events.back().action, "scrollWheel");
}

TEST_F(LiveActions, MouseClicksLandOnThePageAndOnTheBrowserChrome) {
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
