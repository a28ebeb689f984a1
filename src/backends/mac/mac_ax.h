// The accessibility seam over AXUIElement: each call is the one system call of the same name,
// with its values described and converted by the portable cf_record.
#pragma once

#include "platform/ax.h"

namespace skimlet::mac {

class MacAx final : public ax::Api {
 public:
  std::optional<std::vector<ax::Value>> copyMultipleAttributeValues(const ax::ElementRef& element,
                                                                    std::span<const std::string> names) override;
  ax::Error copyAttributeValue(const ax::ElementRef& element, std::string_view name, ax::Value& out) override;
  ax::Error setAttributeValue(const ax::ElementRef& element, std::string_view name, const ax::Value& value) override;
  ax::Error isAttributeSettable(const ax::ElementRef& element, std::string_view name, bool& settable) override;
  ax::Error copyActionNames(const ax::ElementRef& element, std::vector<std::string>& out) override;
  ax::Error performAction(const ax::ElementRef& element, std::string_view action) override;
  ax::ElementRef createApplication(Pid pid) override;
  bool isProcessTrusted(bool prompt) override;
};

}  // namespace skimlet::mac
