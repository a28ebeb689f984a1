#include "backends/memory/recorded_ax.h"

#include <unordered_map>

#include "page/ax_helpers.h"

namespace skimlet::memory {

namespace {

enum class Attr {
  role,
  subrole,
  title,
  description,
  help,
  placeholder,
  value,
  url,
  position,
  size,
  enabled,
  hidden,
  focused,
  children,
  parent,
  window,
  topLevel,
  focusedWindow,
  mainWindow,
  windows,
  focusedUIElement,
  other
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

ax::Error text(const std::string& s, ax::Value& out) {
  if (s.empty()) return ax::Error::noValue;
  out = s;
  return ax::Error::success;
}

ax::Error read(BrowserState& s, LiveNode* n, std::string_view name, ax::Value& out) {
  if (!n) return ax::Error::cannotComplete;
  const Attr attr = attrOf(name);
  if (n->isApp) {
    switch (attr) {
      case Attr::role: out = std::string("AXApplication"); return ax::Error::success;
      case Attr::title: return text(n->title, out);
      case Attr::children:
      case Attr::windows: out = n->childRefs; return ax::Error::success;
      case Attr::focusedWindow:
      case Attr::mainWindow: out = s.window().ref; return ax::Error::success;
      case Attr::focusedUIElement:
        if (!s.focused) return ax::Error::noValue;
        out = s.focused->ref;
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
      case Attr::focused: out = (n == s.focused); return ax::Error::success;
      case Attr::children: out = n->childRefs; return ax::Error::success;
      case Attr::parent: out = n->parent->ref; return ax::Error::success;
      case Attr::window:
      case Attr::topLevel: out = s.window().ref; return ax::Error::success;
      default: break;
    }
  }
  if (auto it = n->extra.find(name); it != n->extra.end()) {
    out = it->second;
    return ax::Error::success;
  }
  return ax::Error::attributeUnsupported;
}

}  // namespace

std::optional<std::vector<ax::Value>> RecordedAx::copyMultipleAttributeValues(const ax::ElementRef& element,
                                                                              std::span<const std::string> names) {
  return browser_.with([&](BrowserState& s) -> std::optional<std::vector<ax::Value>> {
    if (s.readLatency > 0) browser_.clock().advance(s.readLatency);
    LiveNode* n = s.nodeOf(element);
    if (!n) return std::nullopt;
    std::vector<ax::Value> out(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
      ax::Error e = read(s, n, names[i], out[i]);
      if (e != ax::Error::success) out[i] = ax::Failed{e};
    }
    return out;
  });
}

ax::Error RecordedAx::copyAttributeValue(const ax::ElementRef& element, std::string_view name, ax::Value& out) {
  return browser_.with([&](BrowserState& s) { return read(s, s.nodeOf(element), name, out); });
}

ax::Error RecordedAx::setAttributeValue(const ax::ElementRef& element, std::string_view name, const ax::Value& value) {
  return browser_.with([&](BrowserState& s) {
    LiveNode* n = s.nodeOf(element);
    if (!n) return ax::Error::invalidUIElement;
    const Attr attr = attrOf(name);
    if (n->isApp) {
      if (attr != Attr::other) return ax::Error::attributeUnsupported;
      n->extra[std::string(name)] = value;
      ++s.writes[std::string(name)];
      return ax::Error::success;
    }
    if (attr == Attr::focused) {
      auto on = AX::flag(value);
      if (!on) return ax::Error::illegalArgument;
      ++s.writes[std::string(name)];
      if (*on) {
        s.focused = n;
        s.selectAll = false;
        s.log.focus(n->role, s.label(*n));
      } else if (s.focused == n) {
        s.focused = nullptr;
      }
      return ax::Error::success;
    }
    if (attr == Attr::value) {
      if (!n->settable) return ax::Error::attributeUnsupported;
      if (!std::holds_alternative<std::string>(value) && !std::holds_alternative<double>(value) &&
          !std::holds_alternative<bool>(value))
        return ax::Error::illegalArgument;
      ++s.writes[std::string(name)];
      n->value = value;
      if (n == s.focused) s.selectAll = false;
      s.log.setValue(n->role, s.label(*n), AX::str(value), n->secure());
      return ax::Error::success;
    }
    return ax::Error::attributeUnsupported;
  });
}

ax::Error RecordedAx::isAttributeSettable(const ax::ElementRef& element, std::string_view name, bool& settable) {
  return browser_.with([&](BrowserState& s) {
    LiveNode* n = s.nodeOf(element);
    if (!n) return ax::Error::invalidUIElement;
    const Attr attr = attrOf(name);
    settable = !n->isApp && ((attr == Attr::value && n->settable) || attr == Attr::focused);
    return ax::Error::success;
  });
}

ax::Error RecordedAx::copyActionNames(const ax::ElementRef& element, std::vector<std::string>& out) {
  return browser_.with([&](BrowserState& s) {
    LiveNode* n = s.nodeOf(element);
    if (!n) return ax::Error::invalidUIElement;
    out = n->actions;
    return ax::Error::success;
  });
}

ax::Error RecordedAx::performAction(const ax::ElementRef& element, std::string_view action) {
  return browser_.with([&](BrowserState& s) {
    LiveNode* n = s.nodeOf(element);
    if (!n) return ax::Error::invalidUIElement;
    if (n->isApp) return ax::Error::actionUnsupported;
    // Browsers scroll any web element into view, listed or not; other actions must be offered.
    const bool scrollIntoView = action == "AXScrollToVisible";
    if (!scrollIntoView && !n->has(action)) return ax::Error::actionUnsupported;
    if (action == "AXPress") {
      if (n->pressError) return static_cast<ax::Error>(*n->pressError);
      s.log.press(n->role, s.label(*n));
      if (n->role == "AXCheckBox" || n->role == "AXSwitch") {
        n->value = AX::flag(n->value).value_or(AX::str(n->value) == "1") ? 0.0 : 1.0;
      } else if (n->role == "AXRadioButton") {
        n->value = 1.0;
      }
      return ax::Error::success;
    }
    if (scrollIntoView || action == "AXScrollDownByPage" || action == "AXScrollUpByPage") {
      s.log.scroll(std::string(action), n->role, s.label(*n));
    }
    return ax::Error::success;
  });
}

ax::ElementRef RecordedAx::createApplication(Pid pid) {
  return browser_.with([&](BrowserState& s) { return s.applicationRef(pid); });
}

bool RecordedAx::isProcessTrusted(bool prompt) {
  return browser_.with([&](BrowserState& s) { return s.trusted; });
}

}  // namespace skimlet::memory
