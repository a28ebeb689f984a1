#include "backends/chromium/signal_cleanup.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstring>
#include <iterator>
#include <mutex>

namespace skimlet::chromium {

namespace {

// Everything the handler reads is plain memory filled in beforehand: a handler may only make
// async-signal-safe calls, so the profile is deleted by a spawned rm rather than by the library.
// The rm is started with vfork, not fork: fork runs the libraries' at-fork handlers, and
// OpenBLAS's takes a lock that the interrupted thread may hold, which hung the process.
struct Entry {
  std::atomic<bool> used{false};
  std::atomic<pid_t> group{0};  // 0: no browser started yet
  char dir[PATH_MAX];
};
Entry entries[8];
std::mutex registering;
constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

void onSignal(int sig) {
  for (Entry& e : entries) {
    if (!e.used.load()) continue;
    if (const pid_t group = e.group.load(); group > 0) ::kill(-group, SIGKILL);
    const pid_t rm = ::vfork();
    if (rm == 0) {
      char* const argv[] = {const_cast<char*>("rm"), const_cast<char*>("-rf"), e.dir, nullptr};
      ::execv("/bin/rm", argv);
      ::_exit(127);
    }
    if (rm > 0) ::waitpid(rm, nullptr, 0);
  }
  // End the way the signal would have ended us.
  ::signal(sig, SIG_DFL);
  ::raise(sig);
}

void installOnce() {
  static bool installed = false;
  if (installed) return;
  installed = true;
  for (int sig : kSignals) {
    struct sigaction current;
    // A program that handles the signal itself (the desktop app) keeps its handler.
    if (::sigaction(sig, nullptr, &current) != 0 || current.sa_handler != SIG_DFL) continue;
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    ::sigaction(sig, &action, nullptr);
  }
}

}  // namespace

int cleanUpOnSignal(const std::string& profileDir) {
  if (profileDir.size() >= PATH_MAX) return -1;
  std::lock_guard lock(registering);
  for (int i = 0; i < static_cast<int>(std::size(entries)); ++i) {
    Entry& e = entries[i];
    if (e.used.load()) continue;
    std::memcpy(e.dir, profileDir.c_str(), profileDir.size() + 1);
    e.group.store(0);
    e.used.store(true);
    installOnce();
    return i;
  }
  return -1;
}

void cleanUpGroupOnSignal(int handle, pid_t group) {
  if (handle >= 0) entries[handle].group.store(group);
}

void forgetOnSignal(int handle) {
  if (handle < 0) return;
  std::lock_guard lock(registering);
  entries[handle].used.store(false);
}

}  // namespace skimlet::chromium
