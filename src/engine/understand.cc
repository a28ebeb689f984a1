#include "engine/understand.h"

#include <string_view>

#include "intent/intent_parser.h"
#include "text/text_util.h"
#include "text/unicode.h"

namespace skimlet {
namespace {

// Below this many words an unknown command reads as a phrase to look for; from it on, as a
// question about the page.
constexpr size_t kQuestionWords = 5;

}  // namespace

std::string_view stageName(Understanding::Stage stage) {
  switch (stage) {
    case Understanding::Stage::rules: return "rules";
    case Understanding::Stage::model: return "model";
    case Understanding::Stage::fallback: return "fallback";
  }
  return "rules";
}

std::optional<Understanding> understand(const std::string& command, const LocalAI& ai,
                                        const std::function<void()>& beforeModel, std::stop_token stop) {
  // The words are split on Unicode white space, so a command padded with no-break or ideographic
  // spaces is trimmed the same way it is counted. The text is repaired first so that the pieces,
  // which split returns as valid UTF-8, can be found in it again.
  unicode::Utf8 valid(command);
  const std::string_view whole = valid.view();
  const std::vector<std::string> words = TextUtil::split(whole);
  if (words.empty()) return std::nullopt;
  // UTF-8 never matches in the middle of a character, and only white space lies outside the first
  // and last words, so their first and last occurrences bound the trimmed command.
  const size_t begin = whole.find(words.front());
  const size_t end = whole.rfind(words.back()) + words.back().size();
  const std::string text(whole.substr(begin, end - begin));

  if (auto intent = IntentParser::parse(text)) return Understanding{std::move(*intent), Understanding::Stage::rules};

  if (ai.ownModelUsable() || ai.systemModelUsable()) {
    if (beforeModel) beforeModel();
    if (auto intent = ai.parseIntent(text, stop)) return Understanding{std::move(*intent), Understanding::Stage::model};
  }

  if (words.size() < kQuestionWords) return Understanding{intents::Find{text}, Understanding::Stage::fallback};
  return Understanding{intents::Ask{text}, Understanding::Stage::fallback};
}

}  // namespace skimlet
