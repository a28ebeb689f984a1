// Questions and summaries on a recorded help page: the extractive fallbacks without a model, the
// prompts and streaming with a stand-in model, and what happens when the command goes away.
#include <gtest/gtest.h>

#include "ai/prompts.h"
#include "qa/page_qa.h"
#include "support/engine_on_page.h"
#include "support/stand_in_model.h"
#include "text/text_util.h"

namespace skimlet {
namespace {

using testing::EngineOnPage;
using testing::StandInModel;
using testing::StandInSystemModel;

const std::string question = "how much does express shipping cost?";
const std::string pageTitle = "Help centre — Parcel Co";

memory::Recording blankPage() {
  memory::Recording r = testing::recordedPage("help_centre.json");
  r.window.children.at(0).children.at(0).children.clear();
  return r;
}

TEST(Ask, WithoutAModelTheSentencesOfTheBestSectionsAnswer) {
  EngineOnPage page("help_centre.json");
  ActionResult r = page.run(intents::Ask{question});
  EXPECT_EQ(r.kind, ActionResult::Kind::info);
  EXPECT_EQ(r.headline, "**" + question + "**");
  EXPECT_NE(r.body->find("• Express shipping costs $12.50 and arrives the next business day."), std::string::npos);
  EXPECT_EQ(r.copyText, r.body);
  const QAExcerpts excerpts(*page.engine->snapshot(), question, false);
  EXPECT_NE(std::find(r.debug.begin(), r.debug.end(),
                      "Grounding: " + std::to_string(excerpts.chunks.size()) + " excerpt(s), " +
                          std::to_string(TextUtil::length(excerpts.text)) + " chars from this page only"),
            r.debug.end());
  EXPECT_EQ(r.debug.back(), "Extractive answer (no local model answered)");
  EXPECT_EQ(r.items.at(0).text, "Shipping costs");
  EXPECT_EQ(r.items.at(0).element->label(), "Shipping costs");

  EXPECT_EQ(page.run(intents::Ask{std::string(75, 'q')}).headline, "**" + std::string(69, 'q') + "…**");
  EngineOnPage blank(blankPage());
  EXPECT_EQ(blank.run(intents::Ask{question}).headline, "The page has no readable text");
  EXPECT_EQ(blank.run(intents::Summarize{}).headline, "Nothing to summarize");
}

TEST(Ask, LocalModelAnswersFromTheExcerpts) {
  const std::string reply = "Express shipping costs $12.50.";
  StandInModel model({reply});
  EngineOnPage page("help_centre.json", &model);
  ActionResult r = page.run(intents::Ask{question});
  EXPECT_EQ(r.body, reply);
  EXPECT_EQ(r.copyText, reply);
  EXPECT_EQ(r.debug.back(), "Answered on-device by Qwen2.5 1.5B");

  const QAExcerpts excerpts(*page.engine->snapshot(), question, true);
  const std::vector<StandInModel::Request> requests = model.requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].system, prompts::questionLocal);
  EXPECT_EQ(requests[0].maxTokens, 220);
  EXPECT_EQ(requests[0].user,
            "Page title: " + pageTitle + "\n\nExcerpts:\n" + excerpts.text + "\n\nQuestion: " + question);

  // Partial results travel through the main queue, one per streamed word.
  EXPECT_TRUE(page.partials.empty());
  page.drainMainQueue();
  ASSERT_EQ(page.partials.size(), 4u);
  EXPECT_TRUE(page.partials[0].isPartial);
  EXPECT_EQ(page.partials[0].headline, r.headline);
  EXPECT_EQ(page.partials[0].items.size(), r.items.size());
  EXPECT_EQ(page.partials[0].body, "Express");
  EXPECT_EQ(page.partials.back().body, reply);
}

TEST(Ask, NoPartialsReachTheStreamAfterCancelOrRelease) {
  StandInModel careless({"one two three four five"});
  careless.honoursStop = false;  // keeps writing after it is stopped
  std::stop_source stop;
  careless.beforePiece = [&](int piece) {
    if (piece == 2) stop.request_stop();
  };
  EngineOnPage cancelled("help_centre.json", &careless);
  cancelled.engine->run(intents::Ask{question}, stop.get_token());
  cancelled.drainMainQueue();
  EXPECT_EQ(cancelled.partials.size(), 2u);

  StandInModel model({"An answer in four words."});
  EngineOnPage released("help_centre.json", &model);
  int delivered = 0;
  released.engine->stream = [&](const ActionResult&) { ++delivered; };
  released.run(intents::Ask{question});
  released.engine.reset();
  EXPECT_GT(released.drainMainQueue(), 0);
  EXPECT_EQ(delivered, 0);
}

TEST(Ask, TheAnswerNamesItsModel) {
  StandInModel broken;
  broken.loadError = "the model file is damaged";
  ActionResult r = EngineOnPage("help_centre.json", &broken).run(intents::Ask{question});
  EXPECT_TRUE(broken.requests().empty());
  EXPECT_EQ(r.debug[r.debug.size() - 2], "Extractive answer (no local model answered)");
  EXPECT_EQ(r.debug.back(), "Local model error: the model file is damaged");

  StandInModel silent({std::nullopt});
  StandInSystemModel system;
  system.answerReply = "About $12.50.";
  r = EngineOnPage("help_centre.json", &silent, &system).run(intents::Ask{question});
  EXPECT_EQ(silent.requests().size(), 1u);  // asked, said nothing: the system model answers
  EXPECT_EQ(r.body, "About $12.50.");

  EXPECT_EQ(EngineOnPage("help_centre.json", nullptr, &system).run(intents::Ask{question}).debug.back(),
            "Answered on-device by Apple Intelligence");
  system.answerReply = "  \n";
  EXPECT_EQ(EngineOnPage("help_centre.json", nullptr, &system).run(intents::Ask{question}).debug.back(),
            "Extractive answer (no local model answered)");
}

TEST(Summarize, ExtractiveWithoutAModelElseTheCondensedPageStreamed) {
  EngineOnPage page("help_centre.json");
  ActionResult r = page.run(intents::Summarize{});
  EXPECT_EQ(r.headline, "Summary of **" + pageTitle + "**");
  EXPECT_EQ(r.body, PageQA::extractiveSummary(*page.engine->snapshot()));
  EXPECT_TRUE(r.body->starts_with("**" + pageTitle + "**\n• Help centre — Answers to common questions"));
  EXPECT_EQ(r.debug.back(), "Extractive summary (no local model answered)");
  memory::Recording longTitle = testing::recordedPage("help_centre.json");
  longTitle.window.children.at(0).children.at(0).title = std::string(61, 't');
  EXPECT_EQ(EngineOnPage(longTitle).run(intents::Summarize{}).headline, "Summary of **" + std::string(59, 't') + "…**");

  const std::string reply = "• Standard shipping costs $4.99.";
  StandInModel model({reply});
  EngineOnPage local("help_centre.json", &model);
  r = local.run(intents::Summarize{});
  EXPECT_EQ(r.body, reply);
  const std::string condensed = PageQA::condensed(*local.engine->snapshot(), 3400);
  const std::vector<StandInModel::Request> requests = model.requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].system, prompts::summaryLocal);
  EXPECT_EQ(requests[0].maxTokens, 260);
  EXPECT_EQ(requests[0].user, "Title: " + pageTitle + "\n\n" + condensed);
  EXPECT_EQ(r.debug.back(), "Summarized on-device from " + std::to_string(TextUtil::length(condensed)) +
                                " chars of extracted page text only");
  local.drainMainQueue();
  ASSERT_FALSE(local.partials.empty());
  EXPECT_EQ(local.partials.back().body, reply);
  EXPECT_TRUE(local.partials.back().items.empty());
}

TEST(Ask, WithoutAModelQuestionsAboutThePageGetItsLead) {
  EngineOnPage page("help_centre.json");
  ActionResult what = page.result("what is this page");
  EXPECT_EQ(what.kind, ActionResult::Kind::info);
  EXPECT_EQ(what.headline, "**what is this page**");
  EXPECT_TRUE(what.body->starts_with("“" + pageTitle + "”\n\n")) << *what.body;
  EXPECT_NE(what.body->find("Answers to common questions about sending and receiving parcels"), std::string::npos);

  ActionResult unknown = page.result("what is the weather in Lisbon");
  EXPECT_EQ(unknown.kind, ActionResult::Kind::info);
  EXPECT_EQ(unknown.body, "The page doesn't appear to mention that.");
  EXPECT_EQ(unknown.debug.back(), "Extractive answer (no local model answered)");

  memory::Recording untitled = testing::recordedPage("help_centre.json");
  untitled.window.title.clear();
  untitled.window.children.at(0).children.at(0).title.clear();
  ActionResult summary = EngineOnPage(untitled).result("summarize");
  EXPECT_EQ(summary.headline, "Summary of **this page**");
  EXPECT_TRUE(summary.body->starts_with("• ")) << *summary.body;  // no title line
  EXPECT_EQ(summary.copyText, summary.body);
}

}  // namespace
}  // namespace skimlet
