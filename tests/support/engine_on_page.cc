#include "support/engine_on_page.h"

#include <gtest/gtest.h>

#include "intent/intent_parser.h"
#include "support/paths.h"

namespace skimlet::testing {
namespace {
Platform withInput(Platform p, InputEvents* input) {
  if (!input) return p;
  return Platform{p.ax, p.workspace, *input, p.pasteboard, p.highlighter, p.dispatch, p.clock, p.settings};
}
}  // namespace

memory::Recording recordedPage(const std::string& page) {
  return memory::loadRecording(sourcePath("tests/pages/" + page));
}

EngineOnPage::EngineOnPage(const std::string& page, ChatModel* own, SystemModel* system, InputEvents* input)
    : EngineOnPage(recordedPage(page), own, system, input) {}

EngineOnPage::EngineOnPage(memory::Recording recording, ChatModel* own, SystemModel* system, InputEvents* input)
    : backend(std::make_unique<memory::Backend>(std::move(recording))),
      platform(withInput(backend->platform(), input)),
      engine(ActionEngine::create(*backend->target(), platform, LocalAI(own, system))) {
  engine->stream = [this](const ActionResult& r) { partials.push_back(r); };
}

ActionResult EngineOnPage::run(const Intent& intent) {
  Outcome outcome = engine->run(intent);
  if (const ActionResult* r = outcome.result()) return *r;
  ADD_FAILURE() << "expected a result";
  return {};
}

Outcome EngineOnPage::command(std::string_view typed) {
  std::optional<Intent> intent = IntentParser::parse(typed);
  if (!intent) {
    ADD_FAILURE() << "the rules don't understand “" << typed << "”";
    return ActionResult::failure("no intent");
  }
  return engine->run(*intent);
}

ActionResult EngineOnPage::result(std::string_view typed) {
  Outcome outcome = command(typed);
  if (const ActionResult* r = outcome.result()) return *r;
  ADD_FAILURE() << "expected a result for “" << typed << "”";
  return {};
}

std::vector<std::string> EngineOnPage::eventLines() const {
  std::vector<std::string> lines;
  for (const auto& e : backend->events()) lines.push_back(describe(e));
  return lines;
}

}  // namespace skimlet::testing
