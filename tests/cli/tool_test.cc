// The tool itself, as scripts call it: the JSON that `skimlet run` prints is a contract, for a
// recorded page and for commands on a live one.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>
#include <sys/wait.h>

#include <nlohmann/json.hpp>

#if !defined(__APPLE__)
#include "backends/chromium/live_session.h"
#endif
#include "support/paths.h"

namespace skimlet::cli {
namespace {

using nlohmann::json;

struct ToolRun {
  int status = -1;
  std::string out;
};

// What the tool prints; with `errors`, its error output follows on the same pipe.
ToolRun tool(const std::string& arguments, bool errors = false) {
  ToolRun r;
  const std::string command = std::string(SKIMLET_TOOL) + " " + arguments + (errors ? " 2>&1" : " 2>/dev/null");
  FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) return r;
  std::array<char, 4096> buffer;
  while (std::size_t n = std::fread(buffer.data(), 1, buffer.size(), pipe)) r.out.append(buffer.data(), n);
  const int status = ::pclose(pipe);
  r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return r;
}

std::vector<std::string> eventTypes(const json& run) {
  std::vector<std::string> types;
  for (const auto& e : run["events"]) types.push_back(e["type"]);
  return types;
}

TEST(Tool, RunOnARecordedPageAnswersOneObject) {
  auto r = tool("run --fixture " + testing::sourcePath("tests/pages/account_settings.json") +
                " --json click the delete account button");
  ASSERT_EQ(r.status, 0) << r.out;
  const json run = json::parse(r.out);
  EXPECT_EQ(run["intent"], "Click “delete account” button");
  ASSERT_EQ(run["outcomes"].size(), 1u);
  EXPECT_EQ(run["outcomes"][0]["type"], "confirm");
  EXPECT_EQ(run["events"], json::array());  // nothing was pressed without the user's yes
}

TEST(Tool, APasswordIsNeverRepeated) {
  // Not in the intent's title, nor in the note about an unused --confirm; a closing quote in
  // the password does not end its masking.
  auto r = tool("run --fixture " + testing::sourcePath("tests/pages/engine_signup.json") +
                    " --json --confirm 'type hu”nter2 into the password field'",
                true);
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(r.out.find("nter2"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("••••••••"), std::string::npos) << r.out;
}

#if !defined(__APPLE__)
TEST(Tool, RunOnALivePageRunsEachCommandAndReportsTheBrowserAfterwards) {
  if (!chromium::LiveSession::available()) GTEST_SKIP() << "no Chromium installed";
  // One --confirm answers every command that asks; a failed command makes the exit status 1.
  auto r = tool("run --url " + testing::sourcePath("tests/site/settings.html") +
                " --json --confirm 'click delete account' 'click delete account' 'switch to the nowhere tab'");
  EXPECT_EQ(r.status, 1) << r.out;
  const json run = json::parse(r.out);
  ASSERT_EQ(run["outcomes"].size(), 5u) << r.out;
  EXPECT_EQ(run["outcomes"][0]["type"], "confirm");
  EXPECT_EQ(run["outcomes"][1]["kind"], "success");
  EXPECT_EQ(run["outcomes"][2]["type"], "confirm");
  EXPECT_EQ(run["outcomes"][3]["kind"], "success");
  EXPECT_EQ(run["outcomes"][4]["kind"], "failure");
  EXPECT_EQ(run["intents"].size(), 3u);
  EXPECT_EQ(run["intent"], run["intents"][2]);
  EXPECT_EQ(eventTypes(run), (std::vector<std::string>{"press", "press"}));

  const json& page = run["page"];
  EXPECT_EQ(page["url"], "file://" + testing::sourcePath("tests/site/settings.html"));
  EXPECT_EQ(page["tabs"], 1);
  EXPECT_FALSE(page["title"].get<std::string>().empty());
  EXPECT_TRUE(page.contains("focusedValue"));
}
#endif

TEST(Tool, RunRefusesToGuessWhichPage) {
  EXPECT_EQ(tool("run --json click ok").status, 2);
  EXPECT_EQ(tool("run --fixture x.json --url y.html click ok").status, 2);
}

}  // namespace
}  // namespace skimlet::cli
