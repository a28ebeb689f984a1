// How long a question takes without a model on a very large page: the page read (two crawls of
// the recorded tree through the memory backend), the ranking and the extractive answer. The page
// has 6000 elements, the most one page read takes in.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "backends/memory/backend.h"
#include "browser/snapshot_capture.h"
#include "engine/action_engine.h"
#include "qa/page_qa.h"

namespace skimlet {
namespace {

using memory::Node;

const char* const words[] = {"parcel",  "delivery", "order",   "account", "return",  "refund",  "tracking", "service",
                             "address", "payment",  "invoice", "store",   "member",  "support", "warranty", "product",
                             "price",   "weekly",   "offer",   "garden",  "kitchen", "travel",  "update",   "message"};
const std::string question = "how much does express shipping cost?";

Node node(std::string role, std::string title, Rect frame, std::vector<std::string> actions = {}) {
  Node n;
  n.role = std::move(role), n.title = std::move(title), n.frame = frame, n.actions = std::move(actions);
  return n;
}

// A sentence of pseudo-random words, the same on every run.
std::string sentence(std::uint32_t& seed, int length) {
  std::string s;
  for (int i = 0; i < length; ++i) {
    seed = seed * 1664525u + 1013904223u;
    std::string w = words[(seed >> 8) % std::size(words)];
    if (i == 0) w[0] = static_cast<char>(w[0] - 'a' + 'A');
    s += (i ? " " : "") + w;
  }
  return s + ".";
}

// 200 sections of 30 elements: a heading, a paragraph of three sentences, twenty links and five
// buttons; one section says what express shipping costs.
memory::Recording largePage() {
  std::uint32_t seed = 7;
  double y = 0;
  auto frame = [&](double h) {
    y += h + 4;
    return Rect{20, y, 800, h};
  };
  Node web = node("AXWebArea", "Help centre", Rect{0, 80, 1200, 820});
  for (int s = 0; s < 200; ++s) {
    web.children.push_back(node("AXHeading", "Section " + std::to_string(s) + " " + sentence(seed, 3), frame(30)));
    Node paragraph = node("AXGroup", "", frame(60));
    for (int t = 0; t < 3; ++t) {
      std::string text =
          s == 120 && t == 1 ? "Express shipping costs $12.50 and arrives the next business day." : sentence(seed, 22);
      Node run = node("AXStaticText", "", frame(20));
      run.value = text;
      paragraph.children.push_back(std::move(run));
    }
    web.children.push_back(std::move(paragraph));
    for (int l = 0; l < 20; ++l) web.children.push_back(node("AXLink", sentence(seed, 4), frame(18), {"AXPress"}));
    for (int b = 0; b < 5; ++b) web.children.push_back(node("AXButton", sentence(seed, 2), frame(24), {"AXPress"}));
  }
  memory::Recording r;
  r.app.name = "Safari", r.app.bundleID = "com.apple.Safari", r.app.pid = 501;
  r.window = node("AXWindow", "Help centre", Rect{0, 0, 1200, 900});
  r.window.children.push_back(std::move(web));
  return r;
}

void BM_Capture(benchmark::State& state) {
  memory::Backend backend(largePage());
  const Platform platform = backend.platform();
  const BrowserTarget target = *backend.target();
  std::size_t elements = 0;
  for (auto _ : state) {
    auto snap = captureSnapshot(target, platform);
    elements = snap->elements.size();
    benchmark::DoNotOptimize(snap);
  }
  state.counters["elements"] = static_cast<double>(elements);
}

void BM_ExtractiveAnswer(benchmark::State& state) {
  memory::Backend backend(largePage());
  const PageSnapshot snap = *captureSnapshot(*backend.target(), backend.platform());
  for (auto _ : state) benchmark::DoNotOptimize(PageQA::extractiveAnswer(snap, question));
  state.counters["chunks"] = static_cast<double>(snap.chunks.size());
}

// The whole question as the palette runs it without a model: a fresh engine, the page read, the
// excerpts for the "Why?" lines and the extractive answer.
void BM_AskWithoutModel(benchmark::State& state) {
  memory::Backend backend(largePage());
  const Platform platform = backend.platform();
  const BrowserTarget target = *backend.target();
  for (auto _ : state) {
    auto engine = ActionEngine::create(target, platform, LocalAI(nullptr, nullptr));
    Outcome outcome = engine->run(intents::Ask{question});
    if (!outcome.result() || outcome.result()->body->find("$12.50") == std::string::npos)
      state.SkipWithError("the answer does not quote the shipping price");
    benchmark::DoNotOptimize(outcome);
  }
}

BENCHMARK(BM_Capture)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExtractiveAnswer)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AskWithoutModel)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace skimlet

BENCHMARK_MAIN();
