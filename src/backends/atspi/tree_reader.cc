#include "backends/atspi/tree_reader.h"

#include <atspi/atspi-constants.h>

#include <chrono>
#include <thread>
#include <unordered_map>

namespace skimlet::atspi::TreeReader {

namespace {

constexpr const char* kAccessible = "org.a11y.atspi.Accessible";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";

double secondsSince(std::chrono::steady_clock::time_point t) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t).count();
}

Call call(const ObjectRef& o, const char* iface, const char* method, GVariant* args = nullptr) {
  return Call{o.bus, o.path, iface, method, args};
}

std::string str(GVariant* v) {
  if (!v || !g_variant_is_of_type(v, G_VARIANT_TYPE_STRING)) return {};
  return g_variant_get_string(v, nullptr);
}

ObjectRef refIn(GVariant* v) {
  if (!v || !g_variant_is_of_type(v, G_VARIANT_TYPE("(so)"))) return {};
  const char* bus = nullptr;
  const char* path = nullptr;
  g_variant_get(v, "(&s&o)", &bus, &path);
  return {bus, path};
}

// A frame from GetExtents' (iiii); none when the browser does not know it yet.
std::optional<Rect> extentsIn(const Reply& r) {
  if (!r || !g_variant_is_of_type(r.body(), G_VARIANT_TYPE("((iiii))"))) return std::nullopt;
  gint32 x, y, w, h;
  g_variant_get(r.body(), "((iiii))", &x, &y, &w, &h);
  if (x == -1 && y == -1 && w == -1 && h == -1) return std::nullopt;
  return Rect{double(x), double(y), double(w), double(h)};
}

void takeAttributes(Node& n, GVariant* dict) {
  if (!dict) return;
  GVariantIter it;
  g_variant_iter_init(&it, dict);
  const char* k;
  const char* v;
  while (g_variant_iter_next(&it, "{&s&s}", &k, &v)) {
    std::string_view key(k);
    if (key == "level") n.level = v;
    else if (key == "placeholder-text" || key == "placeholder") n.placeholder = v;
    else if (key == "text-input-type") n.inputType = v;
    else if (key == "xml-roles") n.xmlRoles = v;
    else if (key == "DocURL" || key == "URI") n.url = v;
  }
}

void takeFirst(Node& n, const Reply& role, const Reply& state, const Reply& props) {
  if (!role || !state || !props) return;
  n.answered = true;
  g_variant_get(role.body(), "(u)", &n.role);
  if (GVariant* words = state.first()) {
    gsize count = 0;
    const guint32* w = static_cast<const guint32*>(g_variant_get_fixed_array(words, &count, sizeof(guint32)));
    if (count > 0) n.states.low = w[0];
    if (count > 1) n.states.high = w[1];
    g_variant_unref(words);
  }
  if (GVariant* dict = props.first()) {
    GVariantIter it;
    g_variant_iter_init(&it, dict);
    const char* key;
    GVariant* value;
    while (g_variant_iter_next(&it, "{&sv}", &key, &value)) {
      std::string_view k(key);
      if (k == "Name") n.name = str(value);
      else if (k == "Description") n.description = str(value);
      else if (k == "Parent") n.parent = refIn(value);
      else if (k == "ChildCount" && g_variant_is_of_type(value, G_VARIANT_TYPE_INT32))
        n.childCount = g_variant_get_int32(value);
      g_variant_unref(value);
    }
    g_variant_unref(dict);
  }
}

bool wantsActionName(std::uint32_t role) {
  if (role == ATSPI_ROLE_LABEL) return false;
  std::string r = mapRole(role, {}).role;
  return r == "AXGroup" || r == "AXCell" || r == "AXImage" || r == "AXRow";
}

// Asks again for the extents the browser did not know yet: a freshly loaded page has many, and
// they settle within a few tens of milliseconds. Some objects never have any (the options of a
// closed list), so rounds stop once the unknown ones are few or stop getting fewer.
void settleExtents(Bus& bus, std::vector<Node>& nodes, ReadStats* stats) {
  auto start = std::chrono::steady_clock::now();
  std::vector<std::size_t> unknown;
  for (std::size_t i = 0; i < nodes.size(); ++i)
    if (nodes[i].answered && !nodes[i].frame) unknown.push_back(i);
  std::size_t before = unknown.size() + 1;
  for (int round = 0; round < 8 && unknown.size() * 20 > nodes.size() && unknown.size() < before; ++round) {
    before = unknown.size();
    std::this_thread::sleep_for(std::chrono::milliseconds(25));
    std::vector<Call> calls;
    for (std::size_t i : unknown)
      calls.push_back(call(nodes[i].ref, "org.a11y.atspi.Component", "GetExtents", g_variant_new("(u)", 0u)));
    auto replies = bus.callAll(calls);
    std::vector<std::size_t> still;
    for (std::size_t k = 0; k < unknown.size(); ++k) {
      nodes[unknown[k]].frame = extentsIn(replies[k]);
      if (!nodes[unknown[k]].frame) still.push_back(unknown[k]);
    }
    unknown.swap(still);
    if (stats) {
      ++stats->extentRounds;
      stats->requests += calls.size();
    }
  }
  if (stats) stats->extentSeconds += secondsSince(start);
}

}  // namespace

std::vector<ObjectRef> refsIn(GVariant* array) {
  std::vector<ObjectRef> out;
  if (!array || !g_variant_is_of_type(array, G_VARIANT_TYPE("a(so)"))) return out;
  GVariantIter it;
  g_variant_iter_init(&it, array);
  const char* bus;
  const char* path;
  while (g_variant_iter_next(&it, "(&s&o)", &bus, &path)) out.push_back({bus, path});
  return out;
}

std::vector<Node> read(Bus& bus, const std::vector<ObjectRef>& objects, ReadStats* stats, bool settle) {
  std::vector<Node> nodes(objects.size());
  auto start = std::chrono::steady_clock::now();
  {
    std::vector<Call> calls;
    calls.reserve(objects.size() * 4);
    for (const auto& o : objects) {
      calls.push_back(call(o, kAccessible, "GetRole"));
      calls.push_back(call(o, kAccessible, "GetState"));
      calls.push_back(call(o, kProperties, "GetAll", g_variant_new("(s)", kAccessible)));
      calls.push_back(call(o, "org.a11y.atspi.Component", "GetExtents", g_variant_new("(u)", 0u)));
    }
    auto replies = bus.callAll(calls);
    for (std::size_t i = 0; i < objects.size(); ++i) {
      Node& n = nodes[i];
      n.ref = objects[i];
      takeFirst(n, replies[4 * i], replies[4 * i + 1], replies[4 * i + 2]);
      n.frame = extentsIn(replies[4 * i + 3]);
    }
    if (stats) {
      stats->firstSeconds += secondsSince(start);
      stats->requests += calls.size();
    }
  }

  start = std::chrono::steady_clock::now();
  enum class Want { text, attributes, uri, document, action, value };
  std::vector<Call> calls;
  std::vector<std::pair<std::size_t, Want>> asked;
  auto ask = [&](std::size_t i, Want w, Call c) {
    calls.push_back(std::move(c));
    asked.emplace_back(i, w);
  };
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const Node& n = nodes[i];
    if (!n.answered) continue;
    const ObjectRef& o = n.ref;
    if (mayHoldText(n.role))
      ask(i, Want::text, call(o, "org.a11y.atspi.Text", "GetText", g_variant_new("(ii)", 0, -1)));
    switch (n.role) {
      case ATSPI_ROLE_HEADING:
      case ATSPI_ROLE_ENTRY:
      case ATSPI_ROLE_LANDMARK: ask(i, Want::attributes, call(o, kAccessible, "GetAttributes")); break;
      case ATSPI_ROLE_LINK:
        ask(i, Want::uri, call(o, "org.a11y.atspi.Hyperlink", "GetURI", g_variant_new("(i)", 0)));
        break;
      case ATSPI_ROLE_DOCUMENT_WEB:
      case ATSPI_ROLE_DOCUMENT_FRAME:
        ask(i, Want::document, call(o, "org.a11y.atspi.Document", "GetAttributes"));
        break;
      case ATSPI_ROLE_SLIDER:
      case ATSPI_ROLE_SPIN_BUTTON:
      case ATSPI_ROLE_PROGRESS_BAR:
        ask(i, Want::value, call(o, kProperties, "Get", g_variant_new("(ss)", "org.a11y.atspi.Value", "CurrentValue")));
        break;
      default: break;
    }
    if (wantsActionName(n.role))
      ask(i, Want::action, call(o, "org.a11y.atspi.Action", "GetName", g_variant_new("(i)", 0)));
  }
  auto replies = bus.callAll(calls);
  for (std::size_t k = 0; k < asked.size(); ++k) {
    auto [i, want] = asked[k];
    Node& n = nodes[i];
    GVariant* v = replies[k].first();
    if (!v) continue;
    switch (want) {
      case Want::text: n.text = str(v); break;
      case Want::attributes:
      case Want::document: takeAttributes(n, v); break;
      case Want::uri: n.url = str(v); break;
      case Want::action: n.firstAction = str(v); break;
      case Want::value: {
        GVariant* inner = g_variant_get_variant(v);
        if (g_variant_is_of_type(inner, G_VARIANT_TYPE_DOUBLE)) n.value = g_variant_get_double(inner);
        g_variant_unref(inner);
        break;
      }
    }
    g_variant_unref(v);
  }
  if (stats) {
    stats->secondSeconds += secondsSince(start);
    stats->requests += calls.size();
    stats->nodes += nodes.size();
  }
  if (settle) settleExtents(bus, nodes, stats);
  return nodes;
}

std::vector<ObjectRef> children(Bus& bus, const ObjectRef& object) {
  Reply r = bus.call(call(object, kAccessible, "GetChildren"));
  GVariant* list = r.first();
  auto out = refsIn(list);
  if (list) g_variant_unref(list);
  return out;
}

std::vector<ObjectRef> matching(Bus& bus, const ObjectRef& root, const std::vector<int>& states,
                                const std::vector<int>& roles, int count) {
  // A match rule: states (a bit set of two words) and how they match, attributes, roles (a bit
  // set of four words), interfaces, and whether to invert.
  std::int32_t stateWords[2] = {0, 0};
  for (int s : states) stateWords[s / 32] |= std::int32_t(1u << (s % 32));
  std::int32_t roleWords[4] = {0, 0, 0, 0};
  for (int r : roles) roleWords[r / 32] |= std::int32_t(1u << (r % 32));
  GVariantBuilder attrs;
  g_variant_builder_init(&attrs, G_VARIANT_TYPE("a{ss}"));
  GVariant* rule = g_variant_new(
      "(@aii@a{ss}i@aii@asib)",
      g_variant_new_fixed_array(G_VARIANT_TYPE_INT32, stateWords, states.empty() ? 0 : 2, sizeof(std::int32_t)),
      states.empty() ? ATSPI_Collection_MATCH_NONE : ATSPI_Collection_MATCH_ALL, g_variant_builder_end(&attrs),
      ATSPI_Collection_MATCH_NONE,
      g_variant_new_fixed_array(G_VARIANT_TYPE_INT32, roleWords, roles.empty() ? 0 : 4, sizeof(std::int32_t)),
      roles.empty() ? ATSPI_Collection_MATCH_NONE : ATSPI_Collection_MATCH_ANY, g_variant_new_strv(nullptr, 0),
      ATSPI_Collection_MATCH_NONE, FALSE);
  Reply r = bus.call(
      call(root, "org.a11y.atspi.Collection", "GetMatches",
           g_variant_new("(@(aiia{ss}iaiiasib)uib)", rule, ATSPI_Collection_SORT_ORDER_CANONICAL, count, TRUE)),
      30);
  GVariant* list = r.first();
  auto out = refsIn(list);
  if (list) g_variant_unref(list);
  return out;
}

std::vector<Node> subtree(Bus& bus, const ObjectRef& root, ReadStats* stats) {
  auto start = std::chrono::steady_clock::now();
  std::vector<ObjectRef> objects{root};
  auto below = matching(bus, root, {}, {}, 0);
  objects.insert(objects.end(), below.begin(), below.end());
  if (stats) stats->listSeconds += secondsSince(start);
  std::vector<Node> nodes = read(bus, objects, stats);
  // The list is in document order, so each node's children are the later nodes naming it as
  // their parent, in list order.
  std::unordered_map<std::string, std::size_t> index;
  index.reserve(nodes.size());
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    nodes[i].childrenKnown = true;
    index.emplace(nodes[i].ref.key(), i);
  }
  for (std::size_t i = 1; i < nodes.size(); ++i) {
    auto it = index.find(nodes[i].parent.key());
    if (it != index.end() && it->second < i) nodes[it->second].children.push_back(nodes[i].ref);
  }
  return nodes;
}

std::vector<Node> chrome(Bus& bus, const ObjectRef& window) {
  // One burst a level: each object's role, state, names, extents and children together. The
  // browser's own controls need no text runs or link targets, and are laid out already.
  std::vector<Node> out;
  std::vector<ObjectRef> level{window};
  for (int depth = 0; depth < 40 && !level.empty(); ++depth) {
    std::vector<Call> calls;
    calls.reserve(level.size() * 5);
    for (const auto& o : level) {
      calls.push_back(call(o, kAccessible, "GetRole"));
      calls.push_back(call(o, kAccessible, "GetState"));
      calls.push_back(call(o, kProperties, "GetAll", g_variant_new("(s)", kAccessible)));
      calls.push_back(call(o, "org.a11y.atspi.Component", "GetExtents", g_variant_new("(u)", 0u)));
      calls.push_back(call(o, kAccessible, "GetChildren"));
    }
    auto replies = bus.callAll(calls);
    std::vector<ObjectRef> next;
    for (std::size_t i = 0; i < level.size(); ++i) {
      Node n;
      n.ref = level[i];
      takeFirst(n, replies[5 * i], replies[5 * i + 1], replies[5 * i + 2]);
      n.frame = extentsIn(replies[5 * i + 3]);
      bool document = n.role == ATSPI_ROLE_DOCUMENT_WEB || n.role == ATSPI_ROLE_DOCUMENT_FRAME;
      // Documents are read on their own when the page is; what is not visible is not read at all.
      if (n.answered && !document && n.states.has(ATSPI_STATE_VISIBLE)) {
        GVariant* list = replies[5 * i + 4].first();
        n.children = refsIn(list);
        n.childrenKnown = true;
        if (list) g_variant_unref(list);
        next.insert(next.end(), n.children.begin(), n.children.end());
      }
      if (n.answered) out.push_back(std::move(n));
    }
    level.swap(next);
  }
  return out;
}

}  // namespace skimlet::atspi::TreeReader
