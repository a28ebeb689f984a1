// The small GTK-free pieces the desktop shells draw with (light Markdown runs, the menu, the
// download line, the Inspector's tree) and the settings file that the CLI changes under them.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "backends/memory/backend.h"
#include "inspector/inspector_tree.h"
#include "llm/download_meter.h"
#include "palette/app_menu.h"
#include "palette/light_markdown.h"
#include "platform/json_settings.h"

namespace skimlet {
namespace {

TEST(LightMarkdown, BoldRunsEscapesAndAnUnclosedMarker) {
  using R = std::vector<TextRun>;
  EXPECT_EQ(lightMarkdownRuns("Clicked **Sign in**"), (R{{"Clicked ", false}, {"Sign in", true}}));
  EXPECT_EQ(lightMarkdownRuns("2 \\* 3 **a\\*\\*b**!"), (R{{"2 * 3 ", false}, {"a**b", true}, {"!", false}}));
  EXPECT_EQ(lightMarkdownRuns("**open"), (R{{"open", true}}));
  EXPECT_TRUE(lightMarkdownRuns("****").empty());
}

TEST(AppMenu, ItemsInOrderWithTheHotkeyInTheFirst) {
  std::vector<std::string> labels;
  for (const auto& item : appMenuItems("Alt+Space")) labels.push_back(item.label);
  EXPECT_EQ(labels, (std::vector<std::string>{"Open Skimlet (Alt+Space)", "", "Element Inspector", "Settings\u2026", "",
                                              "Quit Skimlet"}));
}

TEST(DownloadMeter, SpeedOverTheLastSecondsAndTheProgressLine) {
  DownloadMeter m;
  EXPECT_EQ(m.text(0), "0 bytes \u2014 0.0 MB/s");
  m.update(10.0, 0);
  m.update(11.0, 20'000'000);
  m.update(12.0, 40'000'000);
  EXPECT_DOUBLE_EQ(m.bytesPerSecond(), 20e6);
  EXPECT_EQ(m.text(1'100'000'000), "40 MB of 1.1 GB \u2014 20.0 MB/s");
  // A stall: once the window holds only the stalled stretch, the speed is zero.
  m.update(16.0, 40'000'000);
  m.update(17.0, 40'000'000);
  EXPECT_DOUBLE_EQ(m.bytesPerSecond(), 0);
  EXPECT_EQ(DownloadMeter::size(512'000), "512 KB");
}

TEST(InspectorTree, ReadsTheWindowWithinTheDepthLimitAndPicksTheSmallestFrame) {
  // A chain deeper than the limit, with a button inside a group that covers it.
  memory::Node leaf{.role = "AXStaticText", .value = memory::NodeValue(std::string("deep")), .frame = Rect{0, 0, 5, 5}};
  for (int i = 0; i < 20; ++i) leaf = memory::Node{.role = "AXGroup", .frame = Rect{0, 0, 5, 5}, .children = {leaf}};
  memory::Node button{
      .role = "AXButton", .title = "Buy", .frame = Rect{100, 200, 80, 30}, .enabled = true, .actions = {"AXPress"}};
  memory::Node group{
      .role = "AXGroup", .subrole = "AXLandmarkMain", .frame = Rect{50, 150, 400, 300}, .children = {button}};
  memory::Node web{.role = "AXWebArea", .title = "Shop", .frame = Rect{0, 80, 1280, 800}, .children = {group, leaf}};
  memory::Node window{.role = "AXWindow", .title = "Shop", .frame = Rect{0, 0, 1280, 900}, .children = {web}};
  memory::Backend backend(memory::Recording{memory::AppInfo{"Safari", "com.apple.Safari", 501, ""}, true, window});

  const auto elements = InspectorTree::read(backend.ax(), backend.clock(), *backend.target());
  ASSERT_FALSE(elements.empty());
  int deepest = 0;
  for (const auto& e : elements) deepest = std::max(deepest, e.depth);
  EXPECT_EQ(deepest, InspectorTree::maxDepth);

  const auto at = InspectorTree::elementAt(elements, Point{120, 210});
  ASSERT_TRUE(at);
  const PageElement& picked = elements[static_cast<std::size_t>(*at)];
  EXPECT_EQ(picked.role, "AXButton");
  const auto row = InspectorTree::row(picked);
  EXPECT_EQ(row.label, "Buy");
  EXPECT_EQ(row.frame, "x 100, y 200, 80 \u00d7 30");
  EXPECT_EQ(row.actions, "AXPress");
  EXPECT_EQ(InspectorTree::row(elements[static_cast<std::size_t>(*at) - 1]).subrole, "AXLandmarkMain");
  EXPECT_FALSE(InspectorTree::elementAt(elements, Point{5000, 5000}));
}

TEST(JsonSettings, ReloadSeesAnotherProgramsChangeAndKeepsValuesOverABrokenFile) {
  const std::string path = ::testing::TempDir() + "skimlet-settings-reload-" + std::to_string(::getpid()) + ".json";
  auto write = [&](const std::string& text) { std::ofstream(path) << text; };
  write(R"({"profile.name": "Ada"})");
  JsonSettings settings(path);
  write(R"({"profile.name": "Grace", "hotkeyPreset": 2})");
  EXPECT_TRUE(settings.reload());
  EXPECT_EQ(settings.string("profile.name"), "Grace");
  EXPECT_EQ(settings.integer("hotkeyPreset"), 2);
  write("{\"profile.na");  // caught halfway through another program's write
  EXPECT_FALSE(settings.reload());
  EXPECT_EQ(settings.string("profile.name"), "Grace");
  std::remove(path.c_str());
}

}  // namespace
}  // namespace skimlet
