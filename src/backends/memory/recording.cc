#include "backends/memory/recording.h"

#include <cmath>
#include <cstdint>
#include <fstream>
#include <limits>

#include "page/roles.h"

namespace skimlet::memory {

using nlohmann::json;

bool Node::valueSettable() const { return settable.value_or(Roles::textInput(role)); }

namespace {

// Where in the recording a value sits, as a chain up to the root. The text ("window.children[2]
// .frame") is built only for an error: copying it at every level made a deep tree quadratic.
struct Where {
  const Where* parent = nullptr;
  const char* key = nullptr;  // a member of the parent, or none for a list element
  size_t index = 0;           // the element's index when key is none

  std::string text() const {
    std::string s = parent ? parent->text() : "";
    if (key) {
      if (!s.empty()) s += '.';
      s += key;
    } else {
      s += "[" + std::to_string(index) + "]";
    }
    return s;
  }
  Where member(const char* k) const { return Where{this, k}; }
  Where element(size_t i) const { return Where{this, nullptr, i}; }
};

// Deeper than any real page's tree (the crawl stops at 80 levels), shallow enough that the
// recursive walks over a tree never come near the end of the stack.
constexpr int kMaxDepth = 1000;

[[noreturn]] void fail(const std::string& where, const std::string& what) { throw RecordingError(where + ": " + what); }
[[noreturn]] void fail(const Where& where, const std::string& what) { fail(where.text(), what); }

std::string text(const json& j, const Where& where) {
  if (!j.is_string()) fail(where, "expected a string");
  return j.get<std::string>();
}

bool boolean(const json& j, const Where& where) {
  if (!j.is_boolean()) fail(where, "expected true or false");
  return j.get<bool>();
}

bool fitsInt32(const json& j) {
  if (j.is_number_unsigned()) return j.get<unsigned long long>() <= static_cast<unsigned long long>(INT32_MAX);
  const long long v = j.get<long long>();
  return v >= INT32_MIN && v <= INT32_MAX;
}

Node parseNode(const json& j, const Where& where, int depth, std::string& focusedAt) {
  if (!j.is_object()) fail(where, "expected an object (a node)");
  if (depth > kMaxDepth) fail(where, "nodes nested more than " + std::to_string(kMaxDepth) + " levels deep");
  Node n;
  auto field = [&](const char* key) -> const json* {
    auto it = j.find(key);
    return it == j.end() || it->is_null() ? nullptr : &*it;
  };
  for (auto [key, out] : {std::pair{"role", &n.role},
                          {"subrole", &n.subrole},
                          {"title", &n.title},
                          {"description", &n.description},
                          {"help", &n.help},
                          {"placeholder", &n.placeholder}}) {
    if (auto v = field(key)) *out = text(*v, where.member(key));
  }
  if (auto v = field("value")) {
    if (v->is_string()) n.value = v->get<std::string>();
    else if (v->is_boolean()) n.value = v->get<bool>();
    else if (v->is_number()) n.value = v->get<double>();
    else fail(where.member("value"), "expected a string, number or boolean");
  }
  if (auto v = field("url")) n.url = text(*v, where.member("url"));
  if (auto v = field("frame")) {
    if (!v->is_array() || v->size() != 4) fail(where.member("frame"), "expected [x, y, width, height]");
    double f[4];
    for (int i = 0; i < 4; ++i) {
      if (!(*v)[i].is_number()) fail(where.member("frame"), "expected [x, y, width, height]");
      f[i] = (*v)[i].get<double>();
    }
    n.frame = Rect{f[0], f[1], f[2], f[3]};
  }
  if (auto v = field("enabled")) n.enabled = boolean(*v, where.member("enabled"));
  if (auto v = field("hidden")) n.hidden = boolean(*v, where.member("hidden"));
  if (auto v = field("focused")) {
    n.focused = boolean(*v, where.member("focused"));
    if (n.focused) {
      if (!focusedAt.empty()) fail(where.member("focused"), "only one node may be focused (" + focusedAt + " is too)");
      focusedAt = where.text();
    }
  }
  if (auto v = field("actions")) {
    const Where at = where.member("actions");
    if (!v->is_array()) fail(at, "expected a list of action names");
    for (std::size_t i = 0; i < v->size(); ++i) n.actions.push_back(text((*v)[i], at.element(i)));
  }
  if (auto v = field("settable")) n.settable = boolean(*v, where.member("settable"));
  if (auto v = field("keystrokes")) n.keystrokes = boolean(*v, where.member("keystrokes"));
  if (auto v = field("pressError")) {
    // Error codes are 32-bit; anything wider would wrap into some other code.
    if (!v->is_number_integer() || !fitsInt32(*v))
      fail(where.member("pressError"), "expected an error code such as -25202");
    n.pressError = v->get<int>();
  }
  if (auto v = field("children")) {
    const Where at = where.member("children");
    if (!v->is_array()) fail(at, "expected a list of nodes");
    n.children.reserve(v->size());
    for (std::size_t i = 0; i < v->size(); ++i)
      n.children.push_back(parseNode((*v)[i], at.element(i), depth + 1, focusedAt));
  }
  return n;
}

}  // namespace

Recording parseRecording(const json& j) {
  if (!j.is_object()) fail("recording", "expected an object with \"app\" and \"window\"");
  Recording r;
  auto app = j.find("app");
  if (app == j.end()) fail("app", "missing");
  if (!app->is_object()) fail("app", "expected an object with name, bundleID and pid");
  if (auto v = app->find("name"); v != app->end() && !v->is_null()) r.app.name = text(*v, Where{nullptr, "app.name"});
  if (auto v = app->find("bundleID"); v != app->end() && !v->is_null())
    r.app.bundleID = text(*v, Where{nullptr, "app.bundleID"});
  if (auto v = app->find("bundlePath"); v != app->end() && !v->is_null())
    r.app.bundlePath = text(*v, Where{nullptr, "app.bundlePath"});
  if (auto v = app->find("pid"); v != app->end() && !v->is_null()) {
    // Process ids are 32-bit, and the replayed Finder takes the next one.
    if (!v->is_number_integer() || !fitsInt32(*v) || v->get<long long>() <= 0 ||
        v->get<long long>() == std::numeric_limits<Pid>::max())
      fail("app.pid", "expected a positive whole number");
    r.app.pid = v->get<Pid>();
  }
  if (auto v = j.find("front"); v != j.end() && !v->is_null()) r.front = boolean(*v, Where{nullptr, "front"});
  auto window = j.find("window");
  if (window == j.end() || window->is_null()) fail("window", "missing");
  std::string focusedAt;
  r.window = parseNode(*window, Where{nullptr, "window"}, 1, focusedAt);
  return r;
}

Recording parseRecording(std::string_view text) {
  json j;
  try {
    j = json::parse(text);
  } catch (const json::exception& e) {
    // nlohmann's message names the byte offset of the problem (or the number that does not
    // fit a double); keep it, without the library's error number.
    std::string what = e.what();
    auto colon = what.find("] ");
    throw RecordingError("not valid JSON: " + (colon == std::string::npos ? what : what.substr(colon + 2)));
  }
  return parseRecording(j);
}

Recording loadRecording(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw RecordingError(path + ": cannot open the file");
  // Read at most one byte past the limit, so an endless source (a device, a pipe) stops too.
  std::string data;
  char chunk[1 << 16];
  while (data.size() <= kMaxRecordingBytes && in.read(chunk, sizeof chunk).gcount() > 0)
    data.append(chunk, static_cast<size_t>(in.gcount()));
  if (data.size() > kMaxRecordingBytes)
    throw RecordingError(path + ": larger than " + std::to_string(kMaxRecordingBytes >> 20) +
                         " MB, too large for a recorded page");
  if (in.bad()) throw RecordingError(path + ": cannot read the file");
  try {
    return parseRecording(std::string_view(data));
  } catch (const RecordingError& e) {
    throw RecordingError(path + ": " + e.what());
  }
}

json toJson(const Node& n) {
  json j = json::object();
  auto put = [&](const char* key, const std::string& s) {
    if (!s.empty()) j[key] = s;
  };
  put("role", n.role);
  put("subrole", n.subrole);
  put("title", n.title);
  put("description", n.description);
  put("help", n.help);
  put("placeholder", n.placeholder);
  if (n.value) std::visit([&](const auto& v) { j["value"] = v; }, *n.value);
  if (n.url) j["url"] = *n.url;
  if (n.frame) j["frame"] = {n.frame->x, n.frame->y, n.frame->width, n.frame->height};
  if (n.enabled) j["enabled"] = *n.enabled;
  if (n.hidden) j["hidden"] = *n.hidden;
  if (n.focused) j["focused"] = true;
  if (!n.actions.empty()) j["actions"] = n.actions;
  if (n.settable) j["settable"] = *n.settable;
  if (!n.keystrokes) j["keystrokes"] = false;
  if (n.pressError) j["pressError"] = *n.pressError;
  if (!n.children.empty()) {
    json children = json::array();
    for (const auto& c : n.children) children.push_back(toJson(c));
    j["children"] = std::move(children);
  }
  return j;
}

json toJson(const Recording& r) {
  json app = {{"name", r.app.name}, {"bundleID", r.app.bundleID}, {"pid", r.app.pid}};
  if (!r.app.bundlePath.empty()) app["bundlePath"] = r.app.bundlePath;
  return json{{"app", std::move(app)}, {"front", r.front}, {"window", toJson(r.window)}};
}

}  // namespace skimlet::memory
