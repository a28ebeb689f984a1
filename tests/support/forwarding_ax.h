// An ax::Api that passes every call to another one, for tests that change a single answer
// (a failing read, a missing window, a cycle in the tree) of an otherwise real tree.
#pragma once

#include "platform/ax.h"

namespace skimlet::testing {

class ForwardingAx : public ax::Api {
 public:
  explicit ForwardingAx(ax::Api& inner) : inner_(inner) {}

  std::optional<std::vector<ax::Value>> copyMultipleAttributeValues(const ax::ElementRef& e,
                                                                    std::span<const std::string> names) override {
    return inner_.copyMultipleAttributeValues(e, names);
  }
  ax::Error copyAttributeValue(const ax::ElementRef& e, std::string_view name, ax::Value& out) override {
    return inner_.copyAttributeValue(e, name, out);
  }
  ax::Error setAttributeValue(const ax::ElementRef& e, std::string_view name, const ax::Value& v) override {
    return inner_.setAttributeValue(e, name, v);
  }
  ax::Error isAttributeSettable(const ax::ElementRef& e, std::string_view name, bool& settable) override {
    return inner_.isAttributeSettable(e, name, settable);
  }
  ax::Error copyActionNames(const ax::ElementRef& e, std::vector<std::string>& out) override {
    return inner_.copyActionNames(e, out);
  }
  ax::Error performAction(const ax::ElementRef& e, std::string_view action) override {
    return inner_.performAction(e, action);
  }
  ax::ElementRef createApplication(Pid pid) override { return inner_.createApplication(pid); }
  bool isProcessTrusted(bool prompt) override { return inner_.isProcessTrusted(prompt); }

 protected:
  ax::Api& inner_;
};

}  // namespace skimlet::testing
