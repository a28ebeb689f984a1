// The live browser through the accessibility seam: an application with one window holding a tab
// strip, a toolbar and the active page's web area, read and acted on as the desktop interface
// would let Skimlet do it.
#pragma once

#include "backends/chromium/live_browser.h"
#include "backends/chromium/live_element.h"
#include "effects/event_log.h"
#include "platform/ax.h"

namespace skimlet::chromium {

class ChromiumAx : public ax::Api {
 public:
  ChromiumAx(LiveBrowser& browser, EventLog& events) : browser_(browser), events_(events) {}

  std::optional<std::vector<ax::Value>> copyMultipleAttributeValues(const ax::ElementRef& element,
                                                                    std::span<const std::string> names) override;
  ax::Error copyAttributeValue(const ax::ElementRef& element, std::string_view name, ax::Value& out) override;
  ax::Error setAttributeValue(const ax::ElementRef& element, std::string_view name, const ax::Value& value) override;
  ax::Error isAttributeSettable(const ax::ElementRef& element, std::string_view name, bool& settable) override;
  ax::Error copyActionNames(const ax::ElementRef& element, std::vector<std::string>& out) override;
  ax::Error performAction(const ax::ElementRef& element, std::string_view action) override;
  ax::ElementRef createApplication(Pid pid) override;
  bool isProcessTrusted(bool prompt) override { return true; }

  // The element at a screen point among the browser's own controls (tabs, toolbar buttons);
  // null elsewhere. Mouse clicks on the browser's bands land here.
  ax::ElementRef chromeElementAt(Point at);

 private:
  // Reads one attribute; Failed(...) for attributes the element lacks.
  ax::Value read(const LiveElement& e, std::string_view name);
  // The page node an element of the page stands for, when it is still on the front tab's page;
  // with its children listed when `withChildren`.
  const PageNode* resolve(const LiveElement& e, bool withChildren);
  ax::Value readNode(const LiveElement& e, const PageTree& page, const PageNode& n, std::string_view name);
  ax::Error press(const LiveElement& e);
  ax::Error pressPageNode(const PageNode& node);
  ax::Error scroll(const LiveElement& e, std::string_view action);
  std::string label(const LiveElement& e);
  std::string role(const LiveElement& e);

  LiveBrowser& browser_;
  EventLog& events_;
  bool manualAccessibility_ = false;
  bool enhancedUserInterface_ = false;
};

// The name by which an element is shown in events: the first non-empty of its title,
// description, value (not for text inputs), help and placeholder, whitespace-cleaned.
std::string elementLabel(const std::string& role, const std::string& subrole, const std::string& title,
                         const std::string& desc, const std::string& value, const std::string& help,
                         const std::string& placeholder);

}  // namespace skimlet::chromium
