#include "fixture_session.h"

#include <chrono>

namespace skimlet::cli {

double ReplayClock::now() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

namespace {

std::unique_ptr<memory::Backend> load(const std::string& path) { return memory::Backend::load(path); }

BrowserTarget supportedTarget(const memory::Backend& backend, const std::string& path) {
  if (auto target = backend.target()) return *target;
  throw FixtureError(path + ": app.bundleID: “" + backend.app().bundleID + "” is not a supported browser");
}

Platform withClock(Platform p, Clock& clock) {
  return Platform{p.ax, p.workspace, p.input, p.pasteboard, p.highlighter, p.dispatch, clock, p.settings};
}

}  // namespace

FixtureSession::FixtureSession(const std::string& path)
    : backend_(load(path)),
      target_(supportedTarget(*backend_, path)),
      platform_(withClock(backend_->platform(), clock_)) {}

}  // namespace skimlet::cli
