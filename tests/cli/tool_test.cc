// The tool itself, as scripts call it: the JSON that `skimlet run` prints is a contract, for a
// recorded page and for commands on a live one.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <array>
#include <cstdio>
#include <string>

#include <chrono>
#include <filesystem>
#include <set>
#include <thread>

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
  ASSERT_EQ(r.status, 3) << r.out;  // waiting for the user's yes
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
TEST(Tool, RunOnALivePageReportsTheBrowser) {
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
  // A file is served from its folder, as `browse` serves it, so its links are web links.
  EXPECT_TRUE(page["url"].get<std::string>().starts_with("http://127.0.0.1:")) << page["url"];
  EXPECT_TRUE(page["url"].get<std::string>().ends_with("/settings.html")) << page["url"];
  EXPECT_EQ(page["tabs"], 1);
  EXPECT_FALSE(page["title"].get<std::string>().empty());
  EXPECT_TRUE(page.contains("focusedValue"));
}

// The temporary browser profile of a live run goes with it, also when a signal ends the run.
TEST(Tool, ALiveRunEndedBySignalLeavesNoProfile) {
  if (!chromium::LiveSession::available()) GTEST_SKIP() << "no Chromium installed";
  namespace fs = std::filesystem;
  // The run gets a temporary folder of its own: other tests start browsers at the same time.
  const std::string tmp = testing::scratchDir();
  ASSERT_FALSE(tmp.empty());
  auto profiles = [&] {
    std::set<std::string> found;
    for (const auto& e : fs::directory_iterator(tmp))
      if (e.path().filename().string().rfind("skimlet-chromium-", 0) == 0) found.insert(e.path().string());
    return found;
  };
  const auto before = profiles();
  const pid_t child = ::fork();
  if (child == 0) {
    const std::string page = testing::sourcePath("tests/site/settings.html");
    ::setenv("TMPDIR", tmp.c_str(), 1);
    ::execl(SKIMLET_TOOL, SKIMLET_TOOL, "run", "--url", page.c_str(), "scroll down", "scroll up", "scroll down",
            static_cast<char*>(nullptr));
    ::_exit(127);
  }
  // Once the profile exists the browser is starting; end the run there.
  std::set<std::string> fresh;
  for (int i = 0; i < 400 && fresh.empty(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    for (const auto& p : profiles())
      if (!before.count(p)) fresh.insert(p);
  }
  ASSERT_FALSE(fresh.empty());
  ::kill(child, SIGTERM);
  int status = 0;
  ::waitpid(child, &status, 0);
  for (const auto& p : fresh) EXPECT_FALSE(fs::exists(p)) << p;
  fs::remove_all(tmp);
}
#endif

TEST(Tool, RunRefusesToGuessWhichPage) {
  EXPECT_EQ(tool("run --json click ok").status, 2);
  EXPECT_EQ(tool("run --fixture x.json --url y.html click ok").status, 2);
}

// Scripts tell "done", "failed" and "waiting for an answer" apart by the exit status, and a list
// of commands stops at the first that did not get done.
TEST(Tool, RunSaysWhenACommandNeedsInputAndStopsThere) {
  const std::string page = " --json --fixture " + testing::sourcePath("tests/pages/account_settings.json");
  auto r = tool("run" + page + " 'click delete account' 'click sign out'");
  EXPECT_EQ(r.status, 3) << r.out;
  json run = json::parse(r.out);
  EXPECT_EQ(run["status"], "needsInput");
  ASSERT_EQ(run["commands"].size(), 1u);
  EXPECT_EQ(run["commands"][0]["intent"]["intent"], "click");  // the kind, as `parse --json` gives it
  EXPECT_EQ(run["commands"][0]["intent"]["target"]["query"], "delete account");

  r = tool("run" + page + " --keep-going 'click delete account' 'click nothing like this here'");
  EXPECT_EQ(r.status, 3) << r.out;  // the first that did not get done decides
  run = json::parse(r.out);
  ASSERT_EQ(run["commands"].size(), 2u);
  EXPECT_EQ(run["commands"][1]["status"], "failed");
  const json& failure = run["outcomes"][1];
  EXPECT_EQ(failure["headlineText"].get<std::string>().find("**"), std::string::npos) << failure;

  // Unquoted words are one command on any page; blank ones are not commands.
  r = tool("run" + page + " --confirm click delete account");
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(json::parse(r.out)["intents"], json::array({"Click “delete account”"}));
}

TEST(Tool, HelpAndVersionAreAnswersNotMistakes) {
  EXPECT_EQ(tool("").status, 0);
  EXPECT_EQ(tool("--version").out.rfind("skimlet ", 0), 0u);
  for (const auto& [asks, usage] : {std::pair{"help run", "usage: skimlet run "},
                                    {"run --help", "usage: skimlet run "},
                                    {"record -h", "usage: skimlet record "}}) {
    auto r = tool(asks);
    EXPECT_EQ(r.status, 0) << asks;
    EXPECT_EQ(r.out.rfind(usage, 0), 0u) << r.out;
  }
  EXPECT_NE(tool("help run").out.find("Exit status"), std::string::npos);
}

// A recording of something that is not a browser answers as the palette does on the desktop.
TEST(Tool, ANonBrowserRecordingGetsTheNoBrowserResult) {
  const std::string file = ::testing::TempDir() + "skimlet-texteditor.json";
  FILE* f = std::fopen(file.c_str(), "w");
  ASSERT_TRUE(f);
  std::fputs(R"({"app": {"name": "TextEdit", "bundleID": "com.apple.TextEdit"}, "window": {"role": "AXWindow"}})", f);
  std::fclose(f);
  auto r = tool("run --json --fixture " + file + " click ok");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(json::parse(r.out)["outcomes"][0]["headline"], "No supported browser in front") << r.out;
}

}  // namespace
}  // namespace skimlet::cli
