#include "browser/browser_target.h"

#include <mutex>
#include <unordered_set>

#include "page/ax_helpers.h"

namespace skimlet {
namespace {

// Browser processes already prepared in this run. window() may run on a capture's worker thread
// while another command starts, hence the lock.
std::mutex preparedLock;
std::unordered_set<Pid>& prepared() {
  static std::unordered_set<Pid> pids;
  return pids;
}

std::optional<ax::ElementRef> elementIn(const ax::Value& v) {
  if (auto e = std::get_if<ax::ElementRef>(&v); e && *e) return *e;
  return std::nullopt;
}

}  // namespace

std::string BrowserTarget::browserName() const {
  if (!app.localizedName.empty()) return app.localizedName;
  return adapter ? adapter->name() : std::string();
}

std::optional<ax::ElementRef> BrowserTarget::window(ax::Api& ax) const {
  ax::ElementRef application = ax.createApplication(app.pid);
  if (!application) return std::nullopt;
  {
    std::lock_guard lock(preparedLock);
    if (prepared().insert(app.pid).second && adapter) adapter->prepare(ax, application);
  }
  if (auto w = elementIn(AX::attribute(ax, application, "AXFocusedWindow"))) return w;
  if (auto w = elementIn(AX::attribute(ax, application, "AXMainWindow"))) return w;
  ax::Value windows = AX::attribute(ax, application, "AXWindows");
  if (auto list = std::get_if<std::vector<ax::ElementRef>>(&windows)) {
    for (const auto& w : *list) {
      if (w) return w;
      break;
    }
  }
  return std::nullopt;
}

std::optional<ax::ElementRef> BrowserTarget::focusedElement(ax::Api& ax) const {
  ax::ElementRef application = ax.createApplication(app.pid);
  if (!application) return std::nullopt;
  return elementIn(AX::attribute(ax, application, "AXFocusedUIElement"));
}

void BrowserTarget::forgetPreparedForTesting() {
  std::lock_guard lock(preparedLock);
  prepared().clear();
}

}  // namespace skimlet
