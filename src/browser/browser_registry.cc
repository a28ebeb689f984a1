#include "browser/browser_registry.h"

#include <algorithm>
#include <memory>

#include "browser/adapters.h"

namespace skimlet::BrowserRegistry {

const std::vector<const BrowserAdapter*>& adapters() {
  // Never destroyed: targets keep plain pointers to these for the life of the process. The table
  // is held through a static pointer, so that it stays reachable (and leak checkers agree).
  static const std::vector<const BrowserAdapter*>* all = [] {
    auto* list = new std::vector<const BrowserAdapter*>{
        new SafariAdapter("Safari", {"com.apple.Safari", "com.apple.SafariTechnologyPreview"}),
        new ChromiumAdapter("Chrome", {"com.google.Chrome", "com.google.Chrome.beta", "com.google.Chrome.canary"}),
        new FirefoxAdapter("Firefox",
                           {"org.mozilla.firefox", "org.mozilla.firefoxdeveloperedition", "org.mozilla.nightly"}),
        new ChromiumAdapter("Arc", {"company.thebrowser.Browser"}),
        new ChromiumAdapter("Brave", {"com.brave.Browser", "com.brave.Browser.beta", "com.brave.Browser.nightly"}),
        new ChromiumAdapter("Edge", {"com.microsoft.edgemac", "com.microsoft.edgemac.Beta"}),
        // The open-source build, which the live test backend drives.
        new ChromiumAdapter("Chromium", {"org.chromium.Chromium"}),
    };
    return list;
  }();
  return *all;
}

const BrowserAdapter* adapter(std::optional<std::string_view> bundleID) {
  if (!bundleID) return nullptr;
  for (const BrowserAdapter* a : adapters()) {
    const auto& ids = a->bundleIDs();
    if (std::find(ids.begin(), ids.end(), *bundleID) != ids.end()) return a;
  }
  return nullptr;
}

}  // namespace skimlet::BrowserRegistry
