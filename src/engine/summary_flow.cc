// "summarize": the page in a few bullets, written by a model on this machine when one is there
// (streamed into the palette as it writes), otherwise picked from the page's own sentences.
#include "engine/action_engine.h"
#include "qa/page_qa.h"
#include "text/text_util.h"

namespace skimlet {

namespace {
// The local model reads slowly, so it gets a condensed page; the other paths take its start.
constexpr int localBudget = 3400;
constexpr int plainBudget = 5000;
}  // namespace

Outcome ActionEngine::summarize(const PageSnapshot& snap, std::vector<std::string> dbg) {
  if (snap.lines.empty()) return ActionResult::failure("Nothing to summarize", std::nullopt, std::move(dbg));

  const std::string& title = snap.pageTitle.empty() ? snap.windowTitle : snap.pageTitle;
  const std::string headline =
      "Summary of **" + TextUtil::md(TextUtil::truncate(title.empty() ? "this page" : title, 60)) + "**";

  const bool local = ai().ownModelUsable();
  const std::string text = local ? PageQA::condensed(snap, localBudget) : TextUtil::prefix(snap.text(), plainBudget);
  const PartialSink sink = local ? partialSink(headline, {}) : PartialSink{};

  std::optional<std::string> summary = ai().summarize(title, text, sink, stopToken());
  if (summary && TextUtil::clean(*summary).empty()) summary.reset();
  if (summary) {
    dbg.push_back("Summarized on-device from " + std::to_string(TextUtil::length(text)) +
                  " chars of extracted page text only");
  } else {
    summary = PageQA::extractiveSummary(snap);
    dbg.push_back("Extractive summary (no local model answered)");
    modelNote(dbg);
  }

  ActionResult result = ActionResult::info(headline, *summary, std::move(dbg));
  result.copyText = *summary;
  return result;
}

}  // namespace skimlet
