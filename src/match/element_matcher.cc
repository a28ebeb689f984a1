#include "match/element_matcher.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

#include "page/roles.h"
#include "text/text_util.h"

namespace skimlet::ElementMatcher {
namespace {

// Phrasings that sites use interchangeably for the same control. A query equal to one member is
// also tried as each of the others, at a slight discount so a literal hit still wins.
const std::vector<std::vector<std::string>>& aliasGroups() {
  static const std::vector<std::vector<std::string>> groups = {
      {"login", "log in", "sign in", "signin"},
      {"signup", "sign up", "register", "create account", "join"},
      {"logout", "log out", "sign out"},
      {"cart", "basket", "bag"},
      {"add to cart", "add to bag", "add to basket"},
  };
  return groups;
}

constexpr double aliasWeight = 0.95;
// A tooltip is a weaker name than the text on the control itself.
constexpr double helpWeight = 0.8;

std::string withoutSpaces(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  for (char c : s)
    if (c != ' ') out += c;
  return out;
}

bool isTextInput(const PageElement& e) { return Roles::textInput(e.role) || e.subrole == "AXSearchField"; }

bool hasAction(const PageElement& e, std::string_view action) {
  return std::find(e.actions.begin(), e.actions.end(), action) != e.actions.end();
}

const PageElement* byId(const std::vector<PageElement>& elements, int id) {
  if (id >= 0 && id < static_cast<int>(elements.size()) && elements[id].id == id) return &elements[id];
  for (const auto& e : elements)
    if (e.id == id) return &e;
  return nullptr;
}

const PageElement* parentOf(const PageElement& e, const std::vector<PageElement>& elements) {
  return e.parent ? byId(elements, *e.parent) : nullptr;
}

// The nearest ancestor that takes a press, if any.
const PageElement* pressableAncestor(const PageElement& e, const std::vector<PageElement>& elements) {
  const PageElement* p = parentOf(e, elements);
  for (int guard = 0; p && guard < 1000; ++guard) {
    if (canPress(*p)) return p;
    p = parentOf(*p, elements);
  }
  return nullptr;
}

// Text or an image inside an unnamed pressable container names that container, so it is
// judged by the container's kind: "the pricing link" is the text run inside an unnamed link.
bool fitsAsNameOf(const PageElement& e, const std::vector<PageElement>& elements, RoleHint role, MatchPurpose purpose) {
  if (purpose != MatchPurpose::click && purpose != MatchPurpose::link) return false;
  if (canPress(e) || (e.role != "AXStaticText" && e.role != "AXImage")) return false;
  const PageElement* up = pressableAncestor(e, elements);
  return up && up->label().empty() && fits(*up, role);
}

bool servesPurpose(const PageElement& e, const std::vector<PageElement>& elements, MatchPurpose purpose) {
  switch (purpose) {
    case MatchPurpose::find: return true;
    case MatchPurpose::field: return isTextInput(e);
    case MatchPurpose::click: {
      if (canPress(e) || isTextInput(e)) return true;
      const PageElement* up = pressableAncestor(e, elements);
      return up && up->label().empty();
    }
    case MatchPurpose::link: {
      if (e.role == "AXLink") return true;
      const PageElement* up = pressableAncestor(e, elements);
      return up && up->role == "AXLink" && up->label().empty();
    }
  }
  return false;
}

bool isAncestor(int ancestorId, const PageElement& e, const std::vector<PageElement>& elements) {
  const PageElement* p = parentOf(e, elements);
  for (int guard = 0; p && guard < 1000; ++guard) {
    if (p->id == ancestorId) return true;
    p = parentOf(*p, elements);
  }
  return false;
}

std::string quoted(std::string_view s) { return "“" + std::string(s) + "”"; }

}  // namespace

double score(std::string_view label, std::string_view query) {
  const std::string l = TextUtil::norm(label);
  const std::string q = TextUtil::norm(query);
  if (l.empty() || q.empty()) return 0;
  if (l == q) return 100;
  const std::string ls = withoutSpaces(l), qs = withoutSpaces(q);
  if (ls == qs) return 96;

  const std::vector<std::string> lt = TextUtil::tokens(l);
  std::vector<std::string> qt = TextUtil::contentTokens(q);
  if (qt.empty()) qt = TextUtil::tokens(q);
  const double extra = std::max(static_cast<double>(lt.size()) - static_cast<double>(qt.size()), 0.0);
  const double f = 1.0 / (extra * 0.07 + 1.0);

  double p = 0;
  if ((" " + l + " ").find(" " + q + " ") != std::string::npos) p = 82 * f + 8;
  else if (TextUtil::length(qs) >= 4 && ls.find(qs) != std::string::npos) p = 66 * f;

  double t = 0;
  if (!qt.empty()) {
    int hits = 0;
    for (const auto& token : qt) {
      bool hit = std::find(lt.begin(), lt.end(), token) != lt.end();
      if (!hit && TextUtil::length(token) >= 3)
        hit = std::any_of(lt.begin(), lt.end(), [&](const std::string& w) { return w.starts_with(token); });
      if (hit) ++hits;
    }
    if (hits > 0) {
      const double r = static_cast<double>(hits) / static_cast<double>(qt.size());
      t = 70 * r * r * f;
    }
  }
  return std::max(p, t);
}

double score(const PageElement& element, std::string_view query) {
  const std::vector<std::string> labels = element.labels();
  if (labels.empty()) return 0;

  std::vector<std::pair<std::string, double>> variants = {{std::string(query), 1.0}};
  const std::string q = TextUtil::norm(query);
  for (const auto& group : aliasGroups()) {
    if (std::find(group.begin(), group.end(), q) == group.end()) continue;
    for (const auto& member : group)
      if (member != q) variants.emplace_back(member, aliasWeight);
  }

  const std::string help = TextUtil::clean(element.help);
  double best = 0;
  for (std::size_t i = 0; i < labels.size(); ++i) {
    const double labelWeight = (i > 0 && labels[i] == help) ? helpWeight : 1.0;
    for (const auto& [variant, weight] : variants)
      best = std::max(best, score(std::string_view(labels[i]), std::string_view(variant)) * labelWeight * weight);
  }
  return best;
}

bool canPress(const PageElement& element) { return Roles::clickable(element.role) || hasAction(element, "AXPress"); }

bool fits(const PageElement& e, RoleHint role) {
  switch (role) {
    case RoleHint::any: return true;
    case RoleHint::button:
      if (e.role == "AXButton" || e.role == "AXPopUpButton" || e.role == "AXMenuButton" || e.role == "AXMenuItem")
        return true;
      return canPress(e) && e.role != "AXLink";
    case RoleHint::link:
    case RoleHint::result:  // a search result is followed as a link
      return e.role == "AXLink";
    case RoleHint::field: return isTextInput(e);
    case RoleHint::checkbox: return e.role == "AXCheckBox";
    case RoleHint::tab: return e.role == "AXTab";
    case RoleHint::image: return e.role == "AXImage";
    case RoleHint::heading: return e.role == "AXHeading";
  }
  return false;
}

const PageElement& pressable(const PageElement& element, const std::vector<PageElement>& elements) {
  if (canPress(element)) return element;
  const PageElement* up = pressableAncestor(element, elements);
  return up ? *up : element;
}

PageElement named(const PageElement& element, const std::vector<PageElement>& elements) {
  if (!element.label().empty()) return element;
  const PageElement* self = byId(elements, element.id);
  if (!self) return element;
  // The crawl is a pre-order walk: the element's descendants follow it, deeper than it.
  std::string words;
  for (auto i = static_cast<std::size_t>(self - elements.data()) + 1;
       i < elements.size() && elements[i].depth > element.depth; ++i) {
    const PageElement& inner = elements[i];
    if (inner.role != "AXStaticText" && inner.role != "AXImage") continue;
    if (std::string label = inner.label(); !label.empty()) words += (words.empty() ? "" : " ") + label;
  }
  PageElement copy = element;
  copy.title = TextUtil::clean(words);
  return copy;
}

double distance(const Rect& a, const Rect& b) {
  const double dx = std::max({0.0, b.x - (a.x + a.width), a.x - (b.x + b.width)});
  const double dy = std::max({0.0, b.y - (a.y + a.height), a.y - (b.y + b.height)});
  return std::hypot(dx, dy);
}

MatchList matches(const TargetSpec& target, const std::vector<PageElement>& elements, MatchPurpose purpose) {
  auto visible = [](const PageElement& e) { return e.frame && e.frame->hasArea() && e.role != "AXWebArea"; };

  std::vector<const PageElement*> candidates;
  for (const auto& e : elements) {
    if (!visible(e) || !servesPurpose(e, elements, purpose)) continue;
    if (fits(e, target.role) || fitsAsNameOf(e, elements, target.role, purpose)) candidates.push_back(&e);
  }

  std::vector<Match> found;
  if (TextUtil::clean(target.query).empty()) {
    const std::string reason = std::string(noun(target.role)) + " in document order";
    for (const PageElement* e : candidates) found.push_back({*e, 50, reason});
  } else {
    const std::string reason = "label matches " + quoted(target.query);
    for (const PageElement* e : candidates) {
      const double s = score(*e, target.query);
      if (s >= threshold) found.push_back({*e, s, reason});
    }
  }

  if (target.nextTo) {
    const PageElement* anchor = nullptr;
    double anchorScore = 0;
    for (const auto& e : elements) {
      if (!visible(e)) continue;
      const double s = score(e, *target.nextTo);
      if (s >= threshold && s > anchorScore) anchor = &e, anchorScore = s;
    }
    if (!anchor) return {};

    std::unordered_set<int> anchorAncestors;
    for (const PageElement* p = parentOf(*anchor, elements); p && anchorAncestors.insert(p->id).second;
         p = parentOf(*p, elements)) {
    }
    std::vector<Match> near;
    for (auto& m : found) {
      if (m.element.id == anchor->id || anchorAncestors.contains(m.element.id) ||
          isAncestor(anchor->id, m.element, elements))
        continue;
      const double d = distance(*m.element.frame, *anchor->frame);
      m.score = std::max(1.0, 100 - 0.125 * d);
      m.reason = "nearest to " + quoted(*target.nextTo) + " (" + std::to_string(static_cast<long long>(d)) + " pt)";
      near.push_back(std::move(m));
    }
    found = std::move(near);
  }

  std::stable_sort(found.begin(), found.end(), [](const Match& a, const Match& b) { return a.score > b.score; });

  if (!target.ordinal) return {std::move(found), false};
  const int n = *target.ordinal;
  const long count = static_cast<long>(found.size());
  const long index = n == -1 ? count - 1 : static_cast<long>(n) - 1;
  if (index < 0 || index >= count) return {{}, true};
  Match picked = std::move(found[index]);
  const std::string which = n == -1 ? std::string("last") : std::string("#").append(std::to_string(n));
  picked.reason = which + " of " + std::to_string(count) + " matching";
  return {{std::move(picked)}, true};
}

}  // namespace skimlet::ElementMatcher
