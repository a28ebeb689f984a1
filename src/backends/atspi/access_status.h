// Whether Skimlet can read a browser on this desktop, and if not, what the user should do:
// the Linux side of the accessibility permission. There is no permission to grant, but the
// desktop's accessibility switch must be on, and a browser joins the accessibility bus only
// when it starts with the switch on, so "asking for access" is switching it on and telling the
// user to restart the browser once.
#pragma once

#include <string>

namespace skimlet::atspi {

struct AccessStatus {
  enum class Kind {
    ready,             // a supported browser can be read
    noBus,             // the session runs no accessibility bus
    accessibilityOff,  // the switch was off (Skimlet has turned it on)
    restartBrowser,    // a supported browser runs but started before the switch was on
    noBrowser,         // no supported browser is running
  };
  Kind kind = Kind::ready;
  std::string headline;  // one line in plain words
  std::string hint;      // what to do about it

  bool ready() const { return kind == Kind::ready; }
  static AccessStatus of(Kind kind, const std::string& browser = "");
};

}  // namespace skimlet::atspi
