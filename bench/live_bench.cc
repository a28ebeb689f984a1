// How Skimlet does on large live pages in a headless Chromium: ccache's manual (Debian's ccache,
// one HTML page of some 7 600 accessibility nodes, the size the capture target is set for) and
// the Bash reference manual (Debian's bash-doc, some 53 000 nodes, a stress case). For each,
// the time to capture the page through the accessibility seam (cold, re-read and warm) and the
// time of a whole click command (understanding, capture, matching and the press), each the
// median of several runs. `live_bench PAGE "COMMAND"` measures another page.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#if !defined(__APPLE__)
#include "backends/chromium/live_session.h"
#include "backends/memory/backend.h"
#include "browser/snapshot_capture.h"
#include "engine/action_engine.h"
#include "intent/intent_parser.h"
#include "page/page_snapshot.h"

namespace skimlet {
namespace {

struct Page {
  std::string path;
  std::string click;  // a link into the same page, so every run finds the page as it was
};

double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

double msSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

int run(const Page& page) {
  if (!std::filesystem::exists(page.path)) {
    std::printf("live: %s is missing (scripts/setup.sh installs the packages it comes from)\n", page.path.c_str());
    return 0;
  }
  MemorySettings settings;
  auto session = chromium::LiveSession::open("file://" + page.path, settings);
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
    auto snapshot = captureSnapshot(*target, platform);
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
  // For comparison, what Chromium alone takes to answer the two requests that a read of the
  // whole tree rests on, asked one after the other on the loaded page (their JSON is read too,
  // as any client must). A capture overlaps them with its own work.
  std::vector<double> answers;
  std::size_t chromiumNodes = 0;
  for (int i = 0; i < 5; ++i) {
    auto start = std::chrono::steady_clock::now();
    chromiumNodes = session->browser().tabCall("Accessibility.getFullAXTree")["nodes"].size();
    session->browser().tabCall("DOMSnapshot.captureSnapshot",
                               {{"computedStyles", nlohmann::json::array({"position"})}});
    answers.push_back(msSince(start));
  }

  const std::string& command = page.click;
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

  std::printf(
      "live page: %s, %zu nodes in Chromium's accessibility tree, %zu of them read as the desktop shows them"
      " (ignored ones left out), %zu page elements crawled\n",
      page.path.c_str(), chromiumNodes, nodes, elements);
  std::printf("capture, median of runs (target ≤ 300 ms):\n");
  std::printf("  cold (freshly loaded page):  %7.1f ms\n", median(cold));
  std::printf("  re-read (cached tree gone):  %7.1f ms\n", median(reread));
  std::printf("  warm (page unchanged):       %7.1f ms\n", median(warm));
  std::printf("Chromium answering the whole tree, then the DOM snapshot, alone: %.1f ms\n", median(answers));
  std::printf("click, median of runs (target ≤ 500 ms):\n  \"%s\" → %s: %.1f ms\n", command.c_str(), headline.c_str(),
              median(clicks));
  return 0;
}

}  // namespace
}  // namespace skimlet

int main(int argc, char** argv) {
  if (!skimlet::chromium::LiveSession::available()) {
    std::printf("live: no Chromium installed\n");
    return 0;
  }
  std::vector<skimlet::Page> pages = {
      {"/usr/share/doc/ccache/manual.html", "click the first Configuration link"},
      {"/usr/share/doc/bash/bashref.html", "click the first Bourne Shell Builtins link"},
  };
  if (argc == 3) pages = {{argv[1], argv[2]}};
  try {
    for (std::size_t i = 0; i < pages.size(); ++i) {
      if (i) std::printf("\n");
      if (int status = skimlet::run(pages[i])) return status;
    }
    return 0;
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
