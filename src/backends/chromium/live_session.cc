#include "backends/chromium/live_session.h"

#include <filesystem>

#include "browser/browser_registry.h"

namespace skimlet::chromium {

namespace {

constexpr const char* kFocusedValue = R"JS((() => {
  const a = document.activeElement;
  if (!a || a === document.body || a === document.documentElement) return null;
  if (a instanceof HTMLInputElement) {
    if (a.type === 'password') return {secure: true};
    if (['checkbox', 'radio', 'button', 'submit', 'reset', 'image', 'file', 'range', 'color'].includes(a.type)) return null;
    return {value: a.value};
  }
  if (a instanceof HTMLTextAreaElement || a instanceof HTMLSelectElement) return {value: a.value};
  if (a.isContentEditable) return {value: a.innerText};
  return null;
})())JS";

}  // namespace

nlohmann::ordered_json toJson(const PageState& state) {
  return {
      {"url", state.url},
      {"title", state.title},
      {"tabs", state.tabs},
      {"focusedValue", state.focusedValue ? nlohmann::ordered_json(*state.focusedValue) : nlohmann::ordered_json()}};
}

bool LiveSession::available() { return !BrowserProcess::findExecutable().empty(); }

bool LiveSession::isUrl(const std::string& pathOrUrl) {
  return pathOrUrl.find("://") != std::string::npos || pathOrUrl.rfind("about:", 0) == 0 ||
         pathOrUrl.rfind("data:", 0) == 0;
}

std::string LiveSession::urlFor(const std::string& pathOrUrl) {
  if (isUrl(pathOrUrl)) return pathOrUrl;
  std::error_code ec;
  auto absolute = std::filesystem::absolute(pathOrUrl, ec);
  return "file://" + (ec ? pathOrUrl : absolute.lexically_normal().string());
}

LiveSession::LiveSession(std::unique_ptr<LiveBrowser> browser, Settings& settings, const SessionOptions& options)
    : browser_(std::move(browser)),
      settings_(settings),
      ax_(*browser_, events_),
      workspace_(*browser_, events_),
      pasteboard_(events_, options.desktopClipboard),
      input_(*browser_, ax_, events_, pasteboard_),
      highlighter_(*browser_) {}

std::unique_ptr<LiveSession> LiveSession::open(const std::string& url, Settings& settings, SessionOptions options) {
  auto browser = std::make_unique<LiveBrowser>(options.launch);
  browser->navigate(urlFor(url), options.loadTimeout);
  // The page is the first thing the window ever showed: nothing to go back to.
  browser->tabCall("Page.resetNavigationHistory");
  browser->changed(false);
  return std::unique_ptr<LiveSession>(new LiveSession(std::move(browser), settings, options));
}

LiveSession::~LiveSession() { close(); }

void LiveSession::close() {
  if (browser_) browser_->close();
}

Platform LiveSession::platform() {
  return Platform{ax_, workspace_, input_, pasteboard_, highlighter_, runLoop_, clock_, settings_};
}

std::optional<BrowserTarget> LiveSession::target() const {
  const BrowserAdapter* adapter = BrowserRegistry::adapter(std::string_view(kBundleID));
  if (!adapter) return std::nullopt;
  return BrowserTarget{workspace_.app(), adapter};
}

PageState LiveSession::pageState() {
  auto turn = browser_->take();
  PageState state;
  auto tabs = browser_->tabs();
  state.tabs = static_cast<int>(tabs.size());
  const PageTree& page = browser_->page();
  if (auto active = browser_->activeTab()) {
    state.url = page.url.empty() ? active->url : page.url;
    state.title = page.title.empty() ? active->title : page.title;
  }
  try {
    nlohmann::json focused = browser_->evaluate(kFocusedValue);
    if (focused.is_object()) {
      if (focused.value("secure", false)) state.focusedValue = maskedText;
      else state.focusedValue = focused.value("value", "");
    }
  } catch (const CdpError&) {
  }
  return state;
}

}  // namespace skimlet::chromium
