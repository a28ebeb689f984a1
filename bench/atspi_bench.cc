// How fast Skimlet reads a large page in the user's own browser through the desktop's
// accessibility bus, in Firefox ESR and Chromium on a private desktop: ccache's manual (some
// 4 500 page elements) and the Bash reference manual (a stress case). For each, the capture of
// the page (window and page crawls, lines and chunks) right after a reload (cold) and again with
// nothing changed, the node count, and the time the browser alone takes to answer the node list
// (one Collection.GetMatches), with where the rest of the capture goes.
// `atspi_bench firefox|chromium [PAGE]` measures one browser, or one page.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#if !defined(__APPLE__)
#include "backends/atspi/desktop_session.h"
#include "browser/snapshot_capture.h"
#include "page/page_snapshot.h"
#include "platform/memory_settings.h"
#include "support/desktop_harness.h"

namespace skimlet {
namespace {

using testing::DesktopHarness;

struct Spread {
  std::vector<double> v;
  void add(double x) { v.push_back(x); }
  double median() {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
  }
  double min() { return *std::min_element(v.begin(), v.end()); }
  double max() { return *std::max_element(v.begin(), v.end()); }
};

double msSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void pause(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

int run(DesktopHarness::Browser browser, const std::string& path) {
  const char* name = browser == DesktopHarness::Browser::firefox ? "Firefox ESR" : "Chromium";
  if (!std::filesystem::exists(path)) {
    std::printf("atspi: %s is missing (scripts/setup.sh installs the packages it comes from)\n", path.c_str());
    return 0;
  }
  if (auto why = DesktopHarness::missing(browser); !why.empty()) {
    std::printf("atspi: %s\n", why.c_str());
    return 0;
  }
  auto harness = DesktopHarness::start(browser, "file://" + path);
  MemorySettings settings;
  std::unique_ptr<atspi::DesktopSession> session;
  std::optional<BrowserTarget> target;
  for (int i = 0; i < 100 && !target; ++i) {
    session = atspi::DesktopSession::open(settings);
    if (session) target = session->target();
    if (!target) pause(0.2);
  }
  if (!target) {
    std::printf("atspi: %s never joined the accessibility bus\n", name);
    return 1;
  }
  Platform platform = session->platform();
  std::size_t elements = 0;
  auto capture = [&] {
    auto snapshot = captureSnapshot(*target, platform);
    if (snapshot) elements = snapshot->elements.size();
    return snapshot;
  };
  // The first read waits for the browser to have the whole page.
  for (int i = 0; i < 50 && elements < 1000; ++i) {
    capture();
    if (elements < 1000) pause(0.2);
  }

  Spread cold, warm, list, first, second, extents, rounds;
  std::size_t nodes = 0;
  for (int i = 0; i < 5; ++i) {
    platform.input.postKey(target->app.pid, 15, keyflags::command);  // reload
    pause(2.5);
    auto start = std::chrono::steady_clock::now();
    capture();
    cold.add(msSince(start));
    atspi::ReadStats s = session->ax().lastPageRead();
    nodes = s.nodes;
    list.add(s.listSeconds * 1000);
    first.add(s.firstSeconds * 1000);
    second.add(s.secondSeconds * 1000);
    extents.add(s.extentSeconds * 1000);
    rounds.add(s.extentRounds);
  }
  for (int i = 0; i < 5; ++i) {
    auto start = std::chrono::steady_clock::now();
    capture();
    warm.add(msSince(start));
  }
  // The browser alone: the node list asked on its own, its answer read and nothing else done.
  Spread alone;
  auto snapshot = capture();
  if (snapshot && snapshot->webArea) {
    auto* doc = snapshot->webArea->element.as<atspi::AtspiElement>();
    auto bus = atspi::Bus::connect();
    for (int i = 0; i < 5 && doc && bus; ++i) {
      auto start = std::chrono::steady_clock::now();
      atspi::TreeReader::matching(*bus, doc->object, {}, {}, 0);
      alone.add(msSince(start));
    }
  }
  std::printf("%s, %s: %zu accessible objects, %zu page elements\n", name, path.c_str(), nodes, elements);
  std::printf("  capture cold (after a reload), 5 runs:  median %7.1f ms  (%.1f–%.1f)\n", cold.median(), cold.min(),
              cold.max());
  std::printf("  capture again, nothing changed:          median %7.1f ms  (%.1f–%.1f)\n", warm.median(), warm.min(),
              warm.max());
  if (!alone.v.empty())
    std::printf("  the browser alone answering the node list: median %6.1f ms  → capture / node list = %.1f×\n",
                alone.median(), cold.median() / alone.median());
  std::printf(
      "  where a cold capture goes (medians): node list %.1f ms, role/state/names/extents %.1f ms, "
      "text/links/actions %.1f ms, extents re-read %.1f ms (%.0f rounds), the rest (window's controls, "
      "crawl, lines) %.1f ms\n",
      list.median(), first.median(), second.median(), extents.median(), rounds.median(),
      cold.median() - list.median() - first.median() - second.median() - extents.median());
  return 0;
}

}  // namespace
}  // namespace skimlet

int main(int argc, char** argv) {
  using skimlet::testing::DesktopHarness;
  std::vector<DesktopHarness::Browser> browsers = {DesktopHarness::Browser::firefox, DesktopHarness::Browser::chromium};
  std::vector<std::string> pages = {"/usr/share/doc/ccache/manual.html", "/usr/share/doc/bash/bashref.html"};
  if (argc >= 2) {
    std::string b = argv[1];
    browsers = {b == "chromium" ? DesktopHarness::Browser::chromium : DesktopHarness::Browser::firefox};
  }
  if (argc >= 3) pages = {argv[2]};
  try {
    for (auto browser : browsers)
      for (const auto& page : pages)
        if (int status = skimlet::run(browser, page)) return status;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "atspi: %s\n", e.what());
    return 1;
  }
  return 0;
}
#else
#include <cstdio>
int main() {
  std::printf("atspi: this benchmark reads a browser on a Linux desktop, which macOS builds leave out\n");
  return 0;
}
#endif
