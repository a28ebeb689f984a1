#include "backends/chromium/chromium_ax.h"

#include <algorithm>
#include <sstream>

#include "backends/chromium/live_element.h"

namespace skimlet::chromium {

using ax::ElementRef;
using ax::Error;
using ax::Value;
using Kind = LiveElement::Kind;

namespace {

const char* const kButtonNames[] = {"Back", "Forward", "Reload", "New Tab"};

std::string clean(const std::string& s) {
  std::istringstream in(s);
  std::string word, out;
  while (in >> word) out += (out.empty() ? "" : " ") + word;
  return out;
}

bool isTextInput(const std::string& role) {
  return role == "AXTextField" || role == "AXTextArea" || role == "AXComboBox" || role == "AXSearchField";
}

Value missing(Error e = Error::attributeUnsupported) { return ax::Failed{e}; }

// Moves an element into view when it is not wholly visible and tells where its centre is and
// whether a click there would reach it (rather than something drawn over it).
constexpr const char* kClickPoint = R"JS(function() {
  let r = this.getBoundingClientRect();
  if (r.width <= 0 || r.height <= 0) return null;
  if (r.top < 0 || r.left < 0 || r.bottom > innerHeight || r.right > innerWidth) {
    this.scrollIntoView({block: 'center', inline: 'center'});
    r = this.getBoundingClientRect();
  }
  const x = r.left + r.width / 2, y = r.top + r.height / 2;
  const hit = document.elementFromPoint(x, y);
  const reaches = !!hit && (hit === this || this.contains(hit) || hit.control === this);
  return {x, y, reaches};
})JS";

constexpr const char* kSetValue = R"JS(function(v) {
  if (this instanceof HTMLSelectElement) {
    const o = [...this.options].find(o => o.value === v || o.text.trim() === v);
    if (!o) return false;
    this.value = o.value;
  } else if (this instanceof HTMLInputElement || this instanceof HTMLTextAreaElement) {
    // The prototype's setter, so that pages tracking their inputs' values see the change.
    const proto = this instanceof HTMLInputElement ? HTMLInputElement.prototype : HTMLTextAreaElement.prototype;
    Object.getOwnPropertyDescriptor(proto, 'value').set.call(this, v);
  } else if (this.isContentEditable) {
    this.textContent = v;
  } else {
    return false;
  }
  this.dispatchEvent(new Event('input', {bubbles: true}));
  this.dispatchEvent(new Event('change', {bubbles: true}));
  return true;
})JS";

}  // namespace

std::string elementLabel(const std::string& role, const std::string& subrole, const std::string& title,
                         const std::string& desc, const std::string& value, const std::string& help,
                         const std::string& placeholder) {
  bool field = isTextInput(role) || subrole == "AXSearchField";
  bool secure = subrole == "AXSecureTextField";
  std::vector<const std::string*> candidates =
      field ? std::vector<const std::string*>{&title, &desc, &placeholder, &help}
            : std::vector<const std::string*>{&title, &desc, secure ? &placeholder : &value, &help, &placeholder};
  for (const auto* c : candidates)
    if (auto s = clean(*c); !s.empty()) return s;
  return "";
}

ElementRef ChromiumAx::createApplication(Pid pid) { return LiveElement::make(Kind::application, "", pid); }

std::string ChromiumAx::role(const LiveElement& e) {
  Value v = read(e, "AXRole");
  return std::holds_alternative<std::string>(v) ? std::get<std::string>(v) : "";
}

std::string ChromiumAx::label(const LiveElement& e) {
  auto text = [&](const char* name) {
    Value v = read(e, name);
    if (auto* s = std::get_if<std::string>(&v)) return *s;
    if (auto* d = std::get_if<double>(&v)) {
      std::ostringstream out;
      out << *d;
      return out.str();
    }
    return std::string();
  };
  return elementLabel(text("AXRole"), text("AXSubrole"), text("AXTitle"), text("AXDescription"), text("AXValue"),
                      text("AXHelp"), text("AXPlaceholderValue"));
}

Value ChromiumAx::read(const LiveElement& e, std::string_view name) {
  auto window = [] { return LiveElement::make(Kind::window); };
  auto frameValue = [&](const Rect& r) -> Value {
    if (name == "AXPosition") return Point{r.x, r.y};
    return Size{r.width, r.height};
  };
  bool geometry = name == "AXPosition" || name == "AXSize";

  switch (e.kind) {
    case Kind::application: {
      if (e.key != browser_.pid()) return missing(Error::invalidUIElement);
      if (name == "AXRole") return std::string("AXApplication");
      if (name == "AXTitle") return std::string("Chromium");
      if (name == "AXFocusedWindow" || name == "AXMainWindow") return window();
      if (name == "AXWindows" || name == "AXChildren") return std::vector<ElementRef>{window()};
      if (name == "AXFocusedUIElement") {
        auto tab = browser_.activeTab();
        const PageTree& page = browser_.page();
        if (!tab || page.nodes.empty()) return missing(Error::noValue);
        return LiveElement::make(Kind::page, tab->targetId, page.nodes[static_cast<size_t>(page.focused)].key);
      }
      if (name == "AXManualAccessibility") return manualAccessibility_;
      if (name == "AXEnhancedUserInterface") return enhancedUserInterface_;
      if (name == "AXFrontmost") return true;
      if (name == "AXHidden") return false;
      return missing();
    }
    case Kind::window: {
      if (name == "AXRole") return std::string("AXWindow");
      if (name == "AXSubrole") return std::string("AXStandardWindow");
      if (name == "AXTitle") return browser_.page().title;
      if (geometry) return frameValue(browser_.windowFrame());
      if (name == "AXChildren") {
        std::vector<ElementRef> children{LiveElement::make(Kind::tabGroup), LiveElement::make(Kind::toolbar)};
        auto tab = browser_.activeTab();
        const PageTree& page = browser_.page();
        if (tab && !page.nodes.empty())
          children.push_back(LiveElement::make(Kind::page, tab->targetId, page.nodes[0].key));
        return children;
      }
      if (name == "AXParent") return LiveElement::make(Kind::application, "", browser_.pid());
      if (name == "AXMain" || name == "AXFocused") return true;
      if (name == "AXMinimized") return false;
      return missing();
    }
    case Kind::tabGroup: {
      if (name == "AXRole") return std::string("AXTabGroup");
      if (geometry) return frameValue(browser_.tabStripFrame());
      if (name == "AXChildren" || name == "AXTabs") {
        std::vector<ElementRef> tabs;
        for (const auto& t : browser_.tabs()) tabs.push_back(LiveElement::make(Kind::tab, t.targetId));
        return tabs;
      }
      if (name == "AXParent") return window();
      if (name == "AXTitle" || name == "AXDescription") return std::string();
      return missing();
    }
    case Kind::tab: {
      auto tabs = browser_.tabs();
      auto it = std::find_if(tabs.begin(), tabs.end(), [&](const Tab& t) { return t.targetId == e.target; });
      if (it == tabs.end()) return missing(Error::invalidUIElement);
      int index = static_cast<int>(it - tabs.begin());
      if (name == "AXRole") return std::string("AXRadioButton");
      if (name == "AXSubrole") return std::string("AXTabButton");
      if (name == "AXTitle") return browser_.titleOf(it->targetId);
      if (name == "AXValue") return index == browser_.activeIndex() ? 1.0 : 0.0;
      if (name == "AXEnabled") return true;
      if (name == "AXDescription" || name == "AXHelp") return std::string();
      if (name == "AXChildren") return std::vector<ElementRef>{};
      if (name == "AXParent") return LiveElement::make(Kind::tabGroup);
      if (geometry) {
        Rect strip = browser_.tabStripFrame();
        double width = std::min(240.0, (strip.width - 60) / static_cast<double>(tabs.size()));
        return frameValue(Rect{strip.x + 8 + index * width, strip.y + 6, width, strip.height - 6});
      }
      return missing();
    }
    case Kind::toolbar: {
      if (name == "AXRole") return std::string("AXToolbar");
      if (geometry) return frameValue(browser_.toolbarFrame());
      if (name == "AXChildren") {
        std::vector<ElementRef> buttons;
        for (std::int64_t i = 0; i < 4; ++i) buttons.push_back(LiveElement::make(Kind::button, "", i));
        return buttons;
      }
      if (name == "AXParent") return window();
      return missing();
    }
    case Kind::button: {
      if (e.key < 0 || e.key > 3) return missing(Error::invalidUIElement);
      if (name == "AXRole") return std::string("AXButton");
      if (name == "AXDescription") return std::string(kButtonNames[e.key]);
      if (name == "AXTitle" || name == "AXHelp") return std::string();
      if (name == "AXEnabled") {
        browser_.page();  // the history is read with the page
        History h = browser_.history();
        if (e.key == LiveElement::back) return h.canGoBack;
        if (e.key == LiveElement::forward) return h.canGoForward;
        return true;
      }
      if (name == "AXChildren") return std::vector<ElementRef>{};
      if (name == "AXParent") return LiveElement::make(Kind::toolbar);
      if (geometry) {
        Rect bar = browser_.toolbarFrame();
        return frameValue(Rect{bar.x + 8 + static_cast<double>(e.key) * 36, bar.y + 6, 28, 28});
      }
      return missing();
    }
    case Kind::page: {
      const PageNode* found = resolve(e, name == "AXChildren");
      return found ? readNode(e, browser_.page(), *found, name) : missing(Error::invalidUIElement);
    }
  }
  return missing();
}

const PageNode* ChromiumAx::resolve(const LiveElement& e, bool withChildren) {
  auto active = browser_.activeTab();
  // Only the front tab's page is in the window; elements of other tabs are gone.
  if (!active || active->targetId != e.target) return nullptr;
  // Children are listed on demand: a long page is read from its start as far as needed.
  return withChildren ? browser_.pageNodeWithChildren(e.key) : browser_.pageNode(e.key);
}

Value ChromiumAx::readNode(const LiveElement& e, const PageTree& page, const PageNode& n, std::string_view name) {
  auto window = [] { return LiveElement::make(Kind::window); };
  const int index = static_cast<int>(&n - page.nodes.data());
  if (name == "AXRole") return n.role;
  if (name == "AXSubrole") return n.subrole.empty() ? missing(Error::noValue) : Value(n.subrole);
  if (name == "AXTitle") return n.title;
  if (name == "AXDescription") return n.desc;
  if (name == "AXHelp") return n.help;
  if (name == "AXPlaceholderValue") return n.placeholder.empty() ? missing(Error::noValue) : Value(n.placeholder);
  if (name == "AXValue") {
    if (n.valueKind == PageNode::ValueKind::text) return n.text;
    if (n.valueKind == PageNode::ValueKind::number) return n.number;
    return missing(Error::noValue);
  }
  if (name == "AXEnabled") return n.enabled;
  if (name == "AXFocused") return page.focused == index;
  if (name == "AXHidden") return false;
  if (name == "AXPosition") return n.frame ? Value(Point{n.frame->x, n.frame->y}) : missing(Error::noValue);
  if (name == "AXSize") return n.frame ? Value(Size{n.frame->width, n.frame->height}) : missing(Error::noValue);
  if (name == "AXChildren") {
    std::vector<ElementRef> children;
    for (int c : n.children)
      children.push_back(LiveElement::make(Kind::page, e.target, page.nodes[static_cast<size_t>(c)].key));
    return children;
  }
  if (name == "AXParent") {
    if (n.parent < 0) return window();
    return LiveElement::make(Kind::page, e.target, page.nodes[static_cast<size_t>(n.parent)].key);
  }
  if (name == "AXWindow" || name == "AXTopLevelUIElement") return window();
  if (name == "AXURL") return n.url.empty() ? missing(Error::noValue) : Value(ax::Url{n.url});
  if (name == "AXLoaded" && n.role == "AXWebArea") return true;
  return missing();
}

std::optional<std::vector<Value>> ChromiumAx::copyMultipleAttributeValues(const ElementRef& element,
                                                                          std::span<const std::string> names) {
  auto turn = browser_.take();
  auto* e = element.as<LiveElement>();
  if (!e) return std::nullopt;
  try {
    if (e->kind == Kind::window || e->kind == Kind::application) browser_.revalidate();
    std::vector<Value> out;
    out.reserve(names.size());
    // A crawl asks each page element for a dozen attributes at once: find its node once.
    if (e->kind == Kind::page) {
      const bool children = std::find(names.begin(), names.end(), "AXChildren") != names.end();
      const PageNode* node = resolve(*e, children);
      if (!node) return std::nullopt;
      const PageTree& page = browser_.page();
      for (const auto& n : names) out.push_back(readNode(*e, page, *node, n));
      return out;
    }
    for (const auto& n : names) {
      Value v = read(*e, n);
      if (auto* f = std::get_if<ax::Failed>(&v); f && f->error == Error::invalidUIElement) return std::nullopt;
      out.push_back(std::move(v));
    }
    return out;
  } catch (const CdpError&) {
    return std::nullopt;
  }
}

Error ChromiumAx::copyAttributeValue(const ElementRef& element, std::string_view name, Value& out) {
  auto turn = browser_.take();
  auto* e = element.as<LiveElement>();
  if (!e) return Error::illegalArgument;
  try {
    if (e->kind == Kind::window || e->kind == Kind::application) browser_.revalidate();
    Value v = read(*e, name);
    if (auto* f = std::get_if<ax::Failed>(&v)) return f->error;
    out = std::move(v);
    return Error::success;
  } catch (const CdpError&) {
    return Error::cannotComplete;
  }
}

Error ChromiumAx::isAttributeSettable(const ElementRef& element, std::string_view name, bool& settable) {
  auto turn = browser_.take();
  settable = false;
  auto* e = element.as<LiveElement>();
  if (!e) return Error::illegalArgument;
  try {
    Value probe = read(*e, "AXRole");
    if (std::holds_alternative<ax::Failed>(probe)) return std::get<ax::Failed>(probe).error;
    if (e->kind == Kind::application) settable = name == "AXManualAccessibility" || name == "AXEnhancedUserInterface";
    else if (e->kind == Kind::page) {
      const PageNode* n = browser_.page().find(e->key);
      if (!n) return Error::invalidUIElement;
      if (name == "AXValue") settable = n->valueSettable || n->role == "AXPopUpButton";
      else if (name == "AXFocused") settable = n->focusable;
    }
    return Error::success;
  } catch (const CdpError&) {
    return Error::cannotComplete;
  }
}

Error ChromiumAx::setAttributeValue(const ElementRef& element, std::string_view name, const Value& value) {
  auto turn = browser_.take();
  auto* e = element.as<LiveElement>();
  if (!e) return Error::illegalArgument;
  try {
    if (e->kind == Kind::application) {
      if (e->key != browser_.pid()) return Error::invalidUIElement;
      const bool* on = std::get_if<bool>(&value);
      if (!on) return Error::illegalArgument;
      if (name == "AXManualAccessibility") manualAccessibility_ = *on;
      else if (name == "AXEnhancedUserInterface") enhancedUserInterface_ = *on;
      else return Error::attributeUnsupported;
      return Error::success;
    }
    if (e->kind != Kind::page) return Error::attributeUnsupported;
    Value probe = read(*e, "AXRole");
    if (std::holds_alternative<ax::Failed>(probe)) return Error::invalidUIElement;
    PageNode n = *browser_.page().find(e->key);
    std::string shownAs = label(*e);
    if (name == "AXFocused") {
      const bool* on = std::get_if<bool>(&value);
      if (!on) return Error::illegalArgument;
      if (*on) {
        if (!n.focusable || e->key <= 0) return Error::cannotComplete;
        browser_.tabCall("DOM.focus", {{"backendNodeId", e->key}});
        events_.focus(n.role, shownAs);
      } else {
        browser_.callOnNode(e->key, "function() { this.blur(); }");
      }
      browser_.changed(false);
      return Error::success;
    }
    if (name == "AXValue") {
      if (!n.valueSettable && n.role != "AXPopUpButton") return Error::attributeUnsupported;
      std::string text;
      if (auto* s = std::get_if<std::string>(&value)) text = *s;
      else if (auto* d = std::get_if<double>(&value)) {
        std::ostringstream out;
        out << *d;
        text = out.str();
      } else return Error::illegalArgument;
      Json ok = browser_.callOnNode(e->key, kSetValue, Json::array({text}));
      browser_.changed(false);
      if (!ok.is_boolean() || !ok.get<bool>()) return Error::cannotComplete;
      events_.setValue(n.role, shownAs, text, n.secure);
      return Error::success;
    }
    return Error::attributeUnsupported;
  } catch (const CdpError&) {
    browser_.changed(false);
    return Error::cannotComplete;
  }
}

Error ChromiumAx::copyActionNames(const ElementRef& element, std::vector<std::string>& out) {
  auto turn = browser_.take();
  out.clear();
  auto* e = element.as<LiveElement>();
  if (!e) return Error::illegalArgument;
  try {
    Value probe = read(*e, "AXRole");
    if (auto* f = std::get_if<ax::Failed>(&probe)) return f->error;
    switch (e->kind) {
      case Kind::tab: out = {"AXPress"}; break;
      case Kind::button: out = {"AXPress", "AXShowMenu"}; break;
      case Kind::window: out = {"AXRaise"}; break;
      case Kind::page: {
        const PageNode* n = browser_.page().find(e->key);
        if (n->pressable) out.push_back("AXPress");
        out.push_back("AXShowMenu");
        out.push_back("AXScrollToVisible");
        if (n->parent < 0) {
          out.push_back("AXScrollDownByPage");
          out.push_back("AXScrollUpByPage");
        }
        break;
      }
      default: break;
    }
    return Error::success;
  } catch (const CdpError&) {
    return Error::cannotComplete;
  }
}

Error ChromiumAx::performAction(const ElementRef& element, std::string_view action) {
  auto turn = browser_.take();
  auto* e = element.as<LiveElement>();
  if (!e) return Error::illegalArgument;
  try {
    Value probe = read(*e, "AXRole");
    if (auto* f = std::get_if<ax::Failed>(&probe)) return f->error;
    if (action == "AXPress") return press(*e);
    if (action == "AXScrollToVisible" || action == "AXScrollDownByPage" || action == "AXScrollUpByPage")
      return e->kind == Kind::page ? scroll(*e, action) : Error::actionUnsupported;
    if (action == "AXShowMenu" && (e->kind == Kind::page || e->kind == Kind::button)) return Error::success;
    if (action == "AXRaise" && e->kind == Kind::window) return Error::success;
    return Error::actionUnsupported;
  } catch (const CdpError&) {
    browser_.changed(false);
    return Error::cannotComplete;
  }
}

Error ChromiumAx::press(const LiveElement& e) {
  switch (e.kind) {
    case Kind::tab: {
      auto tabs = browser_.tabs();
      for (size_t i = 0; i < tabs.size(); ++i)
        if (tabs[i].targetId == e.target) {
          events_.press("AXRadioButton", label(e));
          browser_.activate(static_cast<int>(i));
          return Error::success;
        }
      return Error::invalidUIElement;
    }
    case Kind::button: {
      Value enabled = read(e, "AXEnabled");
      if (std::holds_alternative<bool>(enabled) && !std::get<bool>(enabled)) return Error::cannotComplete;
      events_.press("AXButton", kButtonNames[e.key]);
      switch (e.key) {
        case LiveElement::back: browser_.goBack(); break;
        case LiveElement::forward: browser_.goForward(); break;
        case LiveElement::reload: browser_.reload(); break;
        default: browser_.openTab("about:blank"); break;
      }
      return Error::success;
    }
    case Kind::page: {
      const PageNode* n = browser_.page().find(e.key);
      if (!n) return Error::invalidUIElement;
      if (!n->pressable) return Error::actionUnsupported;
      events_.press(n->role, label(e));
      return pressPageNode(*n);
    }
    default: return Error::actionUnsupported;
  }
}

Error ChromiumAx::pressPageNode(const PageNode& node) {
  if (node.key <= 0) return Error::cannotComplete;
  std::int64_t key = node.key;
  Json point = browser_.callOnNode(key, kClickPoint);
  if (point.is_object() && point.value("reaches", false)) {
    // A real click at the element's centre, as a desktop browser's press does for web content.
    double x = point["x"], y = point["y"];
    Json base = {{"x", x}, {"y", y}, {"button", "left"}, {"clickCount", 1}};
    Json moved = {{"type", "mouseMoved"}, {"x", x}, {"y", y}};
    Json down = base, up = base;
    down["type"] = "mousePressed";
    up["type"] = "mouseReleased";
    browser_.tabCalls(
        {{"Input.dispatchMouseEvent", moved}, {"Input.dispatchMouseEvent", down}, {"Input.dispatchMouseEvent", up}});
  } else {
    browser_.callOnNode(key, "function() { this.click(); }");
  }
  browser_.changed(true);
  return Error::success;
}

Error ChromiumAx::scroll(const LiveElement& e, std::string_view action) {
  const PageNode* n = browser_.page().find(e.key);
  if (!n) return Error::invalidUIElement;
  std::string role = n->role, shownAs = label(e);
  if (action == "AXScrollToVisible") {
    if (n->parent >= 0) browser_.callOnNode(e.key, "function() { this.scrollIntoView({block: 'center'}); }");
  } else {
    const char* sign = action == "AXScrollDownByPage" ? "" : "-";
    browser_.evaluate(std::string("window.scrollBy({top: ") + sign + "innerHeight * 0.9, behavior: 'instant'})");
  }
  events_.scroll(std::string(action), role, shownAs);
  browser_.changed(false);
  return Error::success;
}

ElementRef ChromiumAx::chromeElementAt(Point at) {
  auto turn = browser_.take();
  auto inside = [&](const Rect& r) {
    return at.x >= r.x && at.y >= r.y && at.x < r.x + r.width && at.y < r.y + r.height;
  };
  auto frameOf = [&](const LiveElement& e) -> std::optional<Rect> {
    Value p = read(e, "AXPosition"), s = read(e, "AXSize");
    if (!std::holds_alternative<Point>(p) || !std::holds_alternative<Size>(s)) return std::nullopt;
    return Rect{std::get<Point>(p).x, std::get<Point>(p).y, std::get<Size>(s).width, std::get<Size>(s).height};
  };
  for (const auto& t : browser_.tabs()) {
    LiveElement tab(Kind::tab, t.targetId);
    if (auto f = frameOf(tab); f && inside(*f)) return LiveElement::make(Kind::tab, t.targetId);
  }
  for (std::int64_t i = 0; i < 4; ++i) {
    LiveElement b(Kind::button, "", i);
    if (auto f = frameOf(b); f && inside(*f)) return LiveElement::make(Kind::button, "", i);
  }
  return {};
}

}  // namespace skimlet::chromium
