// The handle behind every element the desktop backend hands out: an object of an application
// on the accessibility bus, or one run of text inside such an object (browsers keep a
// paragraph's text in the paragraph, with its links and other children embedded in it, where
// the macOS interface shows each stretch of text as a static-text element of its own).
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/ax.h"

namespace skimlet::atspi {

inline constexpr const char* kRootPath = "/org/a11y/atspi/accessible/root";
inline constexpr const char* kNullPath = "/org/a11y/atspi/null";

struct ObjectRef {
  std::string bus;   // the application's unique name on the bus
  std::string path;  // the object's path
  bool operator==(const ObjectRef&) const = default;
  bool null() const { return bus.empty() || path.empty() || path == kNullPath; }
  std::string key() const { return bus + '\n' + path; }
};

struct AtspiElement : ax::ElementHandle {
  ObjectRef object;
  int run = -1;  // the text run's position among the object's runs; -1: the object itself

  AtspiElement(ObjectRef o, int r) : object(std::move(o)), run(r) {}

  bool equals(const ax::ElementHandle& other) const override {
    auto* o = dynamic_cast<const AtspiElement*>(&other);
    return o && o->run == run && o->object == object;
  }
  std::size_t hash() const override { return std::hash<std::string>()(object.path) * 31 + std::hash<int>()(run); }
  bool isApplication() const { return object.path == kRootPath && run < 0; }

  static ax::ElementRef make(ObjectRef o, int run = -1) {
    return ax::ElementRef(std::make_shared<const AtspiElement>(std::move(o), run));
  }
};

}  // namespace skimlet::atspi
