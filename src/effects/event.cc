#include "effects/event.h"

#include <cstdio>

namespace skimlet {

using nlohmann::json;

std::string_view typeName(Event::Type type) {
  switch (type) {
    case Event::Type::press: return "press";
    case Event::Type::setValue: return "setValue";
    case Event::Type::focus: return "focus";
    case Event::Type::key: return "key";
    case Event::Type::type: return "type";
    case Event::Type::mouseClick: return "mouseClick";
    case Event::Type::open: return "open";
    case Event::Type::pasteboard: return "pasteboard";
    case Event::Type::scroll: return "scroll";
  }
  return "unknown";
}

json toJson(const Event& e) {
  json j = {{"type", typeName(e.type)}};
  switch (e.type) {
    case Event::Type::press:
    case Event::Type::focus:
      j["role"] = e.role;
      j["label"] = e.label;
      break;
    case Event::Type::setValue:
      j["role"] = e.role;
      j["label"] = e.label;
      j["value"] = e.value;
      break;
    case Event::Type::key:
      j["keyCode"] = e.keyCode;
      j["flags"] = e.flags;
      break;
    case Event::Type::type:
    case Event::Type::pasteboard: j["text"] = e.text; break;
    case Event::Type::mouseClick:
      j["x"] = e.x;
      j["y"] = e.y;
      break;
    case Event::Type::open: j["urls"] = e.urls; break;
    case Event::Type::scroll:
      j["action"] = e.action;
      j["role"] = e.role;
      j["label"] = e.label;
      if (e.action == "scrollWheel") {
        j["x"] = e.x;
        j["y"] = e.y;
        j["lines"] = e.lines;
      }
      break;
  }
  return j;
}

json toJson(const std::vector<Event>& events) {
  json list = json::array();
  for (const auto& e : events) list.push_back(toJson(e));
  return list;
}

std::string describe(const Event& e) {
  auto quoted = [](const std::string& s) { return "“" + s + "”"; };
  std::string out(typeName(e.type));
  char buf[96];
  switch (e.type) {
    case Event::Type::press:
    case Event::Type::focus: return out + " " + e.role + " " + quoted(e.label);
    case Event::Type::setValue: return out + " " + e.role + " " + quoted(e.label) + " = " + quoted(e.value);
    case Event::Type::key:
      std::snprintf(buf, sizeof buf, " %d flags 0x%llx", e.keyCode, static_cast<unsigned long long>(e.flags));
      return out + buf;
    case Event::Type::type:
    case Event::Type::pasteboard: return out + " " + quoted(e.text);
    case Event::Type::mouseClick: std::snprintf(buf, sizeof buf, " at (%g, %g)", e.x, e.y); return out + buf;
    case Event::Type::open: {
      for (const auto& u : e.urls) out += " " + u;
      return out;
    }
    case Event::Type::scroll:
      if (e.action == "scrollWheel") {
        std::snprintf(buf, sizeof buf, " wheel %d lines at (%g, %g)", e.lines, e.x, e.y);
        return out + buf;
      }
      return out + " " + e.action + " " + e.role + " " + quoted(e.label);
  }
  return out;
}

}  // namespace skimlet
