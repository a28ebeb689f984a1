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

// The arguments that choose the browser's profile, so that URLs opened through its program land
// in the running browser rather than a fresh one with another profile.
std::vector<std::string> profileArguments(const std::vector<std::string>& args);

}  // namespace skimlet::atspi
