// The command-line tool's output contract and its handling of recorded pages, checked through
// the helpers the subcommands share.
#include <gtest/gtest.h>

#include <filesystem>

#include <csignal>
#include <cstring>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <thread>

#include "engine/action_engine.h"
#include "fixture_session.h"
#include "interrupt.h"
#include "outcome_json.h"
#include "outcome_text.h"
#include "platform/json_settings.h"
#include "support/paths.h"

namespace skimlet::cli {
namespace {

using nlohmann::ordered_json;

std::vector<std::string> keys(const ordered_json& j) {
  std::vector<std::string> out;
  for (const auto& [k, v] : j.items()) out.push_back(k);
  return out;
}

TEST(OutcomeJson, EachKindOfOutcomeHasItsKeysInOrder) {
  ActionResult r = ActionResult::failure("No **email** saved");
  FoundItem item;
  item.text = "Email address";
  r.items.push_back(item);
  r.debug = {"Intent: Fill in your email"};
  ordered_json result = outcomeJson(r);
  EXPECT_EQ(keys(result), (std::vector<std::string>{"type", "kind", "headline", "body", "items", "debug", "copyText",
                                                    "headlineText", "bodyText"}));
  EXPECT_EQ(result["headlineText"], "No email saved");
  EXPECT_EQ(result["type"], "result");
  EXPECT_EQ(result["kind"], "failure");
  EXPECT_TRUE(result["body"].is_null());
  EXPECT_TRUE(result["copyText"].is_null());
  EXPECT_EQ(result["items"], ordered_json::array({"Email address"}));

  r.body = "";  // an empty body is still a body
  r.copyText = "all of it";
  EXPECT_EQ(outcomeJson(r)["body"], "");
  EXPECT_EQ(outcomeJson(r)["copyText"], "all of it");

  Confirmation c{
      "Buy now?", "This may place an order.", "Buy now", {"Intent: Click “buy”"}, [] { return ActionResult(); }};
  ordered_json confirm = outcomeJson(c);
  EXPECT_EQ(keys(confirm), (std::vector<std::string>{"type", "title", "message", "confirmLabel", "debug"}));
  EXPECT_EQ(confirm["confirmLabel"], "Buy now");

  ChoiceSet choice{"Which “Save”?", {ChoiceOption(), ChoiceOption()}};
  choice.options[0].title = choice.options[1].title = "Save";
  choice.options[0].subtitle = "Preferences";
  ordered_json choose = outcomeJson(choice);
  EXPECT_EQ(keys(choose), (std::vector<std::string>{"type", "prompt", "options"}));
  EXPECT_EQ(choose["options"],
            ordered_json::parse(R"([{"title":"Save","subtitle":"Preferences"},{"title":"Save","subtitle":""}])"));

  // Text that is not UTF-8 still prints as one line.
  std::string line = jsonLine(outcomeJson(ActionResult::info("Read \xff page", std::string("a\nb"))));
  EXPECT_EQ(line.find('\n'), std::string::npos);
  EXPECT_NE(line.find("Read \xEF\xBF\xBD page"), std::string::npos);
}

TEST(OutcomeJson, EventsKeepOnlyTheirOwnDetails) {
  Event press;
  press.role = "AXButton", press.label = "Sign in";
  EXPECT_EQ(jsonLine(eventJson(press)), R"({"type":"press","label":"Sign in","role":"AXButton"})");
  Event key;
  key.type = Event::Type::key, key.keyCode = 36, key.flags = 0x100000;
  EXPECT_EQ(jsonLine(eventJson(key)), R"({"type":"key","flags":1048576,"keyCode":36})");
}

TEST(OutcomeText, MarkdownSuitsTheOutput) {
  EXPECT_EQ(OutcomeText(false).markdown("Clicked **Sign \\*in\\*** now"), "Clicked Sign *in* now");
  EXPECT_EQ(OutcomeText(true).markdown("Clicked **Sign in"), "Clicked \x1b[1mSign in\x1b[22m");

  // Items and options are the page's own words: never Markdown, and one line each.
  ActionResult r = ActionResult::failure("No **email** saved", std::string("Add it in Settings."), {"Intent: Fill"});
  r.items = {FoundItem{.text = "Email address"}, FoundItem{.text = "Opening hours \n\n Mon–Fri **9–5**\n"}};
  std::ostringstream result;
  OutcomeText(false).print(result, r);
  EXPECT_EQ(result.str(),
            "✗ No email saved\nAdd it in Settings.\n  1. Email address\n  2. Opening hours Mon–Fri **9–5**\n"
            "Why?\n  Intent: Fill\n");

  ChoiceSet choice{"Which one?", {ChoiceOption(), ChoiceOption()}};
  choice.options[0].title = "Save", choice.options[0].subtitle = "Preferences";
  choice.options[1].title = "Save C:\\**all**";
  std::ostringstream choose;
  OutcomeText(false).print(choose, choice);
  EXPECT_EQ(choose.str(),
            "? Which one?\n  1. Save — Preferences\n  2. Save C:\\**all**\nAdd --pick N to choose one.\n");
}

TEST(OutcomeText, PageTextCannotControlTheTerminal) {
  // Clear screen, a colour, a bell, a carriage return, an 8-bit CSI: a page's words only print.
  const std::string hostile =
      "Sign\x1b[2J in\x1b[31m\x07\rX\xC2\x9B"
      "1m";
  EXPECT_EQ(OutcomeText::inert(hostile + "\r\nnext\tcol"),
            "Sign\uFFFD[2J in\uFFFD[31m\uFFFD\uFFFDX\uFFFD1m\nnext\tcol");
  ActionResult r = ActionResult::success("Clicked **" + hostile + "**", {"Selected: " + hostile});
  r.body = hostile;
  r.items = {FoundItem{.text = hostile}};
  Confirmation c{hostile, hostile, "Click", {hostile}, {}};
  for (const Outcome& o : {Outcome(r), Outcome(c)}) {
    std::ostringstream out;
    OutcomeText(true).print(out, o);
    std::string shown = out.str();
    for (const char* ours : {"\x1b[1m", "\x1b[22m", "\x1b[2m"})  // the tool's own styling stays
      for (size_t at; (at = shown.find(ours)) != std::string::npos;) shown.erase(at, std::strlen(ours));
    EXPECT_EQ(shown.find_first_of("\x1b\x07\r"), std::string::npos) << shown;
    EXPECT_EQ(shown.find("\xC2\x9B"), std::string::npos) << shown;
  }
}

class TempFile {
 public:
  // Named after the test, as tests of this program run side by side.
  explicit TempFile(const std::string& text)
      : path_(testing::scratchPath("recording" + std::to_string(count_++) + ".json")) {
    std::ofstream(path_) << text;
  }
  ~TempFile() { std::remove(path_.c_str()); }
  const std::string& path() const { return path_; }

 private:
  static inline int count_ = 0;
  std::string path_;
};

std::string loadError(const std::string& path) {
  try {
    FixtureSession session(path);
  } catch (const std::exception& e) {
    return e.what();
  }
  return "";
}

TEST(FixtureSession, RecordingsThatCannotBeReplayedSayWhere) {
  TempFile badFrame(R"({"app": {"bundleID": "com.apple.Safari"},
    "window": {"role": "AXWindow", "children": [{"role": "AXButton", "frame": [0, 0, 10]}]}})");
  EXPECT_EQ(loadError(badFrame.path()), badFrame.path() + ": window.children[0].frame: expected [x, y, width, height]");

  TempFile notJson(R"({"app": )");
  EXPECT_NE(loadError(notJson.path()).find(notJson.path() + ": not valid JSON"), std::string::npos);

  EXPECT_EQ(loadError("/nonexistent/page.json"), "/nonexistent/page.json: cannot open the file");

  TempFile editor(R"({"app": {"name": "TextEdit", "bundleID": "com.apple.TextEdit"}, "window": {"role": "AXWindow"}})");
  EXPECT_EQ(loadError(editor.path()),
            editor.path() + ": app.bundleID: “com.apple.TextEdit” is not a supported browser");
}

// Found by mutating recordings: a stack overflow, a raw library message, an endless read.
TEST(FixtureSession, HostileRecordingsAreRefusedWithAMessage) {
  std::string deep = R"({"app": {"bundleID": "com.apple.Safari"}, "window": )";
  for (int i = 0; i < 12000; ++i) deep += R"({"role": "AXGroup", "children": [)";
  deep += "{}";
  for (int i = 0; i < 12000; ++i) deep += "]}";
  deep += "}";
  TempFile nested(deep);
  const std::string error = loadError(nested.path());
  EXPECT_EQ(error.substr(0, nested.path().size() + 24), nested.path() + ": window.children[0].chi") << error;
  EXPECT_NE(error.find("nested more than 1000 levels deep"), std::string::npos) << error;

  TempFile huge(R"({"app": {"bundleID": "com.apple.Safari"}, "window": {"frame": [0, 0, 1e400, 1]}})");
  EXPECT_EQ(loadError(huge.path()).find(huge.path() + ": not valid JSON: number overflow"), 0u)
      << loadError(huge.path());

  EXPECT_EQ(loadError("/dev/zero"), "/dev/zero: larger than 128 MB, too large for a recorded page");
}

TEST(FixtureSession, ARunShowsWhatWasDoneWithSecretsMasked) {
  FixtureSession session(testing::sourcePath("tests/pages/engine_signup.json"));
  auto snap = session.capture();
  ASSERT_TRUE(snap);
  EXPECT_TRUE(snap->webArea);

  // The replay clock never waits, yet capture times are real.
  const double before = session.platform().clock.now();
  session.platform().clock.sleep(60);
  EXPECT_LT(session.platform().clock.now() - before, 1.0);

  auto engine = ActionEngine::create(session.target(), session.platform(), LocalAI(nullptr, nullptr));
  TargetSpec password;
  password.query = "password", password.role = RoleHint::field;
  std::vector<Outcome> outcomes{engine->run(intents::Type{"hunter2", password, true})};
  ordered_json run = runJson("Type into the password field", outcomes, session.backend().events());
  EXPECT_EQ(keys(run), (std::vector<std::string>{"intent", "outcomes", "events"}));
  ASSERT_EQ(run["outcomes"].size(), 1u);
  EXPECT_EQ(run["outcomes"][0]["kind"], "success") << run.dump(1);
  EXPECT_FALSE(run["events"].empty());
  // The command itself (and so the intent's title) is the user's own words; what was done to
  // the page never shows the password.
  const std::string events = jsonLine(run["events"]), headline = run["outcomes"][0]["headline"];
  EXPECT_EQ(events.find("hunter2"), std::string::npos) << events;
  EXPECT_NE(events.find(maskedText), std::string::npos) << events;
  EXPECT_EQ(headline.find("hunter2"), std::string::npos) << headline;
}

// `skimlet profile set` while `browse` runs: the running palette's store sees the new value at
// its next command, and its own later writes keep it.
TEST(JsonSettings, ChangesByAnotherProcessAreSeenAtTheNextRead) {
  const std::string path = ::testing::TempDir() + "skimlet-settings-shared.json";
  std::filesystem::remove(path);
  JsonSettings palette(path), tool(path);
  EXPECT_FALSE(palette.string("profile.email"));
  tool.setString("profile.email", "ada@example.com");
  EXPECT_EQ(palette.string("profile.email"), "ada@example.com");
  palette.setString("profile.name", "Ada");
  EXPECT_EQ(JsonSettings(path).string("profile.email"), "ada@example.com");
}

// A closed terminal ends a session as Ctrl-C does, so the browser and its profile folder go.
TEST(InterruptScope, AHangUpStopsTheWorkInsteadOfKillingTheProcess) {
  InterruptScope scope;
  std::raise(SIGHUP);
  for (int i = 0; i < 100 && !scope.interrupted(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_TRUE(scope.interrupted());
}

}  // namespace
}  // namespace skimlet::cli
