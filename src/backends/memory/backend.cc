#include "backends/memory/backend.h"

#include <algorithm>
#include <deque>
#include <unordered_map>

#include "browser/browser_registry.h"
#include "page/ax_helpers.h"
#include "page/page_element.h"
#include "page/roles.h"

namespace skimlet::memory {

// --- Clock and settings --------------------------------------------------------------------

double VirtualClock::now() {
  std::lock_guard lock(mutex_);
  return now_;
}
void VirtualClock::sleep(double seconds) { advance(seconds); }
void VirtualClock::advance(double seconds) {
  if (!(seconds > 0)) return;
  std::lock_guard lock(mutex_);
  now_ += seconds;
}

std::optional<std::string> MemorySettings::string(std::string_view key) {
  std::lock_guard lock(mutex_);
  auto it = values_.find(key);
  if (it == values_.end()) return std::nullopt;
  if (auto s = std::get_if<std::string>(&it->second)) return *s;
  return std::nullopt;
}
std::optional<std::int64_t> MemorySettings::integer(std::string_view key) {
  std::lock_guard lock(mutex_);
  auto it = values_.find(key);
  if (it == values_.end()) return std::nullopt;
  if (auto i = std::get_if<std::int64_t>(&it->second)) return *i;
  return std::nullopt;
}
void MemorySettings::setString(std::string_view key, const std::string& value) {
  std::lock_guard lock(mutex_);
  values_[std::string(key)] = value;
}
void MemorySettings::setInteger(std::string_view key, std::int64_t value) {
  std::lock_guard lock(mutex_);
  values_[std::string(key)] = value;
}
void MemorySettings::remove(std::string_view key) {
  std::lock_guard lock(mutex_);
  if (auto it = values_.find(key); it != values_.end()) values_.erase(it);
}

// --- The live tree -------------------------------------------------------------------------

namespace {

struct LiveNode {
  std::string role, subrole, title, description, help, placeholder;
  ax::Value value;  // std::monostate when missing
  std::optional<std::string> url;
  std::optional<Rect> frame;
  std::optional<bool> enabled, hidden;
  std::vector<std::string> actions;
  bool settable = false;
  bool keystrokes = true;
  std::optional<int> pressError;
  bool isApp = false;
  LiveNode* parent = nullptr;
  std::vector<LiveNode*> children;
  std::vector<ax::ElementRef> childRefs;  // kept ready: "AXChildren" is read for every element
  ax::ElementRef ref;
  std::map<std::string, ax::Value, std::less<>> extra;  // attributes set that the recording lacks

  bool secure() const { return subrole == "AXSecureTextField"; }
  bool has(std::string_view action) const { return std::find(actions.begin(), actions.end(), action) != actions.end(); }
};

class NodeHandle final : public ax::ElementHandle {
 public:
  NodeHandle(const void* owner, LiveNode* node) : owner(owner), node(node) {}
  bool equals(const ax::ElementHandle& other) const override {
    auto o = dynamic_cast<const NodeHandle*>(&other);
    return o && o->owner == owner && o->node == node;
  }
  std::size_t hash() const override { return std::hash<const void*>{}(node); }

  const void* owner;
  LiveNode* node;  // null: an application that is not the recorded browser
};

enum class Attr {
  role, subrole, title, description, help, placeholder, value, url, position, size, enabled, hidden, focused,
  children, parent, window, topLevel, focusedWindow, mainWindow, windows, focusedUIElement, other
};

Attr attrOf(std::string_view name) {
  static const std::unordered_map<std::string_view, Attr> table = {
      {"AXRole", Attr::role},
      {"AXSubrole", Attr::subrole},
      {"AXTitle", Attr::title},
      {"AXDescription", Attr::description},
      {"AXHelp", Attr::help},
      {"AXPlaceholderValue", Attr::placeholder},
      {"AXValue", Attr::value},
      {"AXURL", Attr::url},
      {"AXPosition", Attr::position},
      {"AXSize", Attr::size},
      {"AXEnabled", Attr::enabled},
      {"AXHidden", Attr::hidden},
      {"AXFocused", Attr::focused},
      {"AXChildren", Attr::children},
      {"AXParent", Attr::parent},
      {"AXWindow", Attr::window},
      {"AXTopLevelUIElement", Attr::topLevel},
      {"AXFocusedWindow", Attr::focusedWindow},
      {"AXMainWindow", Attr::mainWindow},
      {"AXWindows", Attr::windows},
      {"AXFocusedUIElement", Attr::focusedUIElement},
  };
  auto it = table.find(name);
  return it == table.end() ? Attr::other : it->second;
}

std::string utf8(std::u16string_view units) {
  std::string out;
  for (std::size_t i = 0; i < units.size(); ++i) {
    char32_t c = units[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (units[i + 1] - 0xDC00);
      ++i;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = 0xFFFD;
    }
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

void dropLastCodePoint(std::string& s) {
  if (s.empty()) return;
  std::size_t i = s.size() - 1;
  while (i > 0 && (static_cast<unsigned char>(s[i]) & 0xC0) == 0x80) --i;
  s.erase(i);
}

}  // namespace

// --- The seam's parts, all over one State ---------------------------------------------------

class AxPart;
class WorkspacePart;
class InputPart;
class PasteboardPart;
class HighlighterPart;

struct Backend::State {
  explicit State(Recording recording);

  mutable std::mutex mutex;
  RunningApp app;
  Pid finderPid = 0;
  std::deque<LiveNode> nodes;  // nodes[0] is the application, nodes[1] the window; then pre-order
  LiveNode* focused = nullptr;
  bool selectAll = false;  // Command-A was the last thing done to the focused field
  std::vector<Event> events;
  std::map<std::string, int, std::less<>> writes;
  double readLatency = 0;
  bool trusted = true;
  bool typing = false;  // the last event is a type event that further text extends

  struct AppState {
    RunningApp app;
    bool terminated = false;
  };
  std::vector<AppState> apps;
  Pid front = 0;
  std::vector<std::function<void(const RunningApp&)>> observers;
  std::optional<std::string> pasteboard;
  std::optional<Rect> highlight;

  RunLoop runLoop;
  VirtualClock clock;
  MemorySettings settings;
  std::unique_ptr<AxPart> ax;
  std::unique_ptr<WorkspacePart> workspace;
  std::unique_ptr<InputPart> input;
  std::unique_ptr<PasteboardPart> pasteboardPart;
  std::unique_ptr<HighlighterPart> highlighter;

  // With `mutex` held from here on.
  LiveNode* nodeOf(const ax::ElementRef& ref) const {
    auto h = ref.as<NodeHandle>();
    return h && h->owner == this ? h->node : nullptr;
  }
  LiveNode& application() { return nodes[0]; }
  LiveNode& window() { return nodes[1]; }
  std::string label(const LiveNode& n) const {
    PageElement e;
    e.role = n.role;
    e.subrole = n.subrole;
    e.title = n.title;
    e.desc = n.description;
    e.help = n.help;
    e.placeholder = n.placeholder;
    if (!n.secure()) e.value = AX::str(n.value);
    return e.label();
  }
  void record(Event e) {
    typing = false;
    events.push_back(std::move(e));
  }
  void recordElement(Event::Type type, const LiveNode& n, std::string action = {}) {
    Event e;
    e.type = type;
    e.role = n.role;
    e.label = label(n);
    e.action = std::move(action);
    record(std::move(e));
  }
  // The focused element when it takes typed text.
  LiveNode* field() const {
    if (!focused || !focused->keystrokes) return nullptr;
    return Roles::textInput(focused->role) || focused->settable ? focused : nullptr;
  }
  void insert(LiveNode& f, const std::string& text) {
    if (selectAll) {
      f.value = text;
      selectAll = false;
    } else {
      f.value = AX::str(f.value) + text;
    }
  }
  ax::Error read(LiveNode* n, std::string_view name, ax::Value& out);
  void build(const Node& node, LiveNode* parent);
};

namespace {
ax::Error text(const std::string& s, ax::Value& out) {
  if (s.empty()) return ax::Error::noValue;
  out = s;
  return ax::Error::success;
}
}  // namespace

ax::Error Backend::State::read(LiveNode* n, std::string_view name, ax::Value& out) {
  if (!n) return ax::Error::cannotComplete;
  const Attr attr = attrOf(name);
  if (n->isApp) {
    switch (attr) {
      case Attr::role: out = std::string("AXApplication"); return ax::Error::success;
      case Attr::title: return text(n->title, out);
      case Attr::children:
      case Attr::windows: out = n->childRefs; return ax::Error::success;
      case Attr::focusedWindow:
      case Attr::mainWindow: out = window().ref; return ax::Error::success;
      case Attr::focusedUIElement:
        if (!focused) return ax::Error::noValue;
        out = focused->ref;
        return ax::Error::success;
      default: break;
    }
  } else {
    switch (attr) {
      case Attr::role: return text(n->role, out);
      case Attr::subrole: return text(n->subrole, out);
      case Attr::title: return text(n->title, out);
      case Attr::description: return text(n->description, out);
      case Attr::help: return text(n->help, out);
      case Attr::placeholder: return text(n->placeholder, out);
      case Attr::value:
        if (std::holds_alternative<std::monostate>(n->value)) return ax::Error::noValue;
        out = n->value;
        return ax::Error::success;
      case Attr::url:
        if (!n->url) return ax::Error::noValue;
        out = ax::Url{*n->url};
        return ax::Error::success;
      case Attr::position:
        if (!n->frame) return ax::Error::noValue;
        out = Point{n->frame->x, n->frame->y};
        return ax::Error::success;
      case Attr::size:
        if (!n->frame) return ax::Error::noValue;
        out = Size{n->frame->width, n->frame->height};
        return ax::Error::success;
      case Attr::enabled:
        if (!n->enabled) return ax::Error::noValue;
        out = *n->enabled;
        return ax::Error::success;
      case Attr::hidden:
        if (!n->hidden) return ax::Error::noValue;
        out = *n->hidden;
        return ax::Error::success;
      case Attr::focused: out = (n == focused); return ax::Error::success;
      case Attr::children: out = n->childRefs; return ax::Error::success;
      case Attr::parent: out = n->parent->ref; return ax::Error::success;
      case Attr::window:
      case Attr::topLevel: out = window().ref; return ax::Error::success;
      default: break;
    }
  }
  if (auto it = n->extra.find(name); it != n->extra.end()) {
    out = it->second;
    return ax::Error::success;
  }
  return ax::Error::attributeUnsupported;
}

void Backend::State::build(const Node& node, LiveNode* parent) {
  LiveNode& n = nodes.emplace_back();
  n.role = node.role;
  n.subrole = node.subrole;
  n.title = node.title;
  n.description = node.description;
  n.help = node.help;
  n.placeholder = node.placeholder;
  if (node.value) std::visit([&](const auto& v) { n.value = v; }, *node.value);
  n.url = node.url;
  n.frame = node.frame;
  n.enabled = node.enabled;
  n.hidden = node.hidden;
  n.actions = node.actions;
  n.settable = node.valueSettable();
  n.keystrokes = node.keystrokes;
  n.pressError = node.pressError;
  n.parent = parent;
  n.ref = ax::ElementRef(std::make_shared<NodeHandle>(this, &n));
  if (node.focused) focused = &n;
  parent->children.push_back(&n);
  parent->childRefs.push_back(n.ref);
  for (const auto& child : node.children) build(child, &n);
}

class AxPart final : public ax::Api {
 public:
  explicit AxPart(Backend::State& s) : s_(s) {}

  std::optional<std::vector<ax::Value>> copyMultipleAttributeValues(const ax::ElementRef& element,
                                                                    std::span<const std::string> names) override {
    std::lock_guard lock(s_.mutex);
    if (s_.readLatency > 0) s_.clock.advance(s_.readLatency);
    LiveNode* n = s_.nodeOf(element);
    if (!n) return std::nullopt;
    std::vector<ax::Value> out(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
      ax::Error e = s_.read(n, names[i], out[i]);
      if (e != ax::Error::success) out[i] = ax::Failed{e};
    }
    return out;
  }

  ax::Error copyAttributeValue(const ax::ElementRef& element, std::string_view name, ax::Value& out) override {
    std::lock_guard lock(s_.mutex);
    return s_.read(s_.nodeOf(element), name, out);
  }

  ax::Error setAttributeValue(const ax::ElementRef& element, std::string_view name, const ax::Value& value) override {
    std::lock_guard lock(s_.mutex);
    LiveNode* n = s_.nodeOf(element);
    if (!n) return ax::Error::invalidUIElement;
    const Attr attr = attrOf(name);
    if (n->isApp) {
      if (attr != Attr::other) return ax::Error::attributeUnsupported;
      n->extra[std::string(name)] = value;
      ++s_.writes[std::string(name)];
      return ax::Error::success;
    }
    if (attr == Attr::focused) {
      auto on = AX::flag(value);
      if (!on) return ax::Error::illegalArgument;
      ++s_.writes[std::string(name)];
      if (*on) {
        s_.focused = n;
        s_.selectAll = false;
        s_.recordElement(Event::Type::focus, *n);
      } else if (s_.focused == n) {
        s_.focused = nullptr;
      }
      return ax::Error::success;
    }
    if (attr == Attr::value) {
      if (!n->settable) return ax::Error::attributeUnsupported;
      if (!std::holds_alternative<std::string>(value) && !std::holds_alternative<double>(value) &&
          !std::holds_alternative<bool>(value))
        return ax::Error::illegalArgument;
      ++s_.writes[std::string(name)];
      n->value = value;
      if (n == s_.focused) s_.selectAll = false;
      Event e;
      e.type = Event::Type::setValue;
      e.role = n->role;
      e.label = s_.label(*n);
      e.value = n->secure() ? maskedText : AX::str(value);
      s_.record(std::move(e));
      return ax::Error::success;
    }
    return ax::Error::attributeUnsupported;
  }

  ax::Error isAttributeSettable(const ax::ElementRef& element, std::string_view name, bool& settable) override {
    std::lock_guard lock(s_.mutex);
    LiveNode* n = s_.nodeOf(element);
    if (!n) return ax::Error::invalidUIElement;
    const Attr attr = attrOf(name);
    settable = !n->isApp && ((attr == Attr::value && n->settable) || attr == Attr::focused);
    return ax::Error::success;
  }

  ax::Error copyActionNames(const ax::ElementRef& element, std::vector<std::string>& out) override {
    std::lock_guard lock(s_.mutex);
    LiveNode* n = s_.nodeOf(element);
    if (!n) return ax::Error::invalidUIElement;
    out = n->actions;
    return ax::Error::success;
  }

  ax::Error performAction(const ax::ElementRef& element, std::string_view action) override {
    std::lock_guard lock(s_.mutex);
    LiveNode* n = s_.nodeOf(element);
    if (!n) return ax::Error::invalidUIElement;
    if (n->isApp) return ax::Error::actionUnsupported;
    // Browsers scroll any web element into view, listed or not; other actions must be offered.
    const bool scrollIntoView = action == "AXScrollToVisible";
    if (!scrollIntoView && !n->has(action)) return ax::Error::actionUnsupported;
    if (action == "AXPress") {
      if (n->pressError) return static_cast<ax::Error>(*n->pressError);
      s_.recordElement(Event::Type::press, *n);
      if (n->role == "AXCheckBox" || n->role == "AXSwitch") {
        n->value = AX::flag(n->value).value_or(AX::str(n->value) == "1") ? 0.0 : 1.0;
      } else if (n->role == "AXRadioButton") {
        n->value = 1.0;
      }
      return ax::Error::success;
    }
    if (scrollIntoView || action == "AXScrollDownByPage" || action == "AXScrollUpByPage") {
      s_.recordElement(Event::Type::scroll, *n, std::string(action));
    }
    return ax::Error::success;
  }

  ax::ElementRef createApplication(Pid pid) override {
    std::lock_guard lock(s_.mutex);
    if (pid == s_.app.pid) return s_.application().ref;
    return ax::ElementRef(std::make_shared<NodeHandle>(&s_, nullptr));
  }

  bool isProcessTrusted(bool prompt) override {
    std::lock_guard lock(s_.mutex);
    return s_.trusted;
  }

 private:
  Backend::State& s_;
};

class WorkspacePart final : public Workspace {
 public:
  explicit WorkspacePart(Backend::State& s) : s_(s) {}

  std::optional<RunningApp> frontmostApplication() override {
    std::lock_guard lock(s_.mutex);
    for (const auto& a : s_.apps)
      if (a.app.pid == s_.front && !a.terminated) return a.app;
    return std::nullopt;
  }
  std::optional<RunningApp> runningApplication(Pid pid) override {
    std::lock_guard lock(s_.mutex);
    for (const auto& a : s_.apps)
      if (a.app.pid == pid) return a.app;
    return std::nullopt;
  }
  bool isTerminated(Pid pid) override {
    std::lock_guard lock(s_.mutex);
    for (const auto& a : s_.apps)
      if (a.app.pid == pid) return a.terminated;
    return true;
  }
  bool isActive(Pid pid) override {
    std::lock_guard lock(s_.mutex);
    return s_.front == pid;
  }
  void activate(Pid pid) override {
    std::lock_guard lock(s_.mutex);
    for (const auto& a : s_.apps) {
      if (a.app.pid != pid || a.terminated) continue;
      if (s_.front == pid) return;
      s_.front = pid;
      for (const auto& observer : s_.observers) s_.runLoop.toMain([observer, app = a.app] { observer(app); });
      return;
    }
  }
  void observeActivations(std::function<void(const RunningApp&)> handler) override {
    std::lock_guard lock(s_.mutex);
    if (handler) s_.observers.push_back(std::move(handler));
  }
  void openURLs(const std::vector<std::string>& urls, const std::string& bundlePath) override {
    std::lock_guard lock(s_.mutex);
    Event e;
    e.type = Event::Type::open;
    e.urls = urls;
    s_.record(std::move(e));
  }
  bool openURL(const std::string& url) override {
    std::lock_guard lock(s_.mutex);
    Event e;
    e.type = Event::Type::open;
    e.urls = {url};
    s_.record(std::move(e));
    return true;
  }

 private:
  Backend::State& s_;
};

class InputPart final : public InputEvents {
 public:
  explicit InputPart(Backend::State& s) : s_(s) {}

  bool postKey(Pid pid, std::uint16_t virtualKey, std::uint64_t flags) override {
    std::lock_guard lock(s_.mutex);
    Event e;
    e.type = Event::Type::key;
    e.keyCode = virtualKey;
    e.flags = flags;
    s_.record(std::move(e));
    LiveNode* f = pid == s_.app.pid ? s_.field() : nullptr;
    if (!f) return true;
    const bool command = flags & keyflags::command;
    if (virtualKey == 0 && command) {
      s_.selectAll = true;
      return true;
    }
    if (virtualKey == 9 && command) {  // paste
      if (s_.pasteboard) s_.insert(*f, *s_.pasteboard);
    } else if (virtualKey == 51 && !command) {  // delete backwards
      std::string v = s_.selectAll ? std::string() : AX::str(f->value);
      if (!s_.selectAll) dropLastCodePoint(v);
      f->value = v;
    }
    s_.selectAll = false;
    return true;
  }

  bool postText(Pid pid, std::u16string_view units) override {
    std::lock_guard lock(s_.mutex);
    std::string text = utf8(units);
    LiveNode* f = pid == s_.app.pid ? s_.field() : nullptr;
    const bool secure = s_.focused && s_.focused->secure();
    // A run of characters typed one by one reads as one event.
    if (s_.typing && !s_.events.empty() && s_.events.back().type == Event::Type::type) {
      if (!secure) s_.events.back().text += text;
    } else {
      Event e;
      e.type = Event::Type::type;
      e.text = secure ? maskedText : text;
      s_.record(std::move(e));
      s_.typing = true;
    }
    if (f) s_.insert(*f, text);
    return true;
  }

  bool postMouseClick(Point at) override {
    std::lock_guard lock(s_.mutex);
    Event e;
    e.type = Event::Type::mouseClick;
    e.x = at.x;
    e.y = at.y;
    s_.record(std::move(e));
    return true;
  }

  bool postScrollWheel(Point at, int lines) override {
    std::lock_guard lock(s_.mutex);
    Event e;
    e.type = Event::Type::scroll;
    e.action = "scrollWheel";
    e.x = at.x;
    e.y = at.y;
    e.lines = lines;
    s_.record(std::move(e));
    return true;
  }

 private:
  Backend::State& s_;
};

class PasteboardPart final : public Pasteboard {
 public:
  explicit PasteboardPart(Backend::State& s) : s_(s) {}
  void clear() override {
    std::lock_guard lock(s_.mutex);
    s_.pasteboard.reset();
  }
  bool setString(const std::string& text) override {
    std::lock_guard lock(s_.mutex);
    s_.pasteboard = text;
    Event e;
    e.type = Event::Type::pasteboard;
    e.text = text;
    s_.record(std::move(e));
    return true;
  }
  std::optional<std::string> string() override {
    std::lock_guard lock(s_.mutex);
    return s_.pasteboard;
  }

 private:
  Backend::State& s_;
};

class HighlighterPart final : public Highlighter {
 public:
  explicit HighlighterPart(Backend::State& s) : s_(s) {}
  void show(Rect axFrame, double seconds) override {
    std::lock_guard lock(s_.mutex);
    s_.highlight = axFrame;
  }
  void hide() override {
    std::lock_guard lock(s_.mutex);
    s_.highlight.reset();
  }

 private:
  Backend::State& s_;
};

Backend::State::State(Recording recording) {
  app.pid = recording.app.pid;
  app.bundleID = recording.app.bundleID;
  app.localizedName = recording.app.name;
  app.bundlePath = recording.app.bundlePath;
  if (app.bundlePath.empty()) {
    std::string name = app.localizedName;
    if (name.empty()) {
      const BrowserAdapter* adapter = BrowserRegistry::adapter(app.bundleID);
      name = adapter ? adapter->name() : "Browser";
    }
    app.bundlePath = "/Applications/" + name + ".app";
  }
  finderPid = app.pid + 1;
  apps.push_back({app, false});
  apps.push_back({RunningApp{finderPid, "com.apple.finder", "Finder", "/System/Library/CoreServices/Finder.app"}, false});
  front = recording.front ? app.pid : finderPid;

  LiveNode& root = nodes.emplace_back();
  root.isApp = true;
  root.role = "AXApplication";
  root.title = app.localizedName;
  root.ref = ax::ElementRef(std::make_shared<NodeHandle>(this, &root));
  build(recording.window, &root);

  ax = std::make_unique<AxPart>(*this);
  workspace = std::make_unique<WorkspacePart>(*this);
  input = std::make_unique<InputPart>(*this);
  pasteboardPart = std::make_unique<PasteboardPart>(*this);
  highlighter = std::make_unique<HighlighterPart>(*this);
}

// --- Backend -------------------------------------------------------------------------------

Backend::Backend(Recording recording) : state_(std::make_unique<State>(std::move(recording))) {}
Backend::~Backend() = default;

std::unique_ptr<Backend> Backend::load(const std::string& path) {
  return std::make_unique<Backend>(loadRecording(path));
}

Platform Backend::platform() {
  return Platform{*state_->ax,         *state_->workspace, *state_->input, *state_->pasteboardPart,
                  *state_->highlighter, state_->runLoop,   state_->clock,  state_->settings};
}

std::optional<BrowserTarget> Backend::target() const {
  const BrowserAdapter* adapter = BrowserRegistry::adapter(state_->app.bundleID);
  if (!adapter) return std::nullopt;
  return BrowserTarget{state_->app, adapter};
}

const RunningApp& Backend::app() const { return state_->app; }

std::vector<Event> Backend::events() const {
  std::lock_guard lock(state_->mutex);
  return state_->events;
}

void Backend::clearEvents() {
  std::lock_guard lock(state_->mutex);
  state_->events.clear();
  state_->typing = false;
}

ax::ElementRef Backend::application() const { return state_->nodes[0].ref; }
ax::ElementRef Backend::window() const { return state_->nodes[1].ref; }

std::optional<ax::ElementRef> Backend::find(std::string_view role, std::string_view label) const {
  std::lock_guard lock(state_->mutex);
  for (std::size_t i = 1; i < state_->nodes.size(); ++i) {
    const LiveNode& n = state_->nodes[i];
    if (n.role == role && state_->label(n) == label) return n.ref;
  }
  return std::nullopt;
}

std::optional<ax::ElementRef> Backend::focused() const {
  std::lock_guard lock(state_->mutex);
  if (!state_->focused) return std::nullopt;
  return state_->focused->ref;
}

std::string Backend::value(const ax::ElementRef& element) const {
  std::lock_guard lock(state_->mutex);
  LiveNode* n = state_->nodeOf(element);
  return n ? AX::str(n->value) : std::string();
}

int Backend::attributeWrites(std::string_view name) const {
  std::lock_guard lock(state_->mutex);
  auto it = state_->writes.find(name);
  return it == state_->writes.end() ? 0 : it->second;
}

void Backend::addApp(const RunningApp& app) {
  std::lock_guard lock(state_->mutex);
  state_->apps.push_back({app, false});
}

void Backend::terminate(Pid pid) {
  std::lock_guard lock(state_->mutex);
  for (auto& a : state_->apps) {
    if (a.app.pid == pid) a.terminated = true;
  }
  if (state_->front == pid) state_->front = state_->finderPid;
}

void Backend::setReadLatency(double seconds) {
  std::lock_guard lock(state_->mutex);
  state_->readLatency = seconds;
}

void Backend::setTrusted(bool trusted) {
  std::lock_guard lock(state_->mutex);
  state_->trusted = trusted;
}

std::optional<Rect> Backend::highlighted() const {
  std::lock_guard lock(state_->mutex);
  return state_->highlight;
}

ax::Api& Backend::ax() { return *state_->ax; }
Workspace& Backend::workspace() { return *state_->workspace; }
InputEvents& Backend::input() { return *state_->input; }
Pasteboard& Backend::pasteboard() { return *state_->pasteboardPart; }
Highlighter& Backend::highlighter() { return *state_->highlighter; }
RunLoop& Backend::runLoop() { return state_->runLoop; }
VirtualClock& Backend::clock() { return state_->clock; }
MemorySettings& Backend::settings() { return state_->settings; }

}  // namespace skimlet::memory
