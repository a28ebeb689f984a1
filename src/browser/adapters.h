// The browser families Skimlet knows. Each adapter is a name and the bundle identifiers it
// serves; the families differ only in how their accessibility tree is made complete.
#pragma once

#include <string>
#include <vector>

#include "browser/browser_adapter.h"

namespace skimlet {

// A browser whose accessibility tree is complete as it comes (Safari, Firefox).
class PlainAdapter : public BrowserAdapter {
 public:
  PlainAdapter(std::string name, std::vector<std::string> bundleIDs)
      : name_(std::move(name)), bundleIDs_(std::move(bundleIDs)) {}
  const std::string& name() const override { return name_; }
  const std::vector<std::string>& bundleIDs() const override { return bundleIDs_; }

 private:
  std::string name_;
  std::vector<std::string> bundleIDs_;
};

class SafariAdapter final : public PlainAdapter {
 public:
  using PlainAdapter::PlainAdapter;
};

class FirefoxAdapter final : public PlainAdapter {
 public:
  using PlainAdapter::PlainAdapter;
};

// Chrome and its relatives build their full tree only when an assistive application asks for
// it, by setting "AXManualAccessibility" and "AXEnhancedUserInterface" on the application.
class ChromiumAdapter final : public PlainAdapter {
 public:
  using PlainAdapter::PlainAdapter;
  void prepare(ax::Api& ax, const ax::ElementRef& app) const override;
};

}  // namespace skimlet
