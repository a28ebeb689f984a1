// The accessibility interface, in its own terms. Every platform backend implements ax::Api;
// the core's algorithms read and act on pages only through it (and the AX helpers above it).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/geometry.h"

namespace skimlet {
using Pid = std::int32_t;
}

namespace skimlet::ax {

// The interface's error codes (AXError).
enum class Error : int {
  success = 0,
  failure = -25200,
  illegalArgument = -25201,
  invalidUIElement = -25202,
  invalidUIElementObserver = -25203,
  cannotComplete = -25204,
  attributeUnsupported = -25205,
  actionUnsupported = -25206,
  notificationUnsupported = -25207,
  notImplemented = -25208,
  notificationAlreadyRegistered = -25209,
  notificationNotRegistered = -25210,
  apiDisabled = -25211,
  noValue = -25212,
  parameterizedAttributeUnsupported = -25213,
  notEnoughPrecision = -25214,
};

// A backend's handle on one element. Equality and hashing follow the platform's notion of
// "the same element" (on macOS, CFEqual/CFHash of two AXUIElementRefs), which can differ from
// object identity: two handles may name one element.
class ElementHandle {
 public:
  virtual ~ElementHandle() = default;
  virtual bool equals(const ElementHandle& other) const = 0;
  virtual std::size_t hash() const = 0;
};

// A cheap-to-copy reference to an element of some application's tree.
class ElementRef {
 public:
  ElementRef() = default;
  explicit ElementRef(std::shared_ptr<const ElementHandle> handle) : handle_(std::move(handle)) {}

  bool isNull() const { return handle_ == nullptr; }
  explicit operator bool() const { return handle_ != nullptr; }
  const ElementHandle* handle() const { return handle_.get(); }
  template <class T>
  const T* as() const {
    return dynamic_cast<const T*>(handle_.get());
  }

  bool operator==(const ElementRef& o) const {
    if (handle_ == o.handle_) return true;
    if (!handle_ || !o.handle_) return false;
    return handle_->equals(*o.handle_);
  }
  std::size_t hash() const { return handle_ ? handle_->hash() : 0; }

 private:
  std::shared_ptr<const ElementHandle> handle_;
};

struct ElementRefHash {
  std::size_t operator()(const ElementRef& e) const { return e.hash(); }
};

// The marker the interface puts in place of one attribute that failed in a multi-attribute read
// (an AXValue of type kAXValueAXErrorType).
struct Failed {
  Error error = Error::failure;
  bool operator==(const Failed&) const = default;
};

// A URL value ("AXURL"), kept as its absolute string.
struct Url {
  std::string absolute;
  bool operator==(const Url&) const = default;
};

// What reading an attribute can give back. std::monostate is "no value" (a null marker).
// Integers arrive as double, like NSNumber's doubleValue; attributed strings as plain text.
using Value = std::variant<std::monostate, Failed, std::string, double, bool, Point, Size, Url, ElementRef,
                           std::vector<ElementRef>, std::vector<std::string>>;

class Api {
 public:
  virtual ~Api() = default;

  // AXUIElementCopyMultipleAttributeValues: one round trip for all names. nullopt when the call
  // as a whole failed; otherwise one value per name, in order, with Failed for those that failed.
  virtual std::optional<std::vector<Value>> copyMultipleAttributeValues(const ElementRef& element,
                                                                        std::span<const std::string> names) = 0;
  // AXUIElementCopyAttributeValue.
  virtual Error copyAttributeValue(const ElementRef& element, std::string_view name, Value& out) = 0;
  // AXUIElementSetAttributeValue.
  virtual Error setAttributeValue(const ElementRef& element, std::string_view name, const Value& value) = 0;
  // AXUIElementIsAttributeSettable.
  virtual Error isAttributeSettable(const ElementRef& element, std::string_view name, bool& settable) = 0;
  // AXUIElementCopyActionNames.
  virtual Error copyActionNames(const ElementRef& element, std::vector<std::string>& out) = 0;
  // AXUIElementPerformAction.
  virtual Error performAction(const ElementRef& element, std::string_view action) = 0;
  // AXUIElementCreateApplication.
  virtual ElementRef createApplication(Pid pid) = 0;
  // AXIsProcessTrustedWithOptions; with prompt the system asks the user for access.
  virtual bool isProcessTrusted(bool prompt) = 0;
};

}  // namespace skimlet::ax

template <>
struct std::hash<skimlet::ax::ElementRef> {
  std::size_t operator()(const skimlet::ax::ElementRef& e) const { return e.hash(); }
};
