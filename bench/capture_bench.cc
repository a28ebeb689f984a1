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
#include "page/crawler.h"
#include "page/page_reader.h"
#include "page/page_snapshot.h"

namespace skimlet {
namespace {

using memory::Node;

constexpr int kPageElements = 6000;

const char* const words[] = {"harbour", "council", "weather", "market", "station", "library", "bridge", "garden",
                             "winter",  "river",   "museum",  "ferry",  "summer",  "school",  "street", "festival"};

// A sentence of pseudo-random words, the same on every run.
std::string sentence(std::uint32_t& seed, int length) {
  std::string s;
  for (int i = 0; i < length; ++i) {
    seed = seed * 1664525u + 1013904223u;
    if (i) s += ' ';
    s += words[(seed >> 8) % std::size(words)];
  }
  return s + ".";
}

class PageMaker {
 public:
  Node node(std::string role, std::string title = {}, std::vector<std::string> actions = {}) {
    Node n;
    n.role = std::move(role);
    n.title = std::move(title);
    n.actions = std::move(actions);
    y_ += 22;
    n.frame = Rect{20, y_, 760, 20};
    ++count_;
    return n;
  }
  Node text(std::string value) {
    Node n = node("AXStaticText");
    n.value = std::move(value);
    return n;
  }
  int count() const { return count_; }

 private:
  double y_ = 100;
  int count_ = 0;
};

// Sections of 30 elements until the web area holds kPageElements: a heading with its text, a
// paragraph of four text runs and an inline link, a list of five linked items, a small form and
// an image. A navigation bar of repeated links comes first.
memory::Recording largePage() {
  std::uint32_t seed = 11;
  PageMaker m;
  Node web = m.node("AXWebArea", "The Harbour Gazette");
  Node nav = m.node("AXGroup");
  for (int i = 0; i < 19; ++i) nav.children.push_back(m.node("AXLink", "Section " + std::to_string(i % 6), {"AXPress"}));
  web.children.push_back(std::move(nav));
  for (int s = 0; m.count() + 30 <= kPageElements; ++s) {
    Node h = m.node("AXHeading", "Chapter " + std::to_string(s));
    h.value = double(2 + s % 3);
    h.children.push_back(m.text("Chapter " + std::to_string(s)));
    web.children.push_back(std::move(h));

    Node p = m.node("AXGroup");
    for (int t = 0; t < 4; ++t) p.children.push_back(m.text(sentence(seed, 14)));
    Node a = m.node("AXLink", "", {"AXPress", "AXShowMenu"});
    a.children.push_back(m.text(sentence(seed, 3)));
    p.children.push_back(std::move(a));
    web.children.push_back(std::move(p));

    Node list = m.node("AXList");
    for (int i = 0; i < 5; ++i) {
      Node item = m.node("AXListItem");
      Node link = m.node("AXLink", "", {"AXPress"});
      link.children.push_back(m.text(sentence(seed, 5)));
      item.children.push_back(std::move(link));
      list.children.push_back(std::move(item));
    }
    web.children.push_back(std::move(list));

    Node form = m.node("AXGroup");
    Node field = m.node("AXTextField");
    field.description = "Your comment";
    field.value = sentence(seed, 4);
    form.children.push_back(std::move(field));
    form.children.push_back(m.node("AXCheckBox", "Notify me", {"AXPress"}));
    form.children.push_back(m.node("AXButton", "Post comment " + std::to_string(s % 4), {"AXPress"}));
    Node img = m.node("AXImage");
    img.description = "Photo: " + sentence(seed, 4);
    form.children.push_back(std::move(img));
    web.children.push_back(std::move(form));
  }
  while (m.count() < kPageElements) web.children.push_back(m.text(sentence(seed, 8)));

  memory::Recording r;
  r.app.name = "Safari", r.app.bundleID = "com.apple.Safari", r.app.pid = 501;
  PageMaker chrome;  // the browser's own controls, outside the page's count
  r.window = chrome.node("AXWindow", "The Harbour Gazette");
  Node toolbar = chrome.node("AXToolbar");
  for (const char* b : {"Back", "Forward", "Reload this page"}) toolbar.children.push_back(chrome.node("AXButton", b, {"AXPress"}));
  r.window.children.push_back(std::move(toolbar));
  r.window.children.push_back(std::move(web));
  return r;
}

struct Page {
  memory::Backend backend{largePage()};
  Platform platform = backend.platform();
  BrowserTarget target = *backend.target();
};

// What a command pays before it can act: both crawls, the lines and the chunks.
void BM_Capture(benchmark::State& state) {
  Page page;
  std::size_t elements = 0, lines = 0, chunks = 0;
  for (auto _ : state) {
    auto snap = PageSnapshot::capture(page.target, page.platform);
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
  const PageSnapshot snap = *PageSnapshot::capture(page.target, page.platform);
  for (auto _ : state)
    benchmark::DoNotOptimize(Crawler::crawl(page.platform.ax, page.platform.clock, snap.webArea->element, Crawler::pageLimits));
}

void BM_Lines(benchmark::State& state) {
  Page page;
  const PageSnapshot snap = *PageSnapshot::capture(page.target, page.platform);
  for (auto _ : state) benchmark::DoNotOptimize(PageReader::lines(snap.elements, &page.platform.ax));
}

void BM_Chunks(benchmark::State& state) {
  Page page;
  const PageSnapshot snap = *PageSnapshot::capture(page.target, page.platform);
  for (auto _ : state) benchmark::DoNotOptimize(PageReader::chunks(snap.lines));
}

BENCHMARK(BM_Capture)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CrawlPage)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Lines)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Chunks)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace skimlet

BENCHMARK_MAIN();
