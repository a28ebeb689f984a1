// What differs between browsers: their names and bundle identifiers, how to make their
// accessibility tree complete, and which web area is the page.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "page/page_element.h"
#include "platform/ax.h"

namespace skimlet {

class BrowserAdapter {
 public:
  virtual ~BrowserAdapter() = default;
  virtual const std::string& name() const = 0;
  virtual const std::vector<std::string>& bundleIDs() const = 0;
  // Makes the application's tree complete. Default: nothing.
  virtual void prepare(ax::Api& ax, const ax::ElementRef& app) const {}
  // Chooses the page among the window's web areas. Default: the largest frame, the earlier of
  // equals; none for an empty list.
  virtual std::optional<PageElement> pickWebArea(const std::vector<PageElement>& webAreas) const;
};

}  // namespace skimlet
