#include "desktop_backend.h"

#include <filesystem>
#include <stdexcept>

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

// Until the desktop's own accessibility backend is wired in, no browser of the user's is
// reachable: the palette says so, as it does when none is in front.
std::unique_ptr<DesktopBackend> userBrowser(Settings& settings, Dispatch& dispatch) {
  memory::Recording nothing{memory::AppInfo{"Files", "org.skimlet.none", 1, ""}, true,
                            memory::Node{.role = "AXWindow"}};
  return std::make_unique<MemoryBackend>(std::make_unique<memory::Backend>(std::move(nothing)), settings, dispatch);
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
