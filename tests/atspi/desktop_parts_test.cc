// The desktop backend's own decisions, without a desktop: how AT-SPI roles read, how text runs
// and names are cut, which keys a Linux browser gets, which process is which browser, and when
// a window activation counts.
#include <gmock/gmock.h>

#include <atspi/atspi-constants.h>

#include "backends/atspi/activation_watcher.h"
#include "backends/atspi/atspi_ax.h"
#include "backends/atspi/browser_identity.h"
#include "backends/atspi/key_map.h"
#include "backends/atspi/role_map.h"
#include "platform/input_events.h"

namespace skimlet::atspi {
namespace {

using ::testing::ElementsAre;

States with(std::initializer_list<int> bits) {
  States s;
  for (int b : bits) (b < 32 ? s.low : s.high) |= 1u << (b % 32);
  return s;
}

TEST(DesktopRoles, FieldsPopUpsLandmarksAndLabels) {
  struct Case {
    std::uint32_t role;
    RoleContext context;
    const char* axRole;
    const char* subrole;
  };
  const Case cases[] = {
      {ATSPI_ROLE_ENTRY, {}, "AXTextField", ""},
      {ATSPI_ROLE_ENTRY, {with({ATSPI_STATE_MULTI_LINE})}, "AXTextArea", ""},
      {ATSPI_ROLE_ENTRY, {{}, "search"}, "AXTextField", "AXSearchField"},
      {ATSPI_ROLE_ENTRY, {{}, "text", "combobox searchbox"}, "AXTextField", "AXSearchField"},
      {ATSPI_ROLE_PASSWORD_TEXT, {}, "AXTextField", "AXSecureTextField"},
      {ATSPI_ROLE_COMBO_BOX, {}, "AXPopUpButton", ""},
      {ATSPI_ROLE_COMBO_BOX, {with({ATSPI_STATE_EDITABLE})}, "AXComboBox", ""},
      {ATSPI_ROLE_PAGE_TAB, {}, "AXRadioButton", "AXTabButton"},
      {ATSPI_ROLE_LANDMARK, {{}, "", "navigation"}, "AXGroup", "AXLandmarkNavigation"},
      {ATSPI_ROLE_LANDMARK, {{}, "", "mainly"}, "AXGroup", ""},
      {ATSPI_ROLE_DOCUMENT_WEB, {}, "AXWebArea", ""},
      {ATSPI_ROLE_PARAGRAPH, {}, "AXGroup", ""},
  };
  for (const auto& c : cases) {
    AxRole r = mapRole(c.role, c.context);
    EXPECT_EQ(r.role, c.axRole) << c.role;
    EXPECT_EQ(r.subrole, c.subrole) << c.role;
  }
  EXPECT_EQ(mapRole(ATSPI_ROLE_LABEL, {}).name, NamePlacement::none) << "a label is not a second name";
  EXPECT_EQ(mapRole(ATSPI_ROLE_LINK, {}).name, NamePlacement::title);
  EXPECT_TRUE(mapRole(ATSPI_ROLE_ENTRY, {}).leaf) << "a field's text is its value, not text runs";
}

TEST(DesktopText, RunsBetweenEmbeddedChildrenAndNames) {
  EXPECT_THAT(textRuns("Read \xEF\xBF\xBC now\xEF\xBF\xBC"), ElementsAre("Read ", " now", ""));
  EXPECT_THAT(textRuns("plain"), ElementsAre("plain"));
  EXPECT_EQ(tabName("Sign in - Example Shop - Memory usage - 23.3 MB"), "Sign in - Example Shop");
  EXPECT_EQ(pageTitleFromWindow("Sign in - Example Shop — Mozilla Firefox"), "Sign in - Example Shop");
  EXPECT_EQ(pageTitleFromWindow("Sign in - Example Shop - Chromium"), "Sign in - Example Shop");
  EXPECT_EQ(pageTitleFromWindow("Fish - Chips"), "Fish - Chips");
}

TEST(DesktopKeys, CommandShortcutsBecomeLinuxOnesAndAreNamedSo) {
  auto name = [](std::uint16_t key, std::uint64_t flags) {
    auto k = linuxKeyFor(key, flags);
    return k ? k->name : "(none)";
  };
  EXPECT_EQ(name(33, keyflags::command), "Alt+Left");   // back
  EXPECT_EQ(name(30, keyflags::command), "Alt+Right");  // forward
  EXPECT_EQ(name(keycode::digits[2], keyflags::command), "Alt+3");
  EXPECT_EQ(name(13, keyflags::command), "Ctrl+W");
  EXPECT_EQ(name(17, keyflags::command | keyflags::shift), "Ctrl+Shift+T");  // reopen a closed tab
  EXPECT_EQ(name(keycode::a, keyflags::command), "Ctrl+A");
  EXPECT_EQ(name(keycode::tab, keyflags::controlShift), "Ctrl+Shift+Tab");
  EXPECT_EQ(name(keycode::pageDown, keyflags::none), "Page Down");
  EXPECT_EQ(name(200, keyflags::none), "(none)");
}

TEST(DesktopBrowsers, IdentifiersFromProgramsAndProfilesFromCommandLines) {
  EXPECT_EQ(bundleIdentifier("/usr/lib/firefox-esr/firefox-esr"), "org.mozilla.firefox");
  EXPECT_EQ(bundleIdentifier("/usr/lib/firefox/firefox"), "org.mozilla.firefox");
  EXPECT_EQ(bundleIdentifier("/opt/google/chrome/chrome"), "com.google.Chrome");
  EXPECT_EQ(bundleIdentifier("/opt/google/chrome-beta/chrome"), "com.google.Chrome.beta");
  EXPECT_EQ(bundleIdentifier("/usr/lib/chromium/chromium"), "org.chromium.Chromium");
  EXPECT_EQ(bundleIdentifier("/opt/brave.com/brave/brave"), "com.brave.Browser");
  EXPECT_EQ(bundleIdentifier("/opt/microsoft/msedge/msedge"), "com.microsoft.edgemac");
  EXPECT_EQ(bundleIdentifier("/usr/bin/gedit"), "");
  EXPECT_THAT(openCommand("/usr/lib/firefox-esr/firefox-esr", {"firefox-esr", "-profile", "/q", "https://a"},
                          {"https://b", "https://c"}),
              ElementsAre("/usr/lib/firefox-esr/firefox-esr", "-profile", "/q", "--new-tab", "https://b", "--new-tab",
                          "https://c"));
  EXPECT_THAT(openCommand("/usr/lib/chromium/chromium", {"chromium", "--no-sandbox"}, {"https://b", "https://c"}),
              ElementsAre("/usr/lib/chromium/chromium", "--no-sandbox", "https://b", "https://c"));
}

TEST(DesktopActivation, ADeactivateActivatePairIsNoNewActivation) {
  ActivationWatcher::Debounce d;
  EXPECT_EQ(d.onActivate(10), 10);
  d.onDeactivate(10);
  EXPECT_EQ(d.onActivate(10), 0) << "Chromium's pair on a click into its own window";
  EXPECT_EQ(d.active, 10);
  d.onDeactivate(10);
  d.settle();
  EXPECT_EQ(d.active, 0) << "a deactivation with nothing after it";
  EXPECT_EQ(d.onActivate(20), 20);
  d.onDeactivate(10);
  d.settle();
  EXPECT_EQ(d.active, 20) << "another process going away leaves the front as it is";
}

}  // namespace
}  // namespace skimlet::atspi
