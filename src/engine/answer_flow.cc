// "what does shipping cost?": answers from the page only. The question is grounded on the
// excerpts that rank best for it; a model on this machine writes the answer when one is there,
// streaming it into the palette, and otherwise the page's own sentences answer.
#include "ai/prompts.h"
#include "engine/action_engine.h"
#include "qa/page_qa.h"
#include "text/text_util.h"

namespace skimlet {

namespace {
constexpr std::size_t maxItems = 4;

bool hasText(const std::optional<std::string>& s) { return s && !TextUtil::clean(*s).empty(); }

std::string withoutPrefix(std::string s, std::string_view prefix) {
  if (s.starts_with(prefix)) s.erase(0, prefix.size());
  return s;
}
}  // namespace

Outcome ActionEngine::ask(const std::string& question, const PageSnapshot& snap, std::vector<std::string> dbg) {
  if (snap.chunks.empty()) return ActionResult::failure("The page has no readable text", std::nullopt, std::move(dbg));

  const bool local = ai().ownModelUsable();
  const QAExcerpts excerpts(snap, question, local);
  dbg.push_back("Grounding: " + std::to_string(excerpts.chunks.size()) + " excerpt(s), " +
                std::to_string(PageQA::length(excerpts.text)) + " chars from this page only");

  std::vector<FoundItem> items;
  for (const auto& chunk : excerpts.chunks) {
    if (items.size() == maxItems) break;
    FoundItem item;
    item.text = TextUtil::truncate(chunk.heading.empty() ? chunk.text : chunk.heading, 80);
    if (chunk.elementID >= 0 && chunk.elementID < static_cast<int>(snap.elements.size()))
      item.element = snap.elements[chunk.elementID];
    items.push_back(std::move(item));
  }

  const std::string headline = "**" + TextUtil::md(TextUtil::truncate(question, 70)) + "**";
  const std::string& title = snap.pageTitle.empty() ? snap.windowTitle : snap.pageTitle;

  std::optional<std::string> answer;
  const std::stop_token stop = stopToken();
  PartialSink sink = [inner = partialSink(headline, items), stop](const std::string& text) {
    if (!stop.stop_requested()) inner(text);  // nothing more reaches the palette once cancelled
  };
  if (local) {
    const std::string user = "Page title: " + title + "\n\nExcerpts:\n" + excerpts.text + "\n\nQuestion: " + question;
    answer =
        ai().ownModel()->generate(std::string(prompts::questionLocal), user, prompts::questionMaxTokens, sink, stop);
    if (!hasText(answer)) answer.reset();
  }
  if (!answer && !stopRequested() && ai().systemModelUsable()) {
    answer = ai().systemModel()->answerStreaming(question, title, excerpts.text, sink);
    if (!hasText(answer)) answer.reset();
  }

  if (answer) {
    dbg.push_back("Answered on-device by " + withoutPrefix(ai().statusText(), "Local AI: "));
  } else {
    answer = PageQA::extractiveAnswer(snap, question, excerpts.ranked);
    dbg.push_back("Extractive answer (no local model answered)");
    modelNote(dbg);
  }

  ActionResult result = ActionResult::info(headline, *answer, std::move(dbg));
  result.items = std::move(items);
  result.copyText = *answer;
  return result;
}

}  // namespace skimlet
