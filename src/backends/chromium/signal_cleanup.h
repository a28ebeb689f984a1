// A browser's temporary profile must not outlive Skimlet when Ctrl-C or a kill ends it: while
// a browser runs, SIGINT, SIGTERM and SIGHUP (where nothing else handles them) first end the
// browser's process group and delete its profile, then end Skimlet as the signal would have.
#pragma once

#include <sys/types.h>
#include <string>

namespace skimlet::chromium {

// Registers a browser's profile as soon as it exists, and later its process group; a handle
// for the calls below, or -1 when too many are registered at once (then none is cleaned up).
int cleanUpOnSignal(const std::string& profileDir);
void cleanUpGroupOnSignal(int handle, pid_t group);
// The browser was shut down the normal way.
void forgetOnSignal(int handle);

}  // namespace skimlet::chromium
