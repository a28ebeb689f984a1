// Recorded pages are written by hand and attached to bug reports, so the loader's defaults and
// its messages about a broken file matter as much as the happy path.
#include <gtest/gtest.h>

#include "backends/memory/backend.h"
#include "backends/memory/recording.h"

namespace skimlet {
namespace {

using memory::parseRecording;

TEST(Recording, DefaultsFillWhatAHandWrittenPageLeavesOut) {
  auto r = parseRecording(std::string_view(R"({"app": {"bundleID": "com.apple.Safari"}, "window": {"role": "AXWindow",
      "children": [{"role": "AXTextField"}, {"role": "AXSearchField"}, {"role": "AXTextArea"}, {"role": "AXComboBox"},
                   {"role": "AXButton", "pressError": -25202}, {"role": "AXGroup", "settable": true},
                   {"role": "AXTextField", "settable": false, "keystrokes": false}]}})"));
  EXPECT_EQ(r.app.pid, 1);
  EXPECT_TRUE(r.front);
  EXPECT_EQ(r.app.name, "");
  const auto& c = r.window.children;
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(c[i].valueSettable()) << c[i].role;
  EXPECT_FALSE(c[4].valueSettable());
  EXPECT_TRUE(c[5].valueSettable());
  EXPECT_FALSE(c[6].valueSettable());
  EXPECT_TRUE(c[0].keystrokes);
  EXPECT_FALSE(c[6].keystrokes);
  EXPECT_EQ(c[4].pressError, -25202);
  EXPECT_FALSE(c[0].pressError);

  // The recorded error is what pressing answers.
  memory::Backend b(r);
  EXPECT_EQ(b.ax().performAction(*b.find("AXButton", ""), "AXPress"), ax::Error::actionUnsupported);
  r.window.children[4].actions = {"AXPress"};
  memory::Backend pressable(r);
  EXPECT_EQ(pressable.ax().performAction(*pressable.find("AXButton", ""), "AXPress"), ax::Error::invalidUIElement);
}

TEST(Recording, ABrokenPageSaysWhereItIsWrong) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {R"([1])", "recording: expected an object with \"app\" and \"window\""},
      {R"({"window": {}})", "app: missing"},
      {R"({"app": {}, "front": 1, "window": {}})", "front: expected true or false"},
      {R"({"app": {"pid": 0}, "window": {}})", "app.pid: expected a positive whole number"},
      {R"({"app": {"pid": 4294967297}, "window": {}})", "app.pid: expected a positive whole number"},
      {R"({"app": {}})", "window: missing"},
      {R"({"app": {}, "window": {"children": [{}, {"value": []}]}})",
       "window.children[1].value: expected a string, number or boolean"},
      {R"({"app": {}, "window": {"actions": ["AXPress", 3]}})", "window.actions[1]: expected a string"},
      {R"({"app": {}, "window": {"children": [{"focused": true}, {"children": [{"focused": true}]}]}})",
       "window.children[1].children[0].focused: only one node may be focused (window.children[0] is too)"},
      {R"({"app": {}, "window": {"pressError": 99999999999}})",
       "window.pressError: expected an error code such as -25202"},
  };
  for (const auto& [text, message] : cases) {
    try {
      parseRecording(std::string_view(text));
      ADD_FAILURE() << "accepted: " << text;
    } catch (const memory::RecordingError& e) {
      EXPECT_EQ(e.what(), message) << text;
    }
  }
  try {
    parseRecording(std::string_view("{\"app\": {},\n \"window\": }"));
    ADD_FAILURE() << "accepted broken JSON";
  } catch (const memory::RecordingError& e) {
    EXPECT_NE(std::string(e.what()).find("line 2"), std::string::npos) << e.what();
  }
}

}  // namespace
}  // namespace skimlet
