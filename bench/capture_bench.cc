// How long one page read takes on the largest page Skimlet reads whole: 6000 elements in the
// web area, shaped like a long article with navigation, lists, a form and images. Measures the
// whole capture (both crawls through the memory backend, the lines and the chunks) and, apart,
// the page crawl, the lines and the chunks, so a slow step shows by itself. Target: the whole
// capture within 15 ms.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "backends/memory/backend.h"
#include "browser/snapshot_capture.h"
#include "large_page.h"
#include "page/crawler.h"
#include "page/page_reader.h"
#include "page/page_snapshot.h"

namespace skimlet {
namespace {

constexpr int kPageElements = 6000;

struct Page {
  memory::Backend backend{bench::largePage(kPageElements)};
  Platform platform = backend.platform();
  BrowserTarget target = *backend.target();
};

// What a command pays before it can act: both crawls, the lines and the chunks.
void BM_Capture(benchmark::State& state) {
  Page page;
  std::size_t elements = 0, lines = 0, chunks = 0;
  for (auto _ : state) {
    auto snap = captureSnapshot(page.target, page.platform);
    elements = snap->elements.size(), lines = snap->lines.size(), chunks = snap->chunks.size();
    benchmark::DoNotOptimize(snap);
  }
  if (elements != static_cast<std::size_t>(kPageElements)) state.SkipWithError("the page read is not whole");
  state.counters["elements"] = static_cast<double>(elements);
  state.counters["lines"] = static_cast<double>(lines);
  state.counters["chunks"] = static_cast<double>(chunks);
  state.SetLabel("target ≤15 ms");
}

void BM_CrawlPage(benchmark::State& state) {
  Page page;
  const PageSnapshot snap = *captureSnapshot(page.target, page.platform);
  for (auto _ : state)
    benchmark::DoNotOptimize(
        Crawler::crawl(page.platform.ax, page.platform.clock, snap.webArea->element, Crawler::pageLimits));
}

void BM_Lines(benchmark::State& state) {
  Page page;
  const PageSnapshot snap = *captureSnapshot(page.target, page.platform);
  for (auto _ : state) benchmark::DoNotOptimize(PageReader::lines(snap.elements, &page.platform.ax));
}

void BM_Chunks(benchmark::State& state) {
  Page page;
  const PageSnapshot snap = *captureSnapshot(page.target, page.platform);
  for (auto _ : state) benchmark::DoNotOptimize(PageReader::chunks(snap.lines));
}

BENCHMARK(BM_Capture)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CrawlPage)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Lines)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Chunks)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace skimlet

BENCHMARK_MAIN();
