// The desktop's accessibility tree (AT-SPI) through the accessibility seam, shaped as the macOS
// interface shows a browser: an application with windows; in a window the toolbars, tab strip
// and the page's web area; in the page links, buttons, fields, headings and static text.
//
// Reads of many attributes at once (what a crawl does) are served from the last bulk read of the
// window or the page, which the crawl's first read of a window or web area triggers; single
// attribute reads (what actions do just before acting) always ask the browser.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "backends/atspi/a11y_bus.h"
#include "backends/atspi/atspi_element.h"
#include "backends/atspi/tree_reader.h"
#include "platform/ax.h"

namespace skimlet::atspi {

class AtspiAx : public ax::Api {
 public:
  explicit AtspiAx(Bus& bus) : bus_(bus) {}

  std::optional<std::vector<ax::Value>> copyMultipleAttributeValues(const ax::ElementRef& element,
                                                                    std::span<const std::string> names) override;
  ax::Error copyAttributeValue(const ax::ElementRef& element, std::string_view name, ax::Value& out) override;
  ax::Error setAttributeValue(const ax::ElementRef& element, std::string_view name, const ax::Value& value) override;
  ax::Error isAttributeSettable(const ax::ElementRef& element, std::string_view name, bool& settable) override;
  ax::Error copyActionNames(const ax::ElementRef& element, std::vector<std::string>& out) override;
  ax::Error performAction(const ax::ElementRef& element, std::string_view action) override;
  ax::ElementRef createApplication(Pid pid) override;
  // Whether the desktop's accessibility is on: reading needs nothing else on Linux.
  bool isProcessTrusted(bool prompt) override;

  // The application object of a process on the bus; none when it has not joined the bus.
  std::optional<ObjectRef> applicationOf(Pid pid);
  // The processes of every application on the bus.
  std::vector<Pid> applicationPids();
  // The application's windows (frames), and the one the desktop calls active, if any.
  std::vector<Node> windowsOf(const ObjectRef& app);
  // Where the last bulk read of a page spent its time.
  ReadStats lastPageRead();
  // Forgets every bulk read, so the next read asks the browser.
  void forget();

 private:
  using Lock = std::unique_lock<std::recursive_mutex>;
  // The node from the last bulk read, or read now; with its children listed when asked.
  const Node* node(const ObjectRef& ref, bool withChildren, bool live);
  void prefetchWindow(const ObjectRef& window);
  void prefetchPage(const ObjectRef& document);
  void store(std::vector<Node> nodes);
  ax::Value attribute(const AtspiElement& e, std::string_view name, bool live);
  ax::Value applicationAttribute(const ObjectRef& app, std::string_view name);
  ax::Value objectAttribute(const Node& n, std::string_view name);
  ax::Value runAttribute(const Node& owner, int run, std::string_view name);
  std::vector<ax::ElementRef> childrenOf(const Node& n);
  std::optional<Rect> frameOf(const Node& n);
  std::string webAreaTitle(const Node& n);
  bool hidden(const Node& n) const;
  std::vector<std::string> actionsOf(const Node& n) const;

  Bus& bus_;
  std::recursive_mutex mutex_;
  std::unordered_map<std::string, Node> cache_;  // by ObjectRef::key()
  std::unordered_map<Pid, ObjectRef> apps_;
  ReadStats lastPage_;
  bool manualAccessibility_ = false;
};

// The pieces of an object's text between its embedded children (U+FFFC marks each child).
std::vector<std::string> textRuns(const std::string& text);
// A browser tab's name without what Chromium appends to it (" - Memory usage - 23.3 MB").
std::string tabName(const std::string& name);
// A window title without the browser's name ("Page — Mozilla Firefox" gives "Page").
std::string pageTitleFromWindow(const std::string& title);

}  // namespace skimlet::atspi
