#include "desktop_backend.h"

#include <filesystem>
#include <stdexcept>

#include "backends/atspi/desktop_session.h"
#include "backends/chromium/live_session.h"
#include "backends/memory/backend.h"
#include "local_site.h"

namespace skimlet::desktop {

namespace {

// A Chromium started for the application, on a page (a file is served from its folder on a
// loopback address, so its links are web links).
class ChromiumBackend final : public DesktopBackend {
 public:
  ChromiumBackend(const BackendOptions& o, Settings& settings, Dispatch& dispatch) : dispatch_(dispatch) {
    std::string url = o.url;
    if (!chromium::LiveSession::isUrl(url) && std::filesystem::is_regular_file(url)) {
      const auto file = std::filesystem::absolute(url);
      site_ = std::make_unique<cli::LocalSite>(file.parent_path());
      url = site_->url(file);
    }
    chromium::SessionOptions options;
    options.launch.visible = o.visible;
    session_ = chromium::LiveSession::open(chromium::LiveSession::urlFor(url), settings, options);
  }
  Platform platform() override {
    Platform p = session_->platform();
    return Platform{p.ax, p.workspace, p.input, p.pasteboard, p.highlighter, dispatch_, p.clock, p.settings};
  }
  AccessStatus access() override { return {}; }

 private:
  Dispatch& dispatch_;
  std::unique_ptr<cli::LocalSite> site_;  // outlives the browser that reads from it
  std::unique_ptr<chromium::LiveSession> session_;
};

// A recorded page served from memory, with the application's own settings.
class MemoryBackend final : public DesktopBackend {
 public:
  MemoryBackend(std::unique_ptr<memory::Backend> backend, Settings& settings, Dispatch& dispatch)
      : backend_(std::move(backend)), settings_(settings), dispatch_(dispatch) {}
  MemoryBackend(memory::Recording recording, Settings& settings, Dispatch& dispatch)
      : MemoryBackend(std::make_unique<memory::Backend>(std::move(recording)), settings, dispatch) {}
  Platform platform() override {
    Platform p = backend_->platform();
    return Platform{p.ax, p.workspace, p.input, p.pasteboard, p.highlighter, dispatch_, p.clock, settings_};
  }
  AccessStatus access() override { return {}; }
  void poll() override { backend_->runLoop().runPending(); }

 private:
  std::unique_ptr<memory::Backend> backend_;
  Settings& settings_;
  Dispatch& dispatch_;
};

AccessStatus accessOf(const atspi::AccessStatus& s) {
  // No open browser is not a question of access: the palette says so by itself.
  const bool on = s.ready() || s.kind == atspi::AccessStatus::Kind::noBrowser;
  return on ? AccessStatus{} : AccessStatus{false, s.headline, s.hint};
}

// The user's own browsers, through the desktop's accessibility bus.
class AtspiBackend final : public DesktopBackend {
 public:
  AtspiBackend(std::unique_ptr<atspi::DesktopSession> session, const atspi::AccessStatus& status)
      : session_(std::move(session)), access_(accessOf(status)) {}
  Platform platform() override { return session_->platform(); }
  AccessStatus access() override { return access_; }
  AccessStatus enableAccess() override { return access_ = accessOf(session_->status()); }

 private:
  std::unique_ptr<atspi::DesktopSession> session_;
  AccessStatus access_;
};

// A desktop without an accessibility bus: nothing can be read, and the palette says why.
class NoAccessBackend final : public DesktopBackend {
 public:
  NoAccessBackend(const atspi::AccessStatus& status, Settings& settings, Dispatch& dispatch)
      : nothing_(memory::Recording{memory::AppInfo{"", "", 1, ""}, false, memory::Node{.role = "AXWindow"}}, settings,
                 dispatch),
        access_(accessOf(status)) {}
  Platform platform() override { return nothing_.platform(); }
  AccessStatus access() override { return access_; }

 private:
  MemoryBackend nothing_;
  AccessStatus access_;
};

std::unique_ptr<DesktopBackend> userBrowser(Settings& settings, Dispatch& dispatch) {
  atspi::AccessStatus status;
  auto session = atspi::DesktopSession::open(settings, &status, &dispatch);
  if (!session) return std::make_unique<NoAccessBackend>(status, settings, dispatch);
  return std::make_unique<AtspiBackend>(std::move(session), status);
}

}  // namespace

std::unique_ptr<DesktopBackend> openBackend(const BackendOptions& options, Settings& settings, Dispatch& dispatch) {
  if (!options.url.empty()) {
    if (!chromium::LiveSession::available()) {
      throw std::runtime_error("no Chromium found (install Debian's chromium package, or set SKIMLET_CHROMIUM)");
    }
    return std::make_unique<ChromiumBackend>(options, settings, dispatch);
  }
  if (!options.fixture.empty()) {
    return std::make_unique<MemoryBackend>(memory::Backend::load(options.fixture), settings, dispatch);
  }
  return userBrowser(settings, dispatch);
}

}  // namespace skimlet::desktop
