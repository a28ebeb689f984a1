#include "effects/event_log.h"

namespace skimlet {

namespace {
template <class Fill>
Event make(Fill fill) {
  Event e;
  fill(e);
  return e;
}
}  // namespace

void EventLog::add(Event event) {
  std::lock_guard lock(mutex_);
  events_.push_back(std::move(event));
  typing_ = false;
}

void EventLog::press(const std::string& role, const std::string& label) {
  add(make([&](Event& e) {
    e.type = Event::Type::press;
    e.role = role;
    e.label = label;
  }));
}

void EventLog::setValue(const std::string& role, const std::string& label, const std::string& value, bool secure) {
  add(make([&](Event& e) {
    e.type = Event::Type::setValue;
    e.role = role;
    e.label = label;
    e.value = secure ? maskedText : value;
  }));
}

void EventLog::focus(const std::string& role, const std::string& label) {
  add(make([&](Event& e) {
    e.type = Event::Type::focus;
    e.role = role;
    e.label = label;
  }));
}

void EventLog::key(int keyCode, std::uint64_t flags) {
  add(make([&](Event& e) {
    e.type = Event::Type::key;
    e.keyCode = keyCode;
    e.flags = flags;
  }));
}

void EventLog::type(const std::string& text, bool secure) {
  std::lock_guard lock(mutex_);
  if (typing_ && !events_.empty() && events_.back().type == Event::Type::type) {
    if (!secure) events_.back().text += text;
    return;
  }
  events_.push_back(make([&](Event& e) {
    e.type = Event::Type::type;
    e.text = secure ? maskedText : text;
  }));
  typing_ = true;
}

void EventLog::mouseClick(Point at) {
  add(make([&](Event& e) {
    e.type = Event::Type::mouseClick;
    e.x = at.x;
    e.y = at.y;
  }));
}

void EventLog::scrollWheel(Point at, int lines) {
  add(make([&](Event& e) {
    e.type = Event::Type::scroll;
    e.action = "scrollWheel";
    e.x = at.x;
    e.y = at.y;
    e.lines = lines;
  }));
}

void EventLog::open(const std::vector<std::string>& urls) {
  add(make([&](Event& e) {
    e.type = Event::Type::open;
    e.urls = urls;
  }));
}

void EventLog::pasteboard(const std::string& text) {
  add(make([&](Event& e) {
    e.type = Event::Type::pasteboard;
    e.text = text;
  }));
}

void EventLog::scroll(const std::string& action, const std::string& role, const std::string& label) {
  add(make([&](Event& e) {
    e.type = Event::Type::scroll;
    e.role = role;
    e.label = label;
    e.action = action;
  }));
}

std::vector<Event> EventLog::events() const {
  std::lock_guard lock(mutex_);
  return events_;
}

void EventLog::clear() {
  std::lock_guard lock(mutex_);
  events_.clear();
  typing_ = false;
}

}  // namespace skimlet
