// Time to understand a command that reaches Skimlet's own model: LocalAI::parseIntent through
// OwnModel and the runtime, on the real model when scripts/fetch_model.sh has fetched it, else
// on a random model of the shipped model's shapes (the first line printed says which). The fixed
// intent system text is served from the runtime's cached keys and values after a warm-up call;
// each timed call runs the command's own tokens and then generates. The real model ends its
// line itself. A random model never says its stop token, so it writes until the cap: the figure
// at 9 new tokens stands for a real one-line reply and its end (“click|sign in|0||” is 8 tokens
// in this model's vocabulary, which makes common words single tokens as the shipped one does),
// the one at 40 is the full cap of an intent request.
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
#include "support/real_model.h"

namespace skimlet {
namespace {

// The own model with its replies cut at `cap` new tokens, as a short real reply would end, and
// with or without the reply's guessed tokens checked in batches.
class CappedModel : public ChatModel {
 public:
  CappedModel(ChatModel& inner, int cap, bool drafts) : inner_(inner), cap_(cap), drafts_(drafts) {}
  std::string displayName() const override { return inner_.displayName(); }
  bool installed() override { return inner_.installed(); }
  std::optional<std::string> lastError() override { return inner_.lastError(); }
  std::optional<std::string> generate(const std::string& system, const std::string& user, int maxTokens,
                                      const PartialSink& onPartial, std::stop_token stop) override {
    return inner_.generate(system, user, std::min(maxTokens, cap_), onPartial, std::move(stop));
  }
  std::optional<std::string> generateDrafted(const std::string& system, const std::string& user, int maxTokens,
                                             const PartialSink& onPartial, std::stop_token stop,
                                             const ReplyDrafter& drafter) override {
    return inner_.generateDrafted(system, user, std::min(maxTokens, cap_), onPartial, std::move(stop),
                                  drafts_ ? drafter : ReplyDrafter{});
  }

 private:
  ChatModel& inner_;
  int cap_;
  bool drafts_;
};

const std::string& modelPath() {
  static const std::string path = [] {
    std::string real = testing::realModelPath();
    return real.empty() ? bench::qwenShapesModelPath() : real;
  }();
  return path;
}

bool onRealModel() { return modelPath() == testing::realModelPath(); }

LocalModelRuntime& runtime() {
  static LocalModelRuntime r(LocalModelRuntime::Options{modelPath(), 2048});
  return r;
}

const std::vector<std::string> kCommands = {
    "could you hit the thing that signs me in",
    "bring up whatever talks about refunds",
    "jump to where people leave comments",
    "get the newsletter box and put my address there",
    "i want the third picture in the gallery",
    "show the part about delivery times",
    "take me to the reviews section",
    "go bakc",
    "put hello in the search box",
    "shut this tab",
    "scroll down to the pricing table",
    "press the blue subscribe button",
};

void BM_ParseIntent(benchmark::State& state) {
  OwnModel own(runtime(), [] { return true; });
  CappedModel capped(own, static_cast<int>(state.range(0)), state.range(1) != 0);
  LocalAI ai(&capped, nullptr);
  ai.parseIntent("please press the button that starts the checkout");  // loads, caches the system text
  size_t next = 0;
  int generated = 0, promptTokens = 0, passes = 0, drafted = 0, accepted = 0;
  double promptSeconds = 0, decodeSeconds = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(ai.parseIntent(kCommands[next++ % kCommands.size()]));
    if (auto s = runtime().lastRun()) {
      generated += s->generatedTokens;
      passes += 1 + s->decodeSteps;
      drafted += s->draftedTokens;
      accepted += s->acceptedDrafts;
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
  // Passes of the model per reply (the prompt's and the decode passes), and how many of the
  // guessed tokens checked in them the model agreed with.
  state.counters["passes/call"] = passes / calls;
  state.counters["drafts accepted"] = drafted ? static_cast<double>(accepted) / drafted : 0;
  if (auto s = runtime().lastRun()) state.counters["reused tokens"] = s->reusedTokens;
}

}  // namespace
}  // namespace skimlet

int main(int argc, char** argv) {
  using namespace skimlet;
  std::printf("model: %s (%s)\n", modelPath().c_str(), onRealModel() ? "real" : "random, of the real shapes");
  // One call per command; the reported time is the mean per call. The real model ends its
  // lines itself, so only the full cap applies.
  // Arguments: the new-token cap, and whether guessed tokens are checked in batches (0 is one
  // pass per token, for the ratio).
  auto* b = benchmark::RegisterBenchmark("BM_ParseIntent", BM_ParseIntent)->ArgNames({"cap", "drafts"});
  if (!onRealModel()) b->Args({9, 0})->Args({9, 1});
  b->Args({40, 0})
      ->Args({40, 1})
      ->Iterations(static_cast<int64_t>(kCommands.size()))
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
