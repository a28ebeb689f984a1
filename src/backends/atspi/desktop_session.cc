#include "backends/atspi/desktop_session.h"

#include <atspi/atspi-constants.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "backends/atspi/browser_identity.h"
#include "browser/browser_registry.h"

namespace skimlet::atspi {

namespace {

// Whether the process runs on this desktop: the same session bus (or, without one, the same
// display). Other users' and other sessions' browsers are not ours to name.
bool onThisDesktop(Pid pid) {
  for (const char* name : {"DBUS_SESSION_BUS_ADDRESS", "DISPLAY"}) {
    const char* ours = std::getenv(name);
    if (!ours || !*ours) continue;
    std::ifstream in("/proc/" + std::to_string(pid) + "/environ", std::ios::binary);
    std::string entry, wanted = std::string(name) + "=" + ours;
    while (std::getline(in, entry, '\0'))
      if (entry == wanted) return true;
    return false;
  }
  return true;
}

// A supported browser's main process that has not joined the accessibility bus: it started
// before the switch was on. Returns its adapter's name, or empty.
std::string browserMissingFromBus(const std::vector<Pid>& onBus) {
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", ec)) {
    const std::string name = entry.path().filename().string();
    if (name.empty() || name.find_first_not_of("0123456789") != std::string::npos) continue;
    Pid pid = std::stoi(name);
    ProcessInfo info = processInfo(pid);
    const BrowserAdapter* adapter = BrowserRegistry::adapter(bundleIdentifier(info.executable));
    if (!adapter) continue;
    // Helpers (renderers, the GPU process, content processes) carry a type or are children of
    // the main process, which is the one that joins the bus.
    bool helper = false;
    for (const auto& a : info.args)
      if (a.rfind("--type=", 0) == 0 || a == "-contentproc" || a == "-isForBrowser") helper = true;
    if (helper || !onThisDesktop(pid)) continue;
    if (std::find(onBus.begin(), onBus.end(), pid) == onBus.end()) return adapter->name();
  }
  return "";
}

}  // namespace

DesktopSession::DesktopSession(std::unique_ptr<Bus> bus, Settings& settings, Dispatch* dispatch)
    : bus_(std::move(bus)),
      x_(XDisplay::open()),
      settings_(settings),
      dispatch_(dispatch ? *dispatch : static_cast<Dispatch&>(runLoop_)),
      ax_(*bus_),
      workspace_(ax_, x_.get(), dispatch_),
      input_(x_.get(), workspace_),
      highlighter_(x_.get()),
      tracker_(workspace_) {
  tracker_.start();
}

DesktopSession::~DesktopSession() = default;

std::unique_ptr<DesktopSession> DesktopSession::open(Settings& settings, AccessStatus* status, Dispatch* dispatch) {
  std::unique_ptr<Bus> bus = Bus::connect();
  if (!bus) {
    if (status) *status = AccessStatus::of(AccessStatus::Kind::noBus);
    return nullptr;
  }
  std::unique_ptr<DesktopSession> session(new DesktopSession(std::move(bus), settings, dispatch));
  // Started from a terminal, no browser has been in front yet: the one that would be chosen now
  // counts as the last one in front, so the palette's tracker has a browser to act on.
  if (!session->tracker_.lastPID())
    if (auto t = session->target()) session->workspace_.announce(t->app.pid);
  if (status) *status = session->status();
  return session;
}

Platform DesktopSession::platform() {
  return Platform{ax_, workspace_, input_, pasteboard_, highlighter_, dispatch_, clock_, settings_};
}

std::optional<BrowserTarget> DesktopSession::target() {
  if (auto t = tracker_.current()) return t;
  std::optional<BrowserTarget> first;
  for (const RunningApp& app : workspace_.accessibleApplications()) {
    const BrowserAdapter* adapter = BrowserRegistry::adapter(app.bundleID);
    if (!adapter) continue;
    if (!first) first = BrowserTarget{app, adapter};
    if (auto object = ax_.applicationOf(app.pid))
      for (const Node& w : ax_.windowsOf(*object))
        if (w.states.has(ATSPI_STATE_ACTIVE)) return BrowserTarget{app, adapter};
  }
  return first;
}

AccessStatus DesktopSession::status() {
  auto on = accessibilityEnabled();
  if (!on) return AccessStatus::of(AccessStatus::Kind::noBus);
  if (!*on) {
    enableAccessibility();
    return AccessStatus::of(AccessStatus::Kind::accessibilityOff);
  }
  if (target()) return AccessStatus::of(AccessStatus::Kind::ready);
  std::string waiting = browserMissingFromBus(ax_.applicationPids());
  if (!waiting.empty()) return AccessStatus::of(AccessStatus::Kind::restartBrowser, waiting);
  return AccessStatus::of(AccessStatus::Kind::noBrowser);
}

}  // namespace skimlet::atspi
