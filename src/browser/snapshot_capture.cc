#include "browser/snapshot_capture.h"

#include "browser/adapters.h"
#include "page/ax_helpers.h"
#include "page/crawler.h"
#include "page/page_reader.h"
#include "page/page_snapshot.h"
#include "platform/platform.h"
#include "text/text_util.h"

namespace skimlet {

std::optional<PageSnapshot> captureSnapshot(const BrowserTarget& target, const Platform& platform) {
  ax::Api& ax = platform.ax;
  const double start = platform.clock.now();
  auto window = target.window(ax);
  if (!window) return std::nullopt;

  PageSnapshot snap;
  snap.windowTitle = AX::str(AX::attribute(ax, *window, "AXTitle"));
  snap.chrome = Crawler::crawl(ax, platform.clock, *window, Crawler::windowLimits);

  std::vector<PageElement> areas;
  for (const auto& e : snap.chrome)
    if (e.role == "AXWebArea") areas.push_back(e);
  static const PlainAdapter anyBrowser("", {});
  snap.webArea = (target.adapter ? *target.adapter : static_cast<const BrowserAdapter&>(anyBrowser)).pickWebArea(areas);

  if (snap.webArea) {
    snap.elements = Crawler::crawl(ax, platform.clock, snap.webArea->element, Crawler::pageLimits);
  } else {
    snap.elements = snap.chrome;
  }
  snap.lines = PageReader::lines(snap.elements, &ax);
  snap.chunks = PageReader::chunks(snap.lines, PageReader::chunkChars);

  if (snap.webArea) {
    ax::Value url = AX::attribute(ax, snap.webArea->element, "AXURL");
    if (auto u = std::get_if<ax::Url>(&url)) snap.url = u->absolute;
    else if (auto s = std::get_if<std::string>(&url)) snap.url = *s;
    snap.pageTitle = TextUtil::clean(snap.webArea->title);
  }
  snap.browserName = target.browserName();
  snap.captureTime = platform.clock.now() - start;
  return snap;
}

}  // namespace skimlet
