#include "page/crawler.h"

#include <array>
#include <unordered_set>

#include "page/ax_helpers.h"
#include "page/roles.h"
#include "text/text_util.h"

namespace skimlet::Crawler {
namespace {

enum Attr {
  kRole,
  kSubrole,
  kTitle,
  kValue,
  kDescription,
  kHelp,
  kEnabled,
  kPosition,
  kSize,
  kHidden,
  kPlaceholder,
  kChildren,
  kCount
};

const std::array<std::string, kCount>& attributeNames() {
  static const std::array<std::string, kCount> names = {
      "AXRole",    "AXSubrole",  "AXTitle", "AXValue",  "AXDescription",      "AXHelp",
      "AXEnabled", "AXPosition", "AXSize",  "AXHidden", "AXPlaceholderValue", "AXChildren"};
  return names;
}

struct Pending {
  ax::ElementRef element;
  std::optional<int> parent;
  int depth;
};

std::string cutValue(std::string text) {
  // A text of at most maxValueLength bytes cannot have more characters than that; only longer
  // ones pay for counting grapheme clusters.
  if (text.size() <= static_cast<std::size_t>(maxValueLength)) return text;
  return TextUtil::prefix(text, maxValueLength);
}

}  // namespace

bool readsActions(std::string_view role) {
  static const Roles::RoleSet extra = {"AXGroup", "AXCell", "AXUnknown", "AXRow", "AXImage"};
  return Roles::clickable(role) || extra.contains(role);
}

std::vector<PageElement> crawl(ax::Api& ax, Clock& clock, const ax::ElementRef& root, const Limits& limits) {
  std::vector<PageElement> out;
  if (!root) return out;
  const auto& names = attributeNames();
  std::vector<Pending> stack;
  stack.push_back({root, std::nullopt, 0});
  std::unordered_set<ax::ElementRef, ax::ElementRefHash> visited;
  const double deadline = clock.now() + limits.timeLimit;

  while (!stack.empty()) {
    Pending entry = std::move(stack.back());
    stack.pop_back();
    if (static_cast<int>(out.size()) >= limits.maxNodes) break;
    if (clock.now() > deadline) break;
    if (!visited.insert(entry.element).second) continue;

    std::vector<ax::Value> v = AX::multi(ax, entry.element, names);
    if (AX::flag(v[kHidden]).value_or(false)) continue;

    PageElement e;
    e.id = static_cast<int>(out.size());
    e.element = entry.element;
    e.parent = entry.parent;
    e.depth = entry.depth;
    e.role = AX::str(v[kRole]);
    e.subrole = AX::str(v[kSubrole]);
    const bool secure = e.subrole == "AXSecureTextField";
    if (readsActions(e.role)) e.actions = AX::actions(ax, entry.element);
    e.title = AX::str(v[kTitle]);
    if (!secure) e.value = cutValue(AX::str(v[kValue]));
    e.desc = AX::str(v[kDescription]);
    e.help = AX::str(v[kHelp]);
    e.placeholder = AX::str(v[kPlaceholder]);
    e.frame = AX::rect(v[kPosition], v[kSize]);
    e.enabled = AX::flag(v[kEnabled]).value_or(true);

    const bool descend =
        entry.depth < limits.maxDepth && !(limits.stopAtWebArea && e.role == "AXWebArea" && entry.depth >= 1);
    const int id = e.id;
    out.push_back(std::move(e));
    if (!descend) continue;
    if (auto* children = std::get_if<std::vector<ax::ElementRef>>(&v[kChildren])) {
      for (auto it = children->rbegin(); it != children->rend(); ++it) {
        if (*it) stack.push_back({std::move(*it), id, entry.depth + 1});
      }
    }
  }
  return out;
}

}  // namespace skimlet::Crawler
