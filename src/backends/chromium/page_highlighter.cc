#include "backends/chromium/page_highlighter.h"

#include <sstream>

namespace skimlet::chromium {

namespace {
constexpr const char* kRemove = "document.querySelectorAll('[data-skimlet-overlay]').forEach(e => e.remove())";
}

void PageHighlighter::show(Rect axFrame, double seconds) {
  auto turn = browser_.take();
  try {
    Rect view = browser_.viewportFrame();
    std::ostringstream js;
    js << "(() => {" << kRemove << ";"
       << "const d = document.createElement('div');"
       << "d.setAttribute('data-skimlet-overlay', ''); d.setAttribute('aria-hidden', 'true');"
       << "d.style.cssText = 'position:fixed;left:" << axFrame.x - view.x - 3 << "px;top:" << axFrame.y - view.y - 3
       << "px;width:" << axFrame.width + 6 << "px;height:" << axFrame.height + 6
       << "px;box-sizing:border-box;border:3px solid #2f7cf6;border-radius:5px;"
          "box-shadow:0 0 0 4px rgba(47,124,246,.25);pointer-events:none;z-index:2147483647';"
       << "document.documentElement.appendChild(d);"
       << "setTimeout(() => d.remove(), " << static_cast<long>(seconds * 1000) << "); })()";
    browser_.evaluate(js.str());
  } catch (const CdpError&) {
    // A page that is navigating away has nothing to outline.
  }
}

void PageHighlighter::hide() {
  auto turn = browser_.take();
  try {
    browser_.evaluate(kRemove);
  } catch (const CdpError&) {
  }
}

}  // namespace skimlet::chromium
