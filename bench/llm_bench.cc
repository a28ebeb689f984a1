// Speed of Skimlet's own model engine on the real model when scripts/fetch_model.sh has fetched
// it, else on a model of the shipped model's shapes (Qwen2.5 1.5B: 28 layers, width 1536,
// feed-forward 8960, 12 query and 2 key/value heads of 128, 151,936 tokens, tied output) with
// random weights in the Q4_K_M mix: Q4_K matrices, Q6_K for the embedding and for the value and
// down projections of the layers that get more bits; the first line says which. Figures,
// all on every core: prompt tokens per second for a 256-token prompt, generated tokens per second
// over 64 tokens after it, the time to the first token of a second request that shares a
// 200-token system text with the first (its keys and values come from the runtime's cache), the
// time of one pass over a few tokens after a 256-token context (what checking guessed tokens
// costs next to one token), and the peak resident memory of the process.
//
// Generation reads every weight once a token, so it cannot outrun the machine's memory: the
// benchmark also reads a large buffer on every core and prints generation as a share of the
// speed that bandwidth allows, which tells a slow machine from a slow engine.
//
// The model (about 1 GB) is written once to the temporary folder and reused by later runs.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <sys/resource.h>

#include "llm/local_model_runtime.h"
#include "llm/thread_pool.h"
#include "llm/transformer.h"
#include "qwen_shapes_model.h"
#include "support/real_model.h"

namespace skimlet {
namespace {

constexpr int kPromptTokens = 256;
constexpr int kGeneratedTokens = 64;
constexpr int kSystemTokens = 200;

const std::string& modelPath() {
  static const std::string path = [] {
    std::string real = testing::realModelPath();
    return real.empty() ? bench::qwenShapesModelPath() : real;
  }();
  return path;
}

// Dropped before the runtime loads its own copy, so the two mappings never add up in memory.
std::unique_ptr<Transformer>& loadedModel() {
  static std::unique_ptr<Transformer> m = [] {
    auto start = std::chrono::steady_clock::now();
    auto t = std::make_unique<Transformer>(modelPath(), 2048);
    std::fprintf(stderr, "Loaded in %.2f s; %d threads\n",
                 std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(),
                 ThreadPool::shared().threads());
    return t;
  }();
  return m;
}

Transformer& model() { return *loadedModel(); }

std::vector<int> randomTokens(int n, int vocab) {
  std::mt19937 rng(7);
  std::uniform_int_distribution<int> id(0, vocab - 4);  // not the markers
  std::vector<int> t(n);
  for (int& x : t) x = id(rng);
  return t;
}

int greedy(const std::vector<float>& logits) {
  return static_cast<int>(std::max_element(logits.begin(), logits.end()) - logits.begin());
}

void BM_Prompt(benchmark::State& state) {
  Transformer& m = model();
  const std::vector<int> prompt = randomTokens(static_cast<int>(state.range(0)), m.vocabSize());
  for (auto _ : state) benchmark::DoNotOptimize(m.forward(prompt, 0));
  state.counters["tokens/s"] =
      benchmark::Counter(static_cast<double>(state.iterations() * prompt.size()), benchmark::Counter::kIsRate);
}

std::vector<double> generationRates;  // tokens per second of each repetition

void BM_Generate(benchmark::State& state) {
  Transformer& m = model();
  const std::vector<int> prompt = randomTokens(kPromptTokens, m.vocabSize());
  int token = greedy(m.forward(prompt, 0));
  int position = kPromptTokens;
  for (auto _ : state) {
    token = greedy(m.forward(std::span<const int>(&token, 1), position++));
    if (position >= m.contextSize()) position = kPromptTokens;
  }
  state.counters["tokens/s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

// One pass over n tokens after a 256-token context, with every row's logits, as the runtime runs
// a reply's newest token with the tokens guessed after it.
void BM_Pass(benchmark::State& state) {
  Transformer& m = model();
  const std::vector<int> tokens = randomTokens(kPromptTokens + 16, m.vocabSize());
  m.forward(std::span<const int>(tokens).first(kPromptTokens), 0);
  const auto batch = std::span<const int>(tokens).subspan(kPromptTokens, static_cast<size_t>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(m.forwardAll(batch, kPromptTokens));
}

// Records each repetition's rate; the timing loop above stays free of it.
class RateRecorder : public benchmark::ConsoleReporter {
 public:
  RateRecorder() : ConsoleReporter(OO_None) {}
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs)
      if (r.run_type == Run::RT_Iteration && r.benchmark_name().rfind("BM_Generate", 0) == 0)
        generationRates.push_back(static_cast<double>(r.iterations) / r.real_accumulated_time);
    ConsoleReporter::ReportRuns(runs);
  }
};

// Bytes per second that every core together reads from a buffer far larger than the caches,
// best of a few passes.
double memoryReadBytesPerSecond() {
  constexpr size_t kBytes = size_t{512} << 20;
  std::vector<uint64_t> buffer(kBytes / sizeof(uint64_t), 1);
  ThreadPool& pool = ThreadPool::shared();
  const int64_t parts = pool.threads();
  std::vector<uint64_t> sums(static_cast<size_t>(parts));
  double best = 0;
  for (int pass = 0; pass < 5; ++pass) {
    auto start = std::chrono::steady_clock::now();
    pool.parallelFor(parts, [&](int64_t part) {
      const size_t n = buffer.size() / static_cast<size_t>(parts);
      const uint64_t* p = buffer.data() + static_cast<size_t>(part) * n;
      uint64_t a = 0, b = 0, c = 0, d = 0;
      for (size_t i = 0; i + 4 <= n; i += 4) {
        a += p[i];
        b += p[i + 1];
        c += p[i + 2];
        d += p[i + 3];
      }
      sums[static_cast<size_t>(part)] = a + b + c + d;
    });
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    benchmark::DoNotOptimize(sums.data());
    best = std::max(best, static_cast<double>(kBytes) / seconds);
  }
  return best;
}

void printGenerationAgainstMemory() {
  if (generationRates.empty()) return;
  std::vector<double> rates = generationRates;
  std::sort(rates.begin(), rates.end());
  const double median = rates[rates.size() / 2];
  // The weights are nearly the whole file; the output matrix is the embedding, read once.
  const double bytesPerToken = static_cast<double>(std::filesystem::file_size(modelPath()));
  const double bandwidth = memoryReadBytesPerSecond();
  const double ceiling = bandwidth / bytesPerToken;
  std::printf(
      "memory read on %d threads: %.1f GB/s, which allows at most %.1f tokens/s for %.0f MB of weights a token;"
      " generation (median %.1f tokens/s) runs at %.0f%% of that\n",
      ThreadPool::shared().threads(), bandwidth / 1e9, ceiling, bytesPerToken / 1e6, median, 100 * median / ceiling);
}

// Repeated because the machine may be shared: the median and the best run are the figures.
BENCHMARK(BM_Prompt)->Arg(kPromptTokens)->Iterations(1)->Repetitions(3)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Generate)->Iterations(kGeneratedTokens)->Repetitions(3)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Pass)
    ->Arg(1)
    ->Arg(2)
    ->Arg(4)
    ->Arg(8)
    ->Arg(16)
    ->Iterations(8)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// A system text of about `tokens` tokens in the model's tokenizer: words added until the system
// turn is that long.
std::string systemText(Transformer& m, int tokens) {
  static const char* const words[] = {"You", "map",    "a",    "command", "for", "the",    "web", "page", "to",
                                      "one", "action", "line", "with",    "its", "target", "and", "role", "only."};
  std::string text;
  for (size_t i = 0;; ++i) {
    std::string next = text + (text.empty() ? "" : " ") + words[i % std::size(words)];
    if (static_cast<int>(m.tokenizer().encode("system\n" + next).size()) + 2 > tokens) return text;
    text = std::move(next);
  }
}

// The time to the first token after a cached prefix of kSystemTokens, by how many new tokens the
// request adds. A command with its turn markers is about 8 to 14 new tokens in the shipped
// model's tokenizer, and in the benchmark model's, which makes common words single tokens too.
void printFirstTokenByLength() {
  Transformer& m = model();
  const std::vector<int> tokens = randomTokens(kSystemTokens + 40, m.vocabSize());
  m.forward(std::span<const int>(tokens).first(kSystemTokens), 0);
  std::printf("first token after a cached %d-token prefix, by new tokens (median of 5):", kSystemTokens);
  for (int n : {8, 12, 16, 24, 36}) {
    std::vector<double> runs;
    for (int r = 0; r < 5; ++r) {
      const auto started = std::chrono::steady_clock::now();
      benchmark::DoNotOptimize(m.forward(std::span<const int>(tokens).subspan(kSystemTokens, n), kSystemTokens));
      runs.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count());
    }
    std::sort(runs.begin(), runs.end());
    std::printf(" %d: %.3f s%s", n, runs[runs.size() / 2], n == 36 ? "\n" : ",");
  }
}

double peakResidentMB() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
#if defined(__APPLE__)
  return u.ru_maxrss / (1024.0 * 1024.0);  // bytes on macOS
#else
  return u.ru_maxrss / 1024.0;  // kilobytes on Linux
#endif
}

// The figures as the user meets them: requests with the same system text through the runtime.
// Each request after the first reuses the cached system turn; with one new token its whole call
// is the time to the first token.
void printRuntimeFigures(const std::string& system) {
  LocalModelRuntime runtime(LocalModelRuntime::Options{modelPath(), 2048});
  const char* const commands[] = {
      "click the blue sign in button", "open the second article about tides", "type my email into the newsletter box",
      "scroll down to the comments",   "show me the shipping costs",          "close this tab"};
  std::vector<double> ttft;
  for (const char* command : commands) {
    const auto started = std::chrono::steady_clock::now();
    runtime.generate(system, command, 1);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    const auto s = runtime.lastRun();
    if (!s) continue;
    std::printf("request \"%s\": prompt %d tokens (%d reused), first token after %.3f s\n", command, s->promptTokens,
                s->reusedTokens, seconds);
    if (s->reusedTokens > 0) ttft.push_back(seconds);
  }
  if (ttft.empty()) return;
  std::sort(ttft.begin(), ttft.end());
  std::printf("second-request time to first token (%d-token shared system turn): median %.3f s, best %.3f s\n",
              kSystemTokens, ttft[ttft.size() / 2], ttft.front());
}

}  // namespace
}  // namespace skimlet

int main(int argc, char** argv) {
  std::printf("model: %s (%s)\n", skimlet::modelPath().c_str(),
              skimlet::modelPath() == skimlet::testing::realModelPath() ? "real" : "random, of the real shapes");
  benchmark::Initialize(&argc, argv);
  skimlet::RateRecorder reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const std::string system = skimlet::systemText(skimlet::model(), skimlet::kSystemTokens);
  skimlet::printFirstTokenByLength();
  skimlet::loadedModel().reset();
  skimlet::printRuntimeFigures(system);
  std::printf("peak resident memory: %.0f MB\n", skimlet::peakResidentMB());
  // Last, so that its buffer doesn't count in the peak above.
  skimlet::printGenerationAgainstMemory();
  benchmark::Shutdown();
  return 0;
}
