// The handle behind every element of the live browser's accessibility tree. Page elements are
// named by their tab and DOM node, so the same element compares equal across reads.
#pragma once

#include <cstdint>
#include <string>

#include "platform/ax.h"

namespace skimlet::chromium {

struct LiveElement : ax::ElementHandle {
  enum class Kind { application, window, tabGroup, tab, toolbar, button, page };
  enum Button : std::int64_t { back = 0, forward = 1, reload = 2, newTab = 3 };

  Kind kind = Kind::application;
  std::string target;    // the tab's target id, for tabs and page nodes
  std::int64_t key = 0;  // the page node's key, or the toolbar button

  LiveElement(Kind k, std::string t = "", std::int64_t n = 0) : kind(k), target(std::move(t)), key(n) {}

  bool equals(const ax::ElementHandle& other) const override {
    auto* o = dynamic_cast<const LiveElement*>(&other);
    return o && o->kind == kind && o->key == key && o->target == target;
  }
  std::size_t hash() const override {
    return std::hash<std::string>()(target) ^ (std::hash<std::int64_t>()(key) * 31) ^ static_cast<std::size_t>(kind);
  }

  static ax::ElementRef make(Kind k, std::string t = "", std::int64_t n = 0) {
    return ax::ElementRef(std::make_shared<const LiveElement>(k, std::move(t), n));
  }
};

}  // namespace skimlet::chromium
