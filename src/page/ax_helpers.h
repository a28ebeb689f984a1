// Failure-tolerant helpers over the accessibility interface. None of them throws or reports an
// error: a failed read gives the neutral value (empty text, empty list, nothing).
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/ax.h"
#include "platform/geometry.h"
#include "platform/workspace.h"

namespace skimlet::AX {

// All names in one multi-attribute read. Always one entry per name, in order: the interface's
// per-attribute failure marker and the null marker both become std::monostate, and a failed call
// (or one answering the wrong number of values) gives all std::monostate.
std::vector<ax::Value> multi(ax::Api& ax, const ax::ElementRef& element, std::span<const std::string> names);

// A value as text: text as is, a number in its shortest decimal form ("3", "0.5"), a boolean as
// "1" or "0" (as a boolean number prints); anything else, or nothing, the empty text.
std::string str(const ax::Value& value);

// The frame from a position and a size: both present, of the right kinds, all four finite.
std::optional<Rect> rect(const ax::Value& position, const ax::Value& size);

// The element's frame now, from two single reads ("AXPosition", "AXSize").
std::optional<Rect> frame(ax::Api& ax, const ax::ElementRef& element);

// The element's action names; empty on failure.
std::vector<std::string> actions(ax::Api& ax, const ax::ElementRef& element);

// "AXParent", when it really is an element.
std::optional<ax::ElementRef> parent(ax::Api& ax, const ax::ElementRef& element);

// One single-attribute read; std::monostate on failure.
ax::Value attribute(ax::Api& ax, const ax::ElementRef& element, std::string_view name);

// Whether a value is a boolean true or a non-zero number (how "AXHidden" and "AXEnabled" are read).
std::optional<bool> flag(const ax::Value& value);

// The deep link to the Accessibility pane of the system's privacy settings.
inline constexpr const char* privacySettingsURL =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";
// Shows that pane, where the user grants Skimlet access.
void openPrivacySettings(Workspace& workspace);

}  // namespace skimlet::AX
