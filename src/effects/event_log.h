// What a backend did to the page, in order. Every backend records its effects here, so that
// `skimlet run --json` prints them alike whichever backend served the page. Secrets never enter
// the log. Safe to use from several threads.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "effects/event.h"
#include "platform/geometry.h"

namespace skimlet {

class EventLog {
 public:
  void press(const std::string& role, const std::string& label);
  void setValue(const std::string& role, const std::string& label, const std::string& value, bool secure);
  void focus(const std::string& role, const std::string& label);
  void key(int keyCode, std::uint64_t flags);
  // Consecutive typing reads as one event, as it does on a recorded page.
  void type(const std::string& text, bool secure);
  void mouseClick(Point at);
  void scrollWheel(Point at, int lines);
  void open(const std::vector<std::string>& urls);
  void pasteboard(const std::string& text);
  void scroll(const std::string& action, const std::string& role, const std::string& label);

  std::vector<Event> events() const;
  void clear();

 private:
  void add(Event event);
  mutable std::mutex mutex_;
  std::vector<Event> events_;
  bool typing_ = false;
};

}  // namespace skimlet
