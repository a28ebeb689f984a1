#include "backends/atspi/access_status.h"

namespace skimlet::atspi {

AccessStatus AccessStatus::of(Kind kind, const std::string& browser) {
  switch (kind) {
    case Kind::ready: return {kind, "", ""};
    case Kind::noBus:
      return {kind, "No accessibility bus is running on this desktop",
              "Install and start the desktop's accessibility service (Debian: at-spi2-core), log out and back in, "
              "then try again."};
    case Kind::accessibilityOff:
      return {kind, "Desktop accessibility was off; Skimlet has switched it on",
              "Restart your browser once (quit it and open it again) so Skimlet can read its pages, then try again."};
    case Kind::restartBrowser:
      return {kind, browser + " started before desktop accessibility was on",
              "Restart " + browser + " once (quit it and open it again), then try again."};
    case Kind::noBrowser:
      return {kind, "No supported browser is open", "Open Firefox, Chrome, Chromium, Brave or Edge, then try again."};
  }
  return {kind, "", ""};
}

}  // namespace skimlet::atspi
