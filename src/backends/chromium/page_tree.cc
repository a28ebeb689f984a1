#include "backends/chromium/page_tree.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <unordered_set>

#include "backends/chromium/role_map.h"
#include "text/text_util.h"

namespace skimlet::chromium {

using Json = nlohmann::json;

namespace {

// What the DOM snapshot tells about one DOM node.
struct DomInfo {
  std::string tag;
  std::string type, placeholder;
  std::optional<std::string> inputValue;
  std::optional<Rect> bounds;  // document coordinates
  bool clickable = false;
  bool pinned = false;
};

struct DomIndex {
  std::unordered_map<std::int64_t, DomInfo> byBackendId;
  double scrollX = 0, scrollY = 0, contentHeight = 0;
  bool sticky = false;  // some box is position: sticky
};

DomIndex indexSnapshot(const Json& snapshot) {
  DomIndex out;
  if (!snapshot.contains("documents") || snapshot["documents"].empty()) return out;
  const Json& strings = snapshot["strings"];
  static const std::string none;
  auto str = [&](const Json& idx) -> const std::string& {
    if (!idx.is_number_integer()) return none;
    int i = idx.get<int>();
    return i >= 0 && i < static_cast<int>(strings.size()) && strings[i].is_string()
               ? strings[i].get_ref<const std::string&>()
               : none;
  };
  const Json& doc = snapshot["documents"][0];  // the main frame; frames below are not read
  out.scrollX = doc.value("scrollOffsetX", 0.0);
  out.scrollY = doc.value("scrollOffsetY", 0.0);
  out.contentHeight = doc.value("contentHeight", 0.0);
  const Json& nodes = doc["nodes"];
  const Json& ids = nodes["backendNodeId"];
  const Json& names = nodes["nodeName"];
  const Json& attrs = nodes["attributes"];
  std::vector<std::int64_t> backend(ids.size());
  out.byBackendId.reserve(ids.size());
  for (size_t i = 0; i < ids.size(); ++i) {
    backend[i] = ids[i].get<std::int64_t>();
    DomInfo& info = out.byBackendId[backend[i]];
    const std::string& name = str(names[i]);
    if (!name.empty() && name[0] != '#' && name[0] != ':') info.tag = name;
    if (i < attrs.size()) {
      const Json& a = attrs[i];
      for (size_t k = 0; k + 1 < a.size(); k += 2) {
        const std::string& key = str(a[k]);
        if (key == "type") info.type = TextUtil::lower(str(a[k + 1]));
        else if (key == "placeholder") info.placeholder = str(a[k + 1]);
      }
    }
  }
  if (nodes.contains("inputValue")) {
    const Json& rare = nodes["inputValue"];
    for (size_t k = 0; k < rare["index"].size(); ++k) {
      size_t i = rare["index"][k].get<size_t>();
      if (i < backend.size()) out.byBackendId[backend[i]].inputValue = str(rare["value"][k]);
    }
  }
  if (nodes.contains("isClickable"))
    for (const Json& i : nodes["isClickable"]["index"])
      if (i.get<size_t>() < backend.size()) out.byBackendId[backend[i.get<size_t>()]].clickable = true;
  const Json& layout = doc["layout"];
  const Json& layoutNodes = layout["nodeIndex"];
  const Json& bounds = layout["bounds"];
  // The position style, when it was asked for: the first (and only) computed style listed.
  const Json* styles = layout.contains("styles") ? &layout["styles"] : nullptr;
  std::vector<char> fixed(backend.size(), 0);
  for (size_t k = 0; k < layoutNodes.size() && k < bounds.size(); ++k) {
    size_t i = layoutNodes[k].get<size_t>();
    const Json& b = bounds[k];
    if (i >= backend.size() || b.size() < 4) continue;
    DomInfo& info = out.byBackendId[backend[i]];
    if (info.bounds) continue;  // the first box is the element's own; later ones are continuations
    info.bounds = Rect{b[0].get<double>(), b[1].get<double>(), b[2].get<double>(), b[3].get<double>()};
    if (styles && k < styles->size() && !(*styles)[k].empty()) {
      const std::string& position = str((*styles)[k][0]);
      if (position == "fixed") fixed[i] = 1;
      else if (position == "sticky") out.sticky = true;
    }
  }
  // Whatever sits inside a fixed box stays with it. Nodes come in document order, parents first.
  if (nodes.contains("parentIndex")) {
    const Json& parents = nodes["parentIndex"];
    for (size_t i = 0; i < parents.size() && i < backend.size(); ++i) {
      int p = parents[i].is_number_integer() ? parents[i].get<int>() : -1;
      if (p >= 0 && static_cast<size_t>(p) < i && fixed[static_cast<size_t>(p)]) fixed[i] = 1;
      if (fixed[i]) out.byBackendId[backend[i]].pinned = true;
    }
  }
  return out;
}

std::string jsonText(const Json& v) {
  if (v.is_string()) return v.get<std::string>();
  if (v.is_number_integer()) return std::to_string(v.get<long long>());
  if (v.is_number()) {
    std::string s = std::to_string(v.get<double>());
    s.erase(s.find_last_not_of('0') + 1);
    if (!s.empty() && s.back() == '.') s.pop_back();
    return s;
  }
  if (v.is_boolean()) return v.get<bool>() ? "true" : "false";
  return "";
}

// The "value" member of one of the protocol's AXValue records.
const Json* inner(const Json& node, const char* key) {
  auto it = node.find(key);
  if (it == node.end() || !it->is_object()) return nullptr;
  auto v = it->find("value");
  return v == it->end() ? nullptr : &*v;
}

const std::unordered_set<std::string_view>& clickableRoles() {
  static const std::unordered_set<std::string_view> roles = {
      "AXButton",   "AXLink",        "AXCheckBox",     "AXRadioButton",
      "AXMenuItem", "AXPopUpButton", "AXMenuButton",   "AXDisclosureTriangle",
      "AXTab",      "AXSwitch",      "AXToolbarButton"};
  return roles;
}

// Whether Chromium's role never shows children on the desktop: dropped nodes and controls whose
// insides belong to them. Only a guess before the DOM is known, but one that never hides a child:
// DOM facts only ever turn a role into a leaf.
bool opaque(const Json& n) {
  if (n.value("ignored", false)) return false;
  const Json* roleValue = inner(n, "role");
  if (!roleValue || !roleValue->is_string()) return false;
  AxRole mapped = mapRole(roleValue->get_ref<const std::string&>(), RoleContext{});
  return mapped.role.empty() || mapped.leaf;
}

bool exposed(const Json& n) {
  if (n.value("ignored", false)) return false;
  const Json* roleValue = inner(n, "role");
  return !roleValue || !roleValue->is_string() ||
         !mapRole(roleValue->get_ref<const std::string&>(), RoleContext{}).role.empty();
}

bool hasChildren(const Json& n) {
  auto it = n.find("childIds");
  return it != n.end() && it->is_array() && !it->empty();
}

const std::string& nodeIdOf(const Json& n) {
  static const std::string none;
  auto it = n.find("nodeId");
  return it != n.end() && it->is_string() ? it->get_ref<const std::string&>() : none;
}

}  // namespace

struct PageTreeReader::Dom {
  DomIndex index;
};

PageTreeReader::PageTreeReader() : dom_(std::make_unique<Dom>()) {}

PageTreeReader::~PageTreeReader() = default;

const Json* PageTreeReader::raw(const std::string& id) const {
  auto it = byId_.find(id);
  return it == byId_.end() ? nullptr : it->second;
}

void PageTreeReader::take(Json& nodes, bool placed) {
  // A node's place in document order: its parent's path and its position among the parent's
  // children. An answer lists parents before their children (it goes through ignored nodes to
  // the first exposed ones below), so each parent's place is known by the time its children come.
  for (Json& n : nodes) {
    const std::string& id = nodeIdOf(n);
    if (id.empty() || byId_.count(id)) continue;
    byId_[id] = &n;
    if (exposed(n)) ++exposed_;
    if (!placed) continue;
    auto parentId = n.find("parentId");
    if (parentId == n.end() || !parentId->is_string()) continue;
    const std::string& pid = parentId->get_ref<const std::string&>();
    auto parentPath = paths_.find(pid);
    const Json* parent = raw(pid);
    if (parentPath == paths_.end() || !parent || !hasChildren(*parent)) continue;
    int position = 0;
    for (const Json& c : (*parent)["childIds"]) {
      if (c.is_string() && c.get_ref<const std::string&>() == id) break;
      ++position;
    }
    std::vector<int> path = parentPath->second;
    path.push_back(position);
    if (hasChildren(n) && !opaque(n) && !asked_.count(id)) toFetch_.emplace(path, id);
    paths_[id] = std::move(path);
  }
}

void PageTreeReader::addRoot(Json node) {
  auto owned = std::make_unique<Json>(Json::array({std::move(node)}));
  Json& nodes = *owned;
  answers_.push_back(std::move(owned));
  // The root has no parent: its path is empty, and it is the first node to ask about.
  take(nodes, false);
  if (nodes.empty() || nodeIdOf(nodes[0]).empty()) return;
  root_ = &nodes[0];
  paths_[nodeIdOf(nodes[0])] = {};
  if (hasChildren(nodes[0])) toFetch_.emplace(std::vector<int>{}, nodeIdOf(nodes[0]));
}

void PageTreeReader::addChildren(const std::string& parentId, Json nodes) {
  asked_.insert(parentId);
  fetched_.insert(parentId);
  if (!nodes.is_array()) return;
  auto owned = std::make_unique<Json>(std::move(nodes));
  Json& list = *owned;
  answers_.push_back(std::move(owned));
  take(list, true);
}

void PageTreeReader::addTree(Json nodes) {
  if (!nodes.is_array()) return;
  auto owned = std::make_unique<Json>(std::move(nodes));
  Json& list = *owned;
  answers_.push_back(std::move(owned));
  take(list, false);
  for (const Json& n : list)
    if (!n.contains("parentId")) {
      root_ = &n;
      break;
    }
}

std::optional<std::string> PageTreeReader::nextToFetch() {
  while (!toFetch_.empty()) {
    auto first = toFetch_.begin();
    std::string id = std::move(first->second);
    toFetch_.erase(first);
    if (asked_.insert(id).second) return id;
  }
  return std::nullopt;
}

bool PageTreeReader::ready(const Json& n) const {
  if (!hasChildren(n)) return true;
  bool arrived = fetched_.count(nodeIdOf(n)) > 0;
  for (const Json& id : n["childIds"]) {
    const Json* child = id.is_string() ? raw(id.get_ref<const std::string&>()) : nullptr;
    if (!child) {
      if (!arrived) return false;
      continue;  // asked for, and gone by then
    }
    if (child->value("ignored", false) && !ready(*child)) return false;
  }
  return true;
}

void PageTreeReader::collectMissing(const Json& n, std::vector<std::string>& out) const {
  if (!hasChildren(n)) return;
  bool arrived = fetched_.count(nodeIdOf(n)) > 0;
  bool missing = false;
  for (const Json& id : n["childIds"]) {
    const Json* child = id.is_string() ? raw(id.get_ref<const std::string&>()) : nullptr;
    if (!child) missing = missing || !arrived;
    else if (child->value("ignored", false)) collectMissing(*child, out);
  }
  if (missing) out.push_back(nodeIdOf(n));
}

std::vector<std::string> PageTreeReader::missingFor(int index) const {
  std::vector<std::string> out;
  auto it = pending_.find(index);
  if (it != pending_.end()) collectMissing(*it->second, out);
  return out;
}

bool PageTreeReader::expand(int index) {
  auto it = pending_.find(index);
  if (it == pending_.end()) return true;
  const Json* n = it->second;
  if (!ready(*n)) return false;
  pending_.erase(it);
  addChildren(*n, index);
  return true;
}

int PageTreeReader::indexOf(const std::string& nodeId) const {
  auto it = indexById_.find(nodeId);
  return it == indexById_.end() ? -1 : it->second;
}

void PageTreeReader::build(const Json& domSnapshot, Rect viewport) {
  dom_->index = indexSnapshot(domSnapshot);
  viewport_ = viewport;
  const DomIndex& dom = dom_->index;
  tree_.scrollX = dom.scrollX;
  tree_.scrollY = dom.scrollY;
  tree_.contentHeight = dom.contentHeight;
  if (root_) add(*root_, -1);
  if (!tree_.nodes.empty()) {
    tree_.nodes[0].frame = viewport_;
    if (tree_.focused < 0) tree_.focused = 0;
    tree_.title = tree_.nodes[0].title;
    tree_.url = tree_.nodes[0].url;
  }
}

// Adds the children of a node (in the place of an ignored node, to its parent) to `parent`.
void PageTreeReader::addChildren(const Json& n, int parent) {
  if (!n.contains("childIds")) return;
  for (const Json& id : n["childIds"]) {
    if (!id.is_string()) continue;
    if (const Json* child = raw(id.get_ref<const std::string&>())) add(*child, parent);
  }
}

void PageTreeReader::add(const Json& n, int parent) {
  const DomIndex& domIndex = dom_->index;
  if (n.value("ignored", false)) {
    addChildren(n, parent);
    return;
  }
  const Json* roleValue = inner(n, "role");
  static const std::string noRole;
  const std::string& cdpRole = roleValue && roleValue->is_string() ? roleValue->get_ref<const std::string&>() : noRole;
  // A handful of properties a node: looked through in place rather than indexed.
  auto propsIt = n.find("properties");
  const Json* props = propsIt != n.end() && propsIt->is_array() ? &*propsIt : nullptr;
  auto prop = [&](std::string_view name) -> const Json* {
    if (!props) return nullptr;
    for (const Json& p : *props) {
      auto key = p.find("name");
      if (key == p.end() || !key->is_string() || key->get_ref<const std::string&>() != name) continue;
      if (const Json* v = inner(p, "value")) return v;
    }
    return nullptr;
  };
  auto flag = [&](std::string_view name) {
    const Json* v = prop(name);
    return v && ((v->is_boolean() && v->get<bool>()) || (v->is_string() && v->get<std::string>() == "true"));
  };

  std::int64_t backendId = n.value("backendDOMNodeId", std::int64_t{0});
  const DomInfo* dom = nullptr;
  if (backendId) {
    auto it = domIndex.byBackendId.find(backendId);
    if (it != domIndex.byBackendId.end()) dom = &it->second;
  }
  RoleContext ctx;
  if (dom) {
    ctx.tagName = dom->tag;
    ctx.inputType = dom->type;
  }
  ctx.multiline = flag("multiline");
  if (const Json* e = prop("editable"); e && e->is_string()) ctx.editable = !e->get<std::string>().empty();
  AxRole mapped = mapRole(cdpRole, ctx);
  if (mapped.role.empty()) return;

  PageNode node;
  node.role = mapped.role;
  node.subrole = mapped.subrole;
  node.parent = parent;
  node.secure = node.subrole == "AXSecureTextField";
  node.tag = dom ? dom->tag : "";
  node.key = keyFor(n, backendId);

  const Json* nameValue = inner(n, "name");
  std::string name = nameValue ? jsonText(*nameValue) : "";
  if (const Json* d = inner(n, "description")) node.help = jsonText(*d);
  if (dom) node.placeholder = dom->placeholder;
  if (!node.placeholder.empty() && name == node.placeholder) name.clear();  // shown as placeholder
  switch (mapped.name) {
    case NamePlacement::title: node.title = name; break;
    case NamePlacement::description: node.desc = name; break;
    case NamePlacement::value:
      node.valueKind = PageNode::ValueKind::text;
      node.text = name;
      break;
    case NamePlacement::none: break;
  }
  if (const Json* u = prop("url"); u && u->is_string()) node.url = u->get<std::string>();

  // Values as the desktop reports them.
  const Json* axValue = inner(n, "value");
  if (node.role == "AXHeading") {
    if (const Json* level = prop("level"); level && level->is_number()) {
      node.valueKind = PageNode::ValueKind::number;
      node.number = level->get<double>();
    }
  } else if (node.role == "AXCheckBox" || (node.role == "AXRadioButton" && node.subrole.empty())) {
    const Json* checked = prop("checked");
    std::string c = checked ? jsonText(*checked) : "false";
    node.valueKind = PageNode::ValueKind::number;
    node.number = c == "true" ? 1 : c == "mixed" ? 2 : 0;
  } else if (node.subrole == "AXTabButton") {
    node.valueKind = PageNode::ValueKind::number;
    node.number = flag("selected") ? 1 : 0;
  } else if (node.role == "AXTextField" || node.role == "AXTextArea" || node.role == "AXComboBox") {
    std::string v = dom && dom->inputValue ? *dom->inputValue : axValue ? jsonText(*axValue) : "";
    node.valueKind = PageNode::ValueKind::text;
    node.text = node.secure ? maskSecret(v) : v;
    node.valueSettable = !flag("readonly") && !flag("disabled");
  } else if (node.role == "AXIncrementor" || node.role == "AXSlider") {
    // A number input or range: its value is a number the user may set, as on a desktop.
    std::string v = dom && dom->inputValue ? *dom->inputValue : axValue ? jsonText(*axValue) : "";
    double number = 0;
    if (auto [end, ec] = std::from_chars(v.data(), v.data() + v.size(), number); ec == std::errc() && !v.empty()) {
      node.valueKind = PageNode::ValueKind::number;
      node.number = number;
    }
    node.valueSettable = !flag("readonly") && !flag("disabled");
  } else if (axValue && node.valueKind == PageNode::ValueKind::none) {
    if (axValue->is_number()) {
      node.valueKind = PageNode::ValueKind::number;
      node.number = axValue->get<double>();
    } else {
      std::string v = jsonText(*axValue);
      if (!v.empty()) {
        node.valueKind = PageNode::ValueKind::text;
        node.text = v;
      }
    }
  }

  node.enabled = !flag("disabled");
  node.focusable = flag("focusable");
  node.focused = flag("focused");
  bool textInput = node.role == "AXTextField" || node.role == "AXTextArea" || node.role == "AXComboBox";
  node.pressable = clickableRoles().count(node.role) > 0 || (dom && dom->clickable) ||
                   (node.focusable && !textInput && node.role != "AXWebArea");

  node.pinned = dom && dom->pinned;
  if (parent >= 0 && dom && dom->bounds) {
    const Rect& b = *dom->bounds;
    node.frame = Rect{viewport_.x + b.x - domIndex.scrollX, viewport_.y + b.y - domIndex.scrollY, b.width, b.height};
  }
  if (parent < 0) {
    node.title = name;
    node.desc.clear();
  }

  int index = static_cast<int>(tree_.nodes.size());
  if (node.focused && node.role != "AXWebArea") tree_.focused = index;
  tree_.byKey[node.key] = index;
  tree_.nodes.push_back(std::move(node));
  if (parent >= 0) tree_.nodes[parent].children.push_back(index);
  indexById_[nodeIdOf(n)] = index;
  if (mapped.leaf) return;
  if (ready(n)) addChildren(n, index);
  else pending_[index] = &n;
}

bool PageTreeReader::scrollTo(double x, double y) {
  DomIndex& dom = dom_->index;
  if (dom.sticky) return false;
  double dx = x - dom.scrollX, dy = y - dom.scrollY;
  // The web area is the viewport itself and never moves.
  for (size_t i = 1; i < tree_.nodes.size(); ++i) {
    PageNode& n = tree_.nodes[i];
    if (!n.frame || n.pinned) continue;
    n.frame->x -= dx;
    n.frame->y -= dy;
  }
  dom.scrollX = tree_.scrollX = x;
  dom.scrollY = tree_.scrollY = y;
  return true;
}

void PageTreeReader::focus(int index) {
  if (tree_.nodes.empty()) return;
  if (tree_.focused >= 0) tree_.nodes[static_cast<size_t>(tree_.focused)].focused = false;
  bool onNode = index > 0 && static_cast<size_t>(index) < tree_.nodes.size();
  tree_.focused = onNode ? index : 0;
  if (onNode) tree_.nodes[static_cast<size_t>(index)].focused = true;
}

std::int64_t PageTreeReader::keyFor(const Json& n, std::int64_t backendId) {
  if (backendId > 0 && !tree_.byKey.count(backendId)) return backendId;
  // Nodes without a DOM node of their own: a negative key from the tree's own id.
  std::string id = n["nodeId"].get<std::string>();
  std::int64_t v = 0;
  std::from_chars(id.data(), id.data() + id.size(), v);
  std::int64_t key = v < 0 ? v : -(v + 1);
  while (tree_.byKey.count(key)) --key;
  return key;
}

std::string maskSecret(const std::string& text) {
  std::string out;
  for (unsigned char c : text)
    if ((c & 0xC0) != 0x80) out += "\u2022";
  return out;
}

PageTree buildPageTree(const Json& axTree, const Json& domSnapshot, Rect viewport) {
  PageTreeReader reader;
  if (axTree.contains("nodes")) reader.addTree(axTree["nodes"]);
  reader.build(domSnapshot, viewport);
  return reader.tree();
}

}  // namespace skimlet::chromium
