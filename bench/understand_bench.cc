// Time to understand a command that reaches Skimlet's own model: LocalAI::parseIntent through
// OwnModel and the runtime, on a random model of the shipped model's shapes. The fixed intent
// system text is served from the runtime's cached keys and values after a warm-up call; each
// timed call runs the command's own tokens and then generates. A random model never says its
// stop token, so it writes until the cap: the figure at 9 new tokens stands for a real one-line
// reply and its end (“click|sign in|0||” is 8 tokens in this model's vocabulary, which makes
// common words single tokens as the shipped one does), the one at 40 is the full cap of an
// intent request.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "ai/chat_model.h"
#include "ai/local_ai.h"
#include "ai/own_model.h"
#include "llm/local_model_runtime.h"
#include "qwen_shapes_model.h"

namespace skimlet {
namespace {

// The own model with its replies cut at `cap` new tokens, as a short real reply would end.
class CappedModel : public ChatModel {
 public:
  CappedModel(ChatModel& inner, int cap) : inner_(inner), cap_(cap) {}
  std::string displayName() const override { return inner_.displayName(); }
  bool installed() override { return inner_.installed(); }
  std::optional<std::string> lastError() override { return inner_.lastError(); }
  std::optional<std::string> generate(const std::string& system, const std::string& user, int maxTokens,
                                      const PartialSink& onPartial, std::stop_token stop) override {
    return inner_.generate(system, user, std::min(maxTokens, cap_), onPartial, std::move(stop));
  }

 private:
  ChatModel& inner_;
  int cap_;
};

LocalModelRuntime& runtime() {
  static LocalModelRuntime r(LocalModelRuntime::Options{bench::qwenShapesModelPath(), 2048});
  return r;
}

const std::vector<std::string> kCommands = {
    "could you hit the thing that signs me in", "bring up whatever talks about refunds",
    "jump to where people leave comments",      "get the newsletter box and put my address there",
    "i want the third picture in the gallery",  "show the part about delivery times",
};

void BM_ParseIntent(benchmark::State& state) {
  OwnModel own(runtime(), [] { return true; });
  CappedModel capped(own, static_cast<int>(state.range(0)));
  LocalAI ai(&capped, nullptr);
  ai.parseIntent("please press the button that starts the checkout");  // loads, caches the system text
  size_t next = 0;
  int generated = 0, promptTokens = 0;
  double promptSeconds = 0, decodeSeconds = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(ai.parseIntent(kCommands[next++ % kCommands.size()]));
    if (auto s = runtime().lastRun()) {
      generated += s->generatedTokens;
      promptTokens += s->promptTokens - s->reusedTokens;
      promptSeconds += s->promptSeconds;
      decodeSeconds += s->generationSeconds;
    }
  }
  const double calls = static_cast<double>(state.iterations());
  state.counters["new tokens/call"] = static_cast<double>(generated) / calls;
  // Where the time goes: the command's own prompt tokens, then the decode steps.
  state.counters["command tokens"] = static_cast<double>(promptTokens) / calls;
  state.counters["prompt ms"] = 1000 * promptSeconds / calls;
  state.counters["decode ms"] = 1000 * decodeSeconds / calls;
  if (auto s = runtime().lastRun()) state.counters["reused tokens"] = s->reusedTokens;
}

// One call per command; the reported time is the mean per call.
BENCHMARK(BM_ParseIntent)->Arg(9)->Arg(40)->Iterations(6)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace skimlet

BENCHMARK_MAIN();
