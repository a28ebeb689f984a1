#include "backends/mac/mac_input.h"

#include <ApplicationServices/ApplicationServices.h>

namespace skimlet::mac {

namespace {

// A down and an up event, released together.
struct Pair {
  CGEventSourceRef source = CGEventSourceCreate(kCGEventSourceStateHIDSystemState);
  CGEventRef down = nullptr;
  CGEventRef up = nullptr;
  ~Pair() {
    if (down) CFRelease(down);
    if (up) CFRelease(up);
    if (source) CFRelease(source);
  }
  bool made() const { return down && up; }
};

}  // namespace

bool MacInput::postKey(Pid pid, std::uint16_t virtualKey, std::uint64_t flags) {
  Pair keys;
  keys.down = CGEventCreateKeyboardEvent(keys.source, virtualKey, true);
  keys.up = CGEventCreateKeyboardEvent(keys.source, virtualKey, false);
  if (!keys.made()) return false;
  CGEventSetFlags(keys.down, static_cast<CGEventFlags>(flags));
  CGEventSetFlags(keys.up, static_cast<CGEventFlags>(flags));
  CGEventPostToPid(pid, keys.down);
  CGEventPostToPid(pid, keys.up);
  return true;
}

bool MacInput::postText(Pid pid, std::u16string_view units) {
  Pair keys;
  // Virtual key 0 with a Unicode string: the receiving application inserts the string and
  // ignores the key, whatever the keyboard layout.
  keys.down = CGEventCreateKeyboardEvent(keys.source, 0, true);
  keys.up = CGEventCreateKeyboardEvent(keys.source, 0, false);
  if (!keys.made()) return false;
  auto* chars = reinterpret_cast<const UniChar*>(units.data());
  CGEventKeyboardSetUnicodeString(keys.down, static_cast<UniCharCount>(units.size()), chars);
  CGEventKeyboardSetUnicodeString(keys.up, static_cast<UniCharCount>(units.size()), chars);
  CGEventPostToPid(pid, keys.down);
  CGEventPostToPid(pid, keys.up);
  return true;
}

bool MacInput::postMouseClick(Point at) {
  Pair clicks;
  const CGPoint where = CGPointMake(at.x, at.y);  // Quartz uses the same top-left origin as AX
  clicks.down = CGEventCreateMouseEvent(clicks.source, kCGEventLeftMouseDown, where, kCGMouseButtonLeft);
  clicks.up = CGEventCreateMouseEvent(clicks.source, kCGEventLeftMouseUp, where, kCGMouseButtonLeft);
  if (!clicks.made()) return false;
  CGEventPost(kCGHIDEventTap, clicks.down);
  CGEventPost(kCGHIDEventTap, clicks.up);
  return true;
}

bool MacInput::postScrollWheel(Point at, int lines) {
  CGEventSourceRef source = CGEventSourceCreate(kCGEventSourceStateHIDSystemState);
  // A positive wheel delta scrolls the content up (towards the top), so lines down are negative.
  CGEventRef wheel = CGEventCreateScrollWheelEvent2(source, kCGScrollEventUnitLine, 1, -lines, 0, 0);
  if (source) CFRelease(source);
  if (!wheel) return false;
  CGEventSetLocation(wheel, CGPointMake(at.x, at.y));
  CGEventPost(kCGHIDEventTap, wheel);
  CFRelease(wheel);
  return true;
}

}  // namespace skimlet::mac
