// The accessibility interface over a recording's live tree: reads answer from the tree, and
// setting "AXFocused" or "AXValue" and performing "AXPress" change it as the browser would.
#pragma once

#include "backends/memory/recorded_browser.h"
#include "platform/ax.h"

namespace skimlet::memory {

class RecordedAx final : public ax::Api {
 public:
  explicit RecordedAx(RecordedBrowser& browser) : browser_(browser) {}

  std::optional<std::vector<ax::Value>> copyMultipleAttributeValues(const ax::ElementRef& element,
                                                                    std::span<const std::string> names) override;
  ax::Error copyAttributeValue(const ax::ElementRef& element, std::string_view name, ax::Value& out) override;
  ax::Error setAttributeValue(const ax::ElementRef& element, std::string_view name, const ax::Value& value) override;
  ax::Error isAttributeSettable(const ax::ElementRef& element, std::string_view name, bool& settable) override;
  ax::Error copyActionNames(const ax::ElementRef& element, std::vector<std::string>& out) override;
  ax::Error performAction(const ax::ElementRef& element, std::string_view action) override;
  ax::ElementRef createApplication(Pid pid) override;
  bool isProcessTrusted(bool prompt) override;

 private:
  RecordedBrowser& browser_;
};

}  // namespace skimlet::memory
