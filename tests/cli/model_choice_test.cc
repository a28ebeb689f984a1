// The tool's choice of model (--model FILE, --no-model, else the installed one) and the intent
// evaluation built on it.
#include "model_choice.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <tuple>

#include "engine/understand.h"
#include "intent_eval.h"
#include "support/paths.h"
#include "support/stand_in_model.h"

namespace skimlet::cli {
namespace {

const std::string kNoModel = "No local model \u2014 using built-in rules";

// Every subcommand reads its arguments the same way; the mistakes are the ones users make.
TEST(OptionReader, OptionsValuesWordsAndMistakes) {
  auto read = [](const Args& args) {
    OptionReader r(args);
    ModelChoice choice;
    std::string fixture, words;
    int pick = 0;
    while (r.more()) {
      if (r.flag("--json") || r.value("--fixture", fixture) || r.number("--pick", pick) || readModelOption(r, choice))
        continue;
      if (auto w = r.word()) words += "[" + *w + "]";
    }
    return std::tuple(r.problem(), words, fixture, pick, choice.file);
  };
  EXPECT_EQ(read({"--json", "type", "-5", "--fixture=p.json", "--pick", "2", "--model", "m.gguf"}),
            std::tuple(std::string(), std::string("[type][-5]"), std::string("p.json"), 2, std::string("m.gguf")));
  // After "--" every argument is a word, options included.
  EXPECT_EQ(std::get<1>(read({"--", "--json", "-h"})), "[--json][-h]");
  EXPECT_EQ(std::get<0>(read({"--model", "--json"})), "--model needs a value");  // a forgotten file
  EXPECT_EQ(std::get<0>(read({"--pick", "0"})), "--pick needs a whole number of at least 1");
  EXPECT_EQ(std::get<0>(read({"--pick", "2x"})), "--pick needs a whole number of at least 1");
  EXPECT_EQ(std::get<0>(read({"--model", "m.gguf", "--no-model"})), "--model and --no-model exclude each other");
  EXPECT_EQ(std::get<0>(read({"--jsn"})), "unknown option --jsn");
  EXPECT_EQ(std::get<0>(read({"--json=yes"})), "--json takes no value");
  EXPECT_TRUE(asksForHelp({"--json", "-h"}));
  EXPECT_FALSE(asksForHelp({"--", "--help"}));
}

// A file that is not a model never stops a command: the load error is recorded and reads as no
// usable model, and commands are understood by the rules and the fallback.
TEST(Models, ABrokenFileIsTheLoadError) {
  const std::string broken = testing::scratchPath("broken.gguf");
  std::ofstream(broken) << "GGUF but not really";
  for (const std::string& file : {broken, testing::scratchPath("missing.gguf")}) {
    Models models(ModelChoice{ModelChoice::Source::file, file});
    EXPECT_EQ(models.modelPath(), file);
    const auto error = models.load();
    ASSERT_TRUE(error) << file;
    EXPECT_FALSE(error->empty());
    EXPECT_EQ(models.ai().lastError(), error);
    EXPECT_EQ(models.ai().statusText(), kNoModel);
    EXPECT_FALSE(models.lastRun());
    auto understood = understand("the refund rules, what are they exactly", models.ai());
    ASSERT_TRUE(understood);
    EXPECT_EQ(understood->stage, Understanding::Stage::fallback);
    EXPECT_EQ(title(understood->intent), "Ask: the refund rules, what are they exactly");
  }

  Models none(ModelChoice{ModelChoice::Source::none, ""});
  EXPECT_EQ(none.modelPath(), "");
  EXPECT_FALSE(none.load());
  EXPECT_EQ(none.ai().ownModel(), nullptr);
  EXPECT_EQ(none.ai().statusText(), kNoModel);
}

TEST(IntentEval, ReportsMalformedLines) {
  std::istringstream in(
      "# command\texpected\n"
      "go back\tGo back\n"
      "\n"
      "  \t \n"  // white space only is blank
      "no tab here\n"
      "\tReload\n"
      "reload\t\n"
      "a\tb\tc\n"
      "  scroll down \t Scroll down\r\n");
  std::vector<std::string> problems;
  auto cases = readIntentCases(in, "t.tsv", problems);
  ASSERT_EQ(cases.size(), 2u);
  EXPECT_EQ(std::tie(cases[0].line, cases[0].command, cases[0].expected), std::make_tuple(2, "go back", "Go back"));
  EXPECT_EQ(std::tie(cases[1].line, cases[1].command, cases[1].expected),
            std::make_tuple(9, "scroll down", "Scroll down"));
  EXPECT_EQ(problems, (std::vector<std::string>{
                          "t.tsv:5: no tab between the command and the expected intent title",
                          "t.tsv:6: no command before the tab",
                          "t.tsv:7: no expected intent title after the tab",
                          "t.tsv:8: more than one tab; expected command<TAB>expected intent title",
                      }));
}

// The shipped set measures the model, so its commands must be ones the rules miss; a new rule
// that understands some of them thins it out.
TEST(IntentEval, TheShippedSetHoldsAtLeast150CommandsTheRulesMiss) {
  std::ifstream in(testing::sourcePath("tests/eval/intents.tsv"));
  std::vector<std::string> problems;
  const auto cases = readIntentCases(in, "intents.tsv", problems);
  EXPECT_EQ(problems, std::vector<std::string>{});
  int missed = 0;
  std::string understoodByRules;
  for (const IntentCase& c : cases) {
    auto understood = understand(c.command, LocalAI(nullptr, nullptr));
    if (understood && understood->stage == Understanding::Stage::rules) understoodByRules += "\n  " + c.command;
    else ++missed;
  }
  EXPECT_GE(missed, 150) << "understood by the rules:" << understoodByRules;
}

TEST(IntentEval, WithoutAModelMissesAreShown) {
  const std::vector<IntentCase> cases = {
      {1, "go back", "Go back"},
      {2, "zorp", "Reload"},
      {3, "I wonder if they ship to Canada", "Ask: I wonder if they ship to Canada"},
  };
  std::ostringstream out;
  IntentTally t = evaluateIntents(cases, LocalAI(nullptr, nullptr), out);
  EXPECT_EQ(out.str(),
            "miss, line 2: zorp\n"
            "  expected  Reload\n"
            "  got       Find \u201czorp\u201d (fallback)\n"
            "Understood by the rules 1, by the model 0, by the fallback 2\n"
            "Right overall: 2 of 3 (66.7%)\n"
            "Right among those that reached the model: no model (" +
                kNoModel + ")\n");
  EXPECT_EQ(t.reachedModel, 0);
}

TEST(IntentEval, CountsWhatReachedTheModel) {
  // Three commands reach the model: one answered right, one wrongly, one with nothing usable.
  testing::StandInModel own({"back||0||", "reload||0||", "unknown||0||"});
  const std::vector<IntentCase> cases = {
      {1, "reload", "Reload"},  // the rules know it; the model is not asked
      {2, "take me where I was", "Go back"},
      {3, "new tab please now", "New tab"},
      {4, "zorp", "Find \u201czorp\u201d"},
  };
  std::ostringstream out;
  IntentTally t = evaluateIntents(cases, LocalAI(&own, nullptr), out);
  EXPECT_EQ(own.requests().size(), 3u);
  // By the rules, the model and the fallback; how many reached the model and were then right.
  EXPECT_EQ(std::tie(t.byRules, t.byModel, t.byFallback, t.reachedModel, t.rightAfterModel),
            std::make_tuple(1, 2, 1, 3, 2));
  const std::string text = out.str();
  EXPECT_NE(text.find("miss, line 3: new tab please now\n  expected  New tab\n  got       Reload (model)\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("Right overall: 3 of 4 (75.0%)\n"), std::string::npos) << text;
  EXPECT_NE(text.find("Right among those that reached the model: 2 of 3 (66.7%)\n"), std::string::npos) << text;
  EXPECT_NE(text.find("Mean time per model call: "), std::string::npos) << text;
  EXPECT_NE(text.find(" over 3 calls\n"), std::string::npos) << text;

  // A miss after the model said nothing usable says so.
  testing::StandInModel silent({std::nullopt});
  std::ostringstream out2;
  evaluateIntents({{7, "zorp", "Reload"}}, LocalAI(&silent, nullptr), out2);
  EXPECT_NE(out2.str().find("got       Find \u201czorp\u201d (fallback, the model gave nothing usable)"),
            std::string::npos)
      << out2.str();
}

}  // namespace
}  // namespace skimlet::cli
