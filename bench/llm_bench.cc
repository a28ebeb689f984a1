// Speed of Skimlet's own model engine on a model of the shipped model's shapes (Qwen2.5 1.5B:
// 28 layers, width 1536, feed-forward 8960, 12 query and 2 key/value heads of 128, 151,936
// tokens, tied output) with random weights in the Q4_K_M mix: Q4_K matrices, Q6_K for the
// embedding and for the value and down projections of the layers that get more bits. Figures:
// prompt tokens per second (one batch from position 0) and generated tokens per second (one
// token at a time after that prompt), then both again through the runtime, with a second
// request that reuses the first one's cached prefix.
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

#include "llm/ggml_type.h"
#include "llm/local_model_runtime.h"
#include "llm/thread_pool.h"
#include "llm/transformer.h"
#include "support/gguf_writer.h"

namespace skimlet {
namespace {

namespace fs = std::filesystem;

constexpr int kPromptTokens = 64;
constexpr int kGeneratedTokens = 16;

testing::RandomModel qwenShapes() {
  testing::RandomModel m;
  m.arch = "qwen2";
  m.layers = 28;
  m.embd = 1536;
  m.ff = 8960;
  m.heads = 12;
  m.kvHeads = 2;
  m.headDim = 128;
  m.vocab = 151936;
  m.biases = true;
  m.tiedOutput = true;
  m.contextLength = 32768;
  m.weightScale = 0.02f;
  m.typeOf = [n = m.layers](const std::string& role, int layer) {
    using namespace GGMLType;
    // The layers that the Q4_K_M recipe gives more bits: the first and last eighth, and every
    // third one between.
    const bool moreBits = layer < n / 8 || layer >= 7 * n / 8 || (layer - n / 8) % 3 == 2;
    if (role == "token_embd" || role == "output") return q6K;
    if (role == "attn_v" || role == "ffn_down") return moreBits ? q6K : q4K;
    return q4K;
  };
  return m;
}

const std::string& modelPath() {
  static const std::string path = [] {
    const fs::path p = fs::temp_directory_path() / "skimlet-bench-qwen2.5-1.5b-shapes-q4km.gguf";
    if (!fs::exists(p)) {
      std::fprintf(stderr, "Writing a random model of Qwen2.5 1.5B shapes to %s ...\n", p.c_str());
      // Written aside and renamed, so an interrupted run never leaves half a model to reuse.
      const fs::path part = p.string() + ".part";
      testing::writeRandomModel(part.string(), qwenShapes(), 42);
      fs::rename(part, p);
    }
    return p.string();
  }();
  return path;
}

Transformer& model() {
  static std::unique_ptr<Transformer> m = [] {
    auto start = std::chrono::steady_clock::now();
    auto t = std::make_unique<Transformer>(modelPath(), 2048);
    std::fprintf(stderr, "Loaded in %.2f s; %d threads\n",
                 std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(),
                 ThreadPool::shared().threads());
    return t;
  }();
  return *m;
}

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

BENCHMARK(BM_Prompt)->Arg(kPromptTokens)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Generate)->Iterations(kGeneratedTokens)->Unit(benchmark::kMillisecond)->UseRealTime();

// The figures as the user meets them: two chat requests on the same page through the runtime.
void printRuntimeFigures() {
  LocalModelRuntime runtime(LocalModelRuntime::Options{modelPath(), 2048});
  const std::string system = "Answer from the page, briefly.";
  const std::string page = "Title: Shipping\n\nOrders over $50 ship free. Returns are accepted for 30 days.";
  for (const char* question : {"How long do I have to return an order?", "Is shipping free?"}) {
    runtime.generate(system, page + "\n\nQuestion: " + question, kGeneratedTokens);
    const auto s = runtime.lastRun();
    if (!s) continue;
    std::printf("runtime: prompt %d tokens (%d reused) %.1f tokens/s, generation %d tokens %.1f tokens/s\n",
                s->promptTokens, s->reusedTokens, s->promptTokensPerSecond(), s->generatedTokens,
                s->decodeTokensPerSecond());
  }
}

}  // namespace
}  // namespace skimlet

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  skimlet::printRuntimeFigures();
  benchmark::Shutdown();
  return 0;
}
