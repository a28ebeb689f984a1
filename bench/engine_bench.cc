// Whole commands on a page of 6000 elements, as the palette runs them on Return without a model:
// understanding the typed text, a fresh engine, the page read (capture included), then the flow
// (matching and the press for a click; ranking and the extractive answer for a question).
// Target: each within 30 ms.
#include <benchmark/benchmark.h>

#include <string>

#include "backends/memory/backend.h"
#include "engine/action_engine.h"
#include "engine/understand.h"
#include "large_page.h"

namespace skimlet {
namespace {

// Runs one typed command end to end; the outcome, or none when it was not understood.
std::optional<Outcome> runCommand(memory::Backend& backend, const std::string& command) {
  const LocalAI ai(nullptr, nullptr);
  auto understood = understand(command, ai);
  if (!understood) return std::nullopt;
  auto engine = ActionEngine::create(*backend.target(), backend.platform(), ai);
  return engine->run(understood->intent);
}

void BM_ClickCommand(benchmark::State& state) {
  auto backend = std::make_unique<memory::Backend>(bench::largePage(6000));
  for (auto _ : state) {
    auto outcome = runCommand(*backend, "click get the weekly newsletter");
    auto events = backend->events();
    if (!outcome || !outcome->result() || outcome->result()->kind != ActionResult::Kind::success || events.empty() ||
        events.front().type != Event::Type::press || events.front().label != "Get the weekly newsletter") {
      state.SkipWithError("the click did not press “Get the weekly newsletter”");
      break;
    }
    backend->clearEvents();
  }
  state.SetLabel("target ≤30 ms");
}

void BM_PageQuestion(benchmark::State& state) {
  auto backend = std::make_unique<memory::Backend>(bench::largePage(6000));
  for (auto _ : state) {
    auto outcome = runCommand(*backend, "how much do tickets for the winter festival cost?");
    const ActionResult* r = outcome ? outcome->result() : nullptr;
    if (!r || !r->body || r->body->find("$12.50") == std::string::npos) {
      state.SkipWithError("the answer does not quote the ticket price");
      break;
    }
  }
  state.SetLabel("target ≤30 ms");
}

BENCHMARK(BM_ClickCommand)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PageQuestion)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace skimlet

BENCHMARK_MAIN();
