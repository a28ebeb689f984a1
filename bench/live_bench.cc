// How Skimlet does on a large live page: the Bash reference manual (Debian's bash-doc, one HTML
// page of some 30 000 accessibility nodes) in a headless Chromium. Reports the time to capture
// the page through the accessibility seam (cold, re-read and warm) and the time of a whole click
// command (understanding, capture, matching and the press), each the median of several runs.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <vector>

#if !defined(__APPLE__)
#include "backends/chromium/live_session.h"
#include "backends/memory/backend.h"
#include "engine/action_engine.h"
#include "intent/intent_parser.h"
#include "page/page_snapshot.h"

namespace skimlet {
namespace {

constexpr const char* kPage = "/usr/share/doc/bash/bashref.html";

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

double msSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

int run() {
  if (!std::filesystem::exists(kPage)) {
    std::printf("live: %s is missing (install bash-doc; scripts/setup.sh does)\n", kPage);
    return 0;
  }
  if (!chromium::LiveSession::available()) {
    std::printf("live: no Chromium installed\n");
    return 0;
  }
  memory::MemorySettings settings;
  auto session = chromium::LiveSession::open(std::string("file://") + kPage, settings);
  auto target = session->target();
  if (!target) {
    std::printf("live: the browser is not a supported target\n");
    return 1;
  }
  Platform platform = session->platform();

  // Cold: the first read of a freshly loaded page. Re-read: the page stays loaded but Skimlet's
  // cached tree is dropped, as after a change to the page. Warm: nothing changed since the last
  // read, which the page's own change counts show.
  std::vector<double> cold, reread, warm;
  std::size_t elements = 0, nodes = 0;
  auto capture = [&](std::vector<double>& into) {
    auto start = std::chrono::steady_clock::now();
    auto snapshot = PageSnapshot::capture(*target, platform);
    into.push_back(msSince(start));
    if (snapshot) elements = snapshot->elements.size();
  };
  for (int i = 0; i < 5; ++i) {
    session->browser().reload();
    capture(cold);
  }
  for (int i = 0; i < 5; ++i) {
    session->browser().forget();
    capture(reread);
  }
  for (int i = 0; i < 7; ++i) capture(warm);
  nodes = session->browser().page().nodes.size();

  // A table-of-contents link into the same page, so every run finds the page as it was.
  const std::string command = "click the first Bourne Shell Builtins link";
  std::vector<double> clicks;
  std::string headline;
  for (int i = 0; i < 5; ++i) {
    auto start = std::chrono::steady_clock::now();
    auto intent = IntentParser::parse(command);
    auto engine = ActionEngine::create(*target, platform, LocalAI(nullptr, nullptr));
    Outcome outcome = engine->run(*intent);
    clicks.push_back(msSince(start));
    if (auto* r = outcome.result()) headline = r->headline;
    else if (auto* c = outcome.choose()) headline = "a choice of " + std::to_string(c->options.size());
    else headline = "a confirmation";
  }
  session->close();

  std::printf("live page: %s, %zu accessibility nodes read, %zu page elements crawled\n", kPage, nodes, elements);
  std::printf("capture, median of runs (target ≤ 300 ms):\n");
  std::printf("  cold (freshly loaded page):  %7.1f ms\n", median(cold));
  std::printf("  re-read (cached tree gone):  %7.1f ms\n", median(reread));
  std::printf("  warm (page unchanged):       %7.1f ms\n", median(warm));
  std::printf("click, median of runs (target ≤ 500 ms):\n  \"%s\" → %s: %.1f ms\n", command.c_str(),
              headline.c_str(), median(clicks));
  return 0;
}

}  // namespace
}  // namespace skimlet

int main() {
  try {
    return skimlet::run();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "live: %s\n", e.what());
    return 1;
  }
}
#else
int main() {
  std::printf("live: this benchmark drives the Chromium backend, which macOS builds leave out\n");
  return 0;
}
#endif
