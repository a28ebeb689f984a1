// Which browser a Linux process is, in the reverse-DNS identifiers the browser adapters know
// (the same ones as on macOS, so one adapter table serves both), read from its executable.
#pragma once

#include <string>
#include <vector>

#include "platform/ax.h"

namespace skimlet::atspi {

struct ProcessInfo {
  std::string executable;         // the resolved program path; empty when the process is gone
  std::vector<std::string> args;  // its command line, program first
};

ProcessInfo processInfo(Pid pid);

// "org.mozilla.firefox" for /usr/lib/firefox-esr/firefox-esr, "com.google.Chrome" for
// /opt/google/chrome/chrome, and so on; empty for programs that are not known browsers.
std::string bundleIdentifier(const std::string& executable);

// The arguments that choose the browser's profile (and let it run at all, such as Chromium's
// --no-sandbox for root), so that URLs opened through its program land in the running browser
// rather than a fresh one with another profile.
std::vector<std::string> profileArguments(const std::vector<std::string>& args);

// The command line that opens the URLs as new tabs of the running browser with this program
// (Firefox opens several URLs given plainly in a new window of their own).
std::vector<std::string> openCommand(const std::string& executable, const std::vector<std::string>& runningArgs,
                                     const std::vector<std::string>& urls);

}  // namespace skimlet::atspi
