#include "backends/atspi/atspi_ax.h"

#include <atspi/atspi-constants.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <thread>

#include "backends/atspi/role_map.h"

namespace skimlet::atspi {

using ax::ElementRef;
using ax::Error;
using ax::Value;

namespace {

constexpr std::string_view kEmbedded = "\xEF\xBF\xBC";  // U+FFFC in UTF-8

Value missing(Error e = Error::attributeUnsupported) { return ax::Failed{e}; }

bool isDocument(std::uint32_t role) { return role == ATSPI_ROLE_DOCUMENT_WEB || role == ATSPI_ROLE_DOCUMENT_FRAME; }

bool blank(std::string_view s) {
  return std::all_of(s.begin(), s.end(), [](char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; });
}

AxRole axRoleOf(const Node& n) { return mapRole(n.role, {n.states, n.inputType, n.xmlRoles}); }

bool isTextEntry(const std::string& role) {
  return role == "AXTextField" || role == "AXTextArea" || role == "AXComboBox";
}

bool pressable(std::string_view action) {
  return action == "click" || action == "press" || action == "jump" || action == "activate" || action == "switch" ||
         action == "open" || action == "toggle" || action == "check" || action == "uncheck" || action == "select";
}

}  // namespace

std::vector<std::string> textRuns(const std::string& text) {
  std::vector<std::string> runs;
  std::size_t start = 0;
  while (true) {
    std::size_t at = text.find(kEmbedded, start);
    runs.push_back(text.substr(start, at == std::string::npos ? std::string::npos : at - start));
    if (at == std::string::npos) break;
    start = at + kEmbedded.size();
  }
  return runs;
}

std::string tabName(const std::string& name) {
  std::size_t at = name.rfind(" - Memory usage - ");
  return at == std::string::npos ? name : name.substr(0, at);
}

std::string pageTitleFromWindow(const std::string& title) {
  for (std::string_view sep : {" — ", " - "}) {
    std::size_t at = title.rfind(sep);
    if (at == std::string::npos) continue;
    std::string rest = title.substr(at + sep.size());
    for (const char* browser : {"Firefox", "Chrom", "Brave", "Edge"})
      if (rest.find(browser) != std::string::npos) return title.substr(0, at);
  }
  return title;
}

bool AtspiAx::isProcessTrusted(bool prompt) {
  auto on = accessibilityEnabled();
  if (on && *on) return true;
  if (prompt) enableAccessibility();
  return false;
}

std::optional<ObjectRef> AtspiAx::applicationOf(Pid pid) {
  Lock lock(mutex_);
  if (auto it = apps_.find(pid); it != apps_.end() && bus_.processOf(it->second.bus) == pid) return it->second;
  apps_.erase(pid);
  for (const ObjectRef& app : TreeReader::children(bus_, {"org.a11y.atspi.Registry", kRootPath})) {
    int owner = bus_.processOf(app.bus);
    if (owner > 0) apps_[owner] = app;
    if (owner == pid) return app;
  }
  return std::nullopt;
}

std::vector<Pid> AtspiAx::applicationPids() {
  Lock lock(mutex_);
  apps_.clear();
  std::vector<Pid> pids;
  for (const ObjectRef& app : TreeReader::children(bus_, {"org.a11y.atspi.Registry", kRootPath})) {
    int owner = bus_.processOf(app.bus);
    if (owner <= 0) continue;
    apps_[owner] = app;
    pids.push_back(owner);
  }
  return pids;
}

ElementRef AtspiAx::createApplication(Pid pid) {
  auto app = applicationOf(pid);
  return app ? AtspiElement::make(*app) : ElementRef();
}

std::vector<Node> AtspiAx::windowsOf(const ObjectRef& app) {
  std::vector<Node> frames;
  for (Node& n : TreeReader::read(bus_, TreeReader::children(bus_, app)))
    if (n.answered && (n.role == ATSPI_ROLE_FRAME || n.role == ATSPI_ROLE_WINDOW)) frames.push_back(std::move(n));
  return frames;
}

ReadStats AtspiAx::lastPageRead() {
  Lock lock(mutex_);
  return lastPage_;
}

void AtspiAx::forget() {
  Lock lock(mutex_);
  cache_.clear();
}

void AtspiAx::store(std::vector<Node> nodes) {
  for (auto& n : nodes) {
    std::string key = n.ref.key();
    cache_.insert_or_assign(std::move(key), std::move(n));
  }
}

void AtspiAx::prefetchWindow(const ObjectRef& window) {
  cache_.clear();
  store(TreeReader::chrome(bus_, window));
}

void AtspiAx::prefetchPage(const ObjectRef& document) {
  ReadStats stats;
  std::vector<Node> nodes = TreeReader::subtree(bus_, document, &stats);
  // The document's own place in the window (its parent) stays as the window's read found it.
  if (auto it = cache_.find(document.key()); it != cache_.end() && !nodes.empty()) {
    if (!nodes[0].frame) nodes[0].frame = it->second.frame;
  }
  store(std::move(nodes));
  lastPage_ = stats;
}

const Node* AtspiAx::node(const ObjectRef& ref, bool withChildren, bool live) {
  auto it = cache_.find(ref.key());
  if (live || it == cache_.end()) {
    auto read = TreeReader::read(bus_, {ref});
    if (read.empty() || !read[0].answered) return nullptr;
    Node fresh = std::move(read[0]);
    if (it != cache_.end()) {
      if (!fresh.frame) fresh.frame = it->second.frame;
      fresh.children = std::move(it->second.children);
      fresh.childrenKnown = it->second.childrenKnown;
    }
    it = cache_.insert_or_assign(ref.key(), std::move(fresh)).first;
  }
  Node& n = it->second;
  if (withChildren && !n.childrenKnown && !hidden(n)) {
    if (isDocument(n.role)) {
      prefetchPage(ref);
    } else {
      n.children = TreeReader::children(bus_, ref);
      n.childrenKnown = true;
    }
    it = cache_.find(ref.key());
    if (it == cache_.end()) return nullptr;
  }
  return &it->second;
}

bool AtspiAx::hidden(const Node& n) const {
  if (!n.states.has(ATSPI_STATE_VISIBLE) && n.role != ATSPI_ROLE_APPLICATION) return true;
  // Firefox keeps the documents of background tabs and preloaded pages; only the shown one is
  // the page.
  return isDocument(n.role) && !n.states.has(ATSPI_STATE_SHOWING);
}

std::optional<Rect> AtspiAx::frameOf(const Node& n) {
  if (n.frame) return n.frame;
  // A document without extents of its own fills the frame that holds it.
  if (isDocument(n.role) && !n.parent.null())
    if (auto it = cache_.find(n.parent.key()); it != cache_.end()) return it->second.frame;
  return std::nullopt;
}

std::string AtspiAx::webAreaTitle(const Node& n) {
  if (!n.name.empty()) return n.name;
  // Firefox leaves the document unnamed; its window is named after the page.
  ObjectRef up = n.parent;
  for (int hops = 0; hops < 12 && !up.null(); ++hops) {
    auto it = cache_.find(up.key());
    if (it == cache_.end()) break;
    if (it->second.role == ATSPI_ROLE_FRAME) return pageTitleFromWindow(it->second.name);
    up = it->second.parent;
  }
  return "";
}

std::vector<std::string> AtspiAx::actionsOf(const Node& n) const {
  AxRole r = axRoleOf(n);
  static const std::vector<std::string> press{"AXPress"};
  if (r.role == "AXButton" || r.role == "AXLink" || r.role == "AXCheckBox" || r.role == "AXRadioButton" ||
      r.role == "AXMenuItem" || r.role == "AXPopUpButton" || r.role == "AXMenuButton")
    return press;
  if (pressable(n.firstAction) && n.role != ATSPI_ROLE_LABEL) return press;
  return {};
}

std::vector<ElementRef> AtspiAx::childrenOf(const Node& n) {
  std::vector<ElementRef> out;
  AxRole r = axRoleOf(n);
  if (r.leaf) return out;
  std::vector<std::string> runs = n.text ? textRuns(*n.text) : std::vector<std::string>{};
  std::size_t count = std::max(runs.size(), n.children.size());
  for (std::size_t k = 0; k < count; ++k) {
    if (k < runs.size() && !blank(runs[k])) out.push_back(AtspiElement::make(n.ref, int(k)));
    if (k < n.children.size()) out.push_back(AtspiElement::make(n.children[k]));
  }
  return out;
}

Value AtspiAx::runAttribute(const Node& owner, int run, std::string_view name) {
  std::vector<std::string> runs = owner.text ? textRuns(*owner.text) : std::vector<std::string>{};
  if (run < 0 || std::size_t(run) >= runs.size()) return missing(Error::invalidUIElement);
  if (name == "AXRole") return std::string("AXStaticText");
  if (name == "AXValue") return runs[std::size_t(run)];
  if (name == "AXTitle" || name == "AXDescription" || name == "AXHelp") return std::string();
  if (name == "AXEnabled") return true;
  if (name == "AXHidden") return false;
  if (name == "AXChildren") return std::vector<ElementRef>{};
  if (name == "AXParent") return AtspiElement::make(owner.ref);
  if (name == "AXPosition" || name == "AXSize") {
    // A run is shown where the element holding it is.
    auto f = frameOf(owner);
    if (!f) return missing(Error::noValue);
    if (name == "AXPosition") return Point{f->x, f->y};
    return Size{f->width, f->height};
  }
  return missing();
}

Value AtspiAx::objectAttribute(const Node& n, std::string_view name) {
  AxRole r = axRoleOf(n);
  bool titled = r.name == NamePlacement::title;
  std::string label = n.role == ATSPI_ROLE_PAGE_TAB ? tabName(n.name) : n.name;
  if (name == "AXRole") return r.role;
  if (name == "AXSubrole") return r.subrole.empty() ? missing(Error::noValue) : Value(r.subrole);
  if (name == "AXTitle") return r.role == "AXWebArea" ? webAreaTitle(n) : titled ? label : std::string();
  if (name == "AXDescription") return titled || r.name == NamePlacement::none ? std::string() : label;
  if (name == "AXHelp") return n.description == n.name ? std::string() : n.description;
  if (name == "AXPlaceholderValue") return n.placeholder.empty() ? missing(Error::noValue) : Value(n.placeholder);
  if (name == "AXEnabled")
    return !isControl(r.role) || n.states.has(ATSPI_STATE_ENABLED) || n.states.has(ATSPI_STATE_SENSITIVE);
  if (name == "AXFocused") return n.states.has(ATSPI_STATE_FOCUSED);
  if (name == "AXHidden") return hidden(n);
  if (name == "AXPosition" || name == "AXSize") {
    auto f = frameOf(n);
    if (!f) return missing(Error::noValue);
    if (name == "AXPosition") return Point{f->x, f->y};
    return Size{f->width, f->height};
  }
  if (name == "AXChildren") return childrenOf(n);
  if (name == "AXParent") {
    if (n.parent.null() || n.role == ATSPI_ROLE_APPLICATION) return missing(Error::noValue);
    return AtspiElement::make(n.parent);
  }
  if (name == "AXURL") return n.url.empty() ? missing(Error::noValue) : Value(ax::Url{n.url});
  if (name == "AXValue") {
    if (r.role == "AXCheckBox" || r.role == "AXRadioButton")
      return r.subrole == "AXTabButton" ? (n.states.has(ATSPI_STATE_SELECTED) ? 1.0 : 0.0)
                                        : (n.states.has(ATSPI_STATE_CHECKED) ? 1.0 : 0.0);
    if (r.role == "AXHeading") {
      int level = 0;
      auto [p, ec] = std::from_chars(n.level.data(), n.level.data() + n.level.size(), level);
      return ec == std::errc() ? Value(double(level)) : missing(Error::noValue);
    }
    if (n.value) return *n.value;
    if (isTextEntry(r.role)) return n.text.value_or("");
    if (r.role == "AXPopUpButton") {
      // The selected option, which the list inside the button holds.
      for (const auto& [key, other] : cache_)
        if (other.states.has(ATSPI_STATE_SELECTED) && other.parent.bus == n.ref.bus) {
          auto up = cache_.find(other.parent.key());
          if (up != cache_.end() && (up->second.parent == n.ref || other.parent == n.ref)) return other.name;
        }
      if (n.text && !n.text->empty()) return *n.text;
      return missing(Error::noValue);
    }
    return missing(Error::noValue);
  }
  return missing();
}

Value AtspiAx::applicationAttribute(const ObjectRef& app, std::string_view name) {
  if (name == "AXRole") return std::string("AXApplication");
  if (name == "AXManualAccessibility" || name == "AXEnhancedUserInterface") return manualAccessibility_;
  if (name == "AXHidden") return false;
  if (name == "AXFocusedUIElement") {
    auto focused = TreeReader::matching(bus_, app, {ATSPI_STATE_FOCUSED}, {}, 0);
    for (auto it = focused.rbegin(); it != focused.rend(); ++it)
      if (it->path != kRootPath) return AtspiElement::make(*it);
    return missing(Error::noValue);
  }
  std::vector<Node> windows = windowsOf(app);
  if (name == "AXTitle") {
    auto n = TreeReader::read(bus_, {app});
    return n.empty() ? std::string() : n[0].name;
  }
  std::vector<ElementRef> refs;
  for (const auto& w : windows) refs.push_back(AtspiElement::make(w.ref));
  if (name == "AXWindows" || name == "AXChildren") return refs;
  if (name == "AXFocusedWindow") {
    for (const auto& w : windows)
      if (w.states.has(ATSPI_STATE_ACTIVE)) return AtspiElement::make(w.ref);
    return missing(Error::noValue);
  }
  if (name == "AXMainWindow") {
    // Chromium also lists its pop-ups as unnamed frames; the browser window has a name.
    for (const auto& w : windows)
      if (!w.name.empty() && w.states.has(ATSPI_STATE_SHOWING)) return AtspiElement::make(w.ref);
    if (!windows.empty()) return AtspiElement::make(windows.front().ref);
    return missing(Error::noValue);
  }
  return missing();
}

Value AtspiAx::attribute(const AtspiElement& e, std::string_view name, bool live) {
  if (e.isApplication()) return applicationAttribute(e.object, name);
  bool children = name == "AXChildren";
  const Node* n = node(e.object, children, live && !children);
  if (!n) return missing(Error::invalidUIElement);
  if (e.run >= 0) return runAttribute(*n, e.run, name);
  return objectAttribute(*n, name);
}

std::optional<std::vector<Value>> AtspiAx::copyMultipleAttributeValues(const ElementRef& element,
                                                                       std::span<const std::string> names) {
  auto* e = element.as<AtspiElement>();
  if (!e) return std::nullopt;
  Lock lock(mutex_);
  std::vector<Value> out;
  out.reserve(names.size());
  if (e->isApplication()) {
    for (const auto& name : names) out.push_back(applicationAttribute(e->object, name));
    return out;
  }
  const bool children = std::find(names.begin(), names.end(), "AXChildren") != names.end();
  const Node* n = node(e->object, false, false);
  if (!n) return std::nullopt;
  // A crawl starts at the window: read all of its own controls at once.
  if (children && e->run < 0 && (n->role == ATSPI_ROLE_FRAME || n->role == ATSPI_ROLE_WINDOW)) {
    prefetchWindow(e->object);
    n = node(e->object, false, false);
    if (!n) return std::nullopt;
  }
  if (children && e->run < 0) n = node(e->object, true, false);
  if (!n) return std::nullopt;
  for (const auto& name : names)
    out.push_back(e->run >= 0 ? runAttribute(*n, e->run, name) : objectAttribute(*n, name));
  return out;
}

Error AtspiAx::copyAttributeValue(const ElementRef& element, std::string_view name, Value& out) {
  auto* e = element.as<AtspiElement>();
  if (!e) return Error::illegalArgument;
  Lock lock(mutex_);
  Value v = attribute(*e, name, true);
  if (auto* f = std::get_if<ax::Failed>(&v)) return f->error;
  out = std::move(v);
  return Error::success;
}

Error AtspiAx::isAttributeSettable(const ElementRef& element, std::string_view name, bool& settable) {
  settable = false;
  auto* e = element.as<AtspiElement>();
  if (!e) return Error::illegalArgument;
  Lock lock(mutex_);
  if (e->isApplication()) {
    settable = name == "AXManualAccessibility" || name == "AXEnhancedUserInterface";
    return Error::success;
  }
  const Node* n = node(e->object, false, true);
  if (!n) return Error::invalidUIElement;
  // Browsers accept a new text through the accessibility interface but do not change the page
  // with it, so a value is never offered as settable: typing is the way in.
  if (name == "AXFocused") settable = e->run < 0 && n->states.has(ATSPI_STATE_FOCUSABLE);
  return Error::success;
}

Error AtspiAx::setAttributeValue(const ElementRef& element, std::string_view name, const Value& value) {
  auto* e = element.as<AtspiElement>();
  if (!e) return Error::illegalArgument;
  Lock lock(mutex_);
  if (e->isApplication()) {
    if (name != "AXManualAccessibility" && name != "AXEnhancedUserInterface") return Error::attributeUnsupported;
    // Chromium builds the tree of its pages once a client reads an object's attributes, a
    // moment later: wait (briefly) until the shown page has content.
    bus_.call({e->object.bus, e->object.path, "org.a11y.atspi.Accessible", "GetAttributes", nullptr});
    manualAccessibility_ = true;
    for (int i = 0; i < 30; ++i) {
      auto docs = TreeReader::matching(bus_, e->object, {ATSPI_STATE_SHOWING}, {ATSPI_ROLE_DOCUMENT_WEB}, 0);
      auto nodes = TreeReader::read(bus_, docs, nullptr, false);
      if (std::any_of(nodes.begin(), nodes.end(), [](const Node& n) { return n.childCount > 0; })) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return Error::success;
  }
  if (name == "AXFocused") {
    if (e->run >= 0) return Error::attributeUnsupported;
    Reply r = bus_.call({e->object.bus, e->object.path, "org.a11y.atspi.Component", "GrabFocus", nullptr});
    if (!r) return Error::cannotComplete;
    gboolean ok = FALSE;
    g_variant_get(r.body(), "(b)", &ok);
    return ok ? Error::success : Error::cannotComplete;
  }
  return Error::attributeUnsupported;
}

Error AtspiAx::copyActionNames(const ElementRef& element, std::vector<std::string>& out) {
  auto* e = element.as<AtspiElement>();
  if (!e) return Error::illegalArgument;
  Lock lock(mutex_);
  out.clear();
  if (e->isApplication() || e->run >= 0) return Error::success;
  const Node* n = node(e->object, false, false);
  if (!n) return Error::invalidUIElement;
  out = actionsOf(*n);
  if (n->states.has(ATSPI_STATE_VISIBLE)) out.push_back("AXScrollToVisible");
  return Error::success;
}

Error AtspiAx::performAction(const ElementRef& element, std::string_view action) {
  auto* e = element.as<AtspiElement>();
  if (!e || e->isApplication()) return Error::illegalArgument;
  Lock lock(mutex_);
  const ObjectRef& o = e->object;
  if (action == "AXScrollToVisible") {
    Reply r = bus_.call(
        {o.bus, o.path, "org.a11y.atspi.Component", "ScrollTo", g_variant_new("(u)", guint32(ATSPI_SCROLL_ANYWHERE))});
    return r ? Error::success : Error::cannotComplete;
  }
  if (action != "AXPress" || e->run >= 0) return Error::actionUnsupported;
  const Node* n = node(o, false, true);
  if (!n) return Error::invalidUIElement;
  if (actionsOf(*n).empty()) {
    // Not something with an action of its own (a plain group): its first action may still be
    // the page's click handler.
    Reply name = bus_.call({o.bus, o.path, "org.a11y.atspi.Action", "GetName", g_variant_new("(i)", 0)});
    GVariant* v = name.first();
    bool ok = v && pressable(g_variant_get_string(v, nullptr));
    if (v) g_variant_unref(v);
    if (!ok) return Error::actionUnsupported;
  }
  Reply r = bus_.call({o.bus, o.path, "org.a11y.atspi.Action", "DoAction", g_variant_new("(i)", 0)});
  if (!r) return Error::cannotComplete;
  gboolean ok = FALSE;
  g_variant_get(r.body(), "(b)", &ok);
  // The page changes now: what was read in bulk is stale.
  cache_.clear();
  return ok ? Error::success : Error::cannotComplete;
}

}  // namespace skimlet::atspi
