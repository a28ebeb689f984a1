// The handle behind every element of the macOS backend: one retained AXUIElementRef. Two
// handles name the same element when Core Foundation says so (CFEqual/CFHash), which is not
// pointer identity: every read hands out new references to the same elements.
#pragma once

#include <ApplicationServices/ApplicationServices.h>

#include "platform/ax.h"

namespace skimlet::mac {

class MacElement final : public ax::ElementHandle {
 public:
  // Retains `ref` for the handle's life.
  explicit MacElement(AXUIElementRef ref) : ref_(static_cast<AXUIElementRef>(CFRetain(ref))) {}
  ~MacElement() override { CFRelease(ref_); }
  MacElement(const MacElement&) = delete;
  MacElement& operator=(const MacElement&) = delete;

  AXUIElementRef ref() const { return ref_; }
  bool equals(const ax::ElementHandle& other) const override {
    auto* o = dynamic_cast<const MacElement*>(&other);
    return o && CFEqual(ref_, o->ref_);
  }
  std::size_t hash() const override { return static_cast<std::size_t>(CFHash(ref_)); }

  // A null reference for NULL.
  static ax::ElementRef wrap(AXUIElementRef ref) {
    return ref ? ax::ElementRef(std::make_shared<const MacElement>(ref)) : ax::ElementRef();
  }
  // NULL for a null reference or one from another backend.
  static AXUIElementRef unwrap(const ax::ElementRef& element) {
    auto* e = element.as<MacElement>();
    return e ? e->ref() : nullptr;
  }

 private:
  AXUIElementRef ref_;
};

}  // namespace skimlet::mac
