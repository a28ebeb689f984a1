// A recorded page: the browser application and its focused window's accessibility tree, as
// stored in the JSON recording files that the tests and `skimlet … --fixture` replay.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "platform/ax.h"
#include "platform/geometry.h"

namespace skimlet::memory {

// "AXValue" as the interface returns it: text, number or boolean.
using NodeValue = std::variant<std::string, double, bool>;

// One element of the tree. An aggregate, so tests can write
// Node{.role = "AXButton", .title = "OK", .actions = {"AXPress"}}.
struct Node {
  std::string role;
  std::string subrole;
  std::string title;
  std::string description;
  std::string help;
  std::string placeholder;
  std::optional<NodeValue> value;
  std::optional<std::string> url;  // "AXURL"
  std::optional<Rect> frame;       // none: no "AXPosition" and no "AXSize"
  std::optional<bool> enabled;     // none: "AXEnabled" is missing
  std::optional<bool> hidden;      // none: "AXHidden" is missing
  bool focused = false;            // the application's focused element
  std::vector<std::string> actions;
  std::optional<bool> settable;   // whether "AXValue" can be set; none: by role
  bool keystrokes = true;         // whether typed keys reach this field
  std::optional<int> pressError;  // the error "AXPress" answers instead of succeeding
  std::vector<Node> children;

  // Whether "AXValue" can be set: as recorded, else true exactly for the text-input roles.
  bool valueSettable() const;
};

struct AppInfo {
  std::string name;  // localized name; may be empty
  std::string bundleID;
  Pid pid = 1;
  std::string bundlePath;  // where the application lives; empty: "/Applications/<name>.app"
};

struct Recording {
  AppInfo app;
  bool front = true;  // whether the browser is the front application
  Node window;        // its focused window
};

// A recording that cannot be read; what() says where it is wrong, e.g.
// "window.children[2].frame: expected [x, y, width, height]".
class RecordingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

Recording parseRecording(const nlohmann::json& json);
// Parses JSON text; syntax errors are RecordingErrors too.
Recording parseRecording(std::string_view text);
// Reads a file; a missing or unreadable file, or one larger than kMaxRecordingBytes, is a
// RecordingError naming it.
Recording loadRecording(const std::string& path);
// Many times the largest page a crawl reads, small enough to hold in memory several times over.
inline constexpr size_t kMaxRecordingBytes = size_t{128} << 20;

nlohmann::json toJson(const Node& node);
nlohmann::json toJson(const Recording& recording);

}  // namespace skimlet::memory
