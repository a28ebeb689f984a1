// What was done to a recorded page, in order: presses, typing, keys, clicks, opened URLs…
// The machine-readable form (toJson) is what `skimlet run --json` prints under "events".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace skimlet {

// What a secure field's text shows as, whatever was typed.
inline constexpr const char* maskedText = "••••••••";

struct Event {
  enum class Type { press, setValue, focus, key, type, mouseClick, open, pasteboard, scroll };
  Type type = Type::press;
  std::string role;    // press, setValue, focus, scroll: the element's role
  std::string label;   // … and its label, as the page reader names it
  std::string value;   // setValue (masked for secure fields)
  std::string text;    // type (masked for secure fields), pasteboard
  std::string action;  // scroll: "AXScrollToVisible", "AXScrollDownByPage", "AXScrollUpByPage", "scrollWheel"
  int keyCode = 0;     // key
  std::uint64_t flags = 0;
  double x = 0, y = 0;            // mouseClick; scrollWheel's point
  int lines = 0;                  // scrollWheel: lines, positive down
  std::vector<std::string> urls;  // open

  bool operator==(const Event&) const = default;
};

std::string_view typeName(Event::Type type);

// {"type": "press", "role": …, "label": …} and so on: each type with exactly its own fields.
nlohmann::json toJson(const Event& event);
nlohmann::json toJson(const std::vector<Event>& events);
// One readable line, e.g. press AXButton “Sign in”, type “hello”, key 0 flags 0x100000.
std::string describe(const Event& event);

}  // namespace skimlet
