// Reading many objects of a browser's accessibility tree at once. Plain synchronous reads cost
// a round trip per fact (seven to ten per node, seconds for a long page); here every request for
// every node goes out in one burst on Skimlet's own connection and the answers are gathered as
// they arrive: one burst for what every node needs (role, state, names and parent, extents),
// then one for what only some roles need (text, link targets, heading levels, actions, values).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "backends/atspi/a11y_bus.h"
#include "backends/atspi/atspi_element.h"
#include "backends/atspi/role_map.h"
#include "platform/geometry.h"

namespace skimlet::atspi {

struct Node {
  ObjectRef ref;
  bool answered = false;   // false: the object is gone or did not answer
  std::uint32_t role = 0;  // AtspiRole
  States states;
  std::string name, description;
  ObjectRef parent;
  int childCount = 0;
  std::optional<Rect> frame;                            // screen coordinates; none when unknown
  std::optional<std::string> text;                      // the Text interface's content, when it has one
  std::string level, placeholder, inputType, xmlRoles;  // object attributes
  std::string url;                                      // a link's target, a document's address
  std::string firstAction;                              // the name of its first action
  std::optional<double> value;                          // the Value interface's current value
  std::vector<ObjectRef> children;
  bool childrenKnown = false;
};

// Where a read's time went, for the benchmark.
struct ReadStats {
  double listSeconds = 0;    // the node list (the browser's own answer time for it)
  double firstSeconds = 0;   // the burst every node needs
  double secondSeconds = 0;  // the burst some roles need
  double extentSeconds = 0;  // re-reading extents the browser did not know yet
  int extentRounds = 0;
  std::size_t nodes = 0, requests = 0;
};

namespace TreeReader {

// The facts of each object, in the given order. With `settle`, extents the browser does not know
// yet are asked again (a page that has just loaded); the browser's own controls need not be.
std::vector<Node> read(Bus& bus, const std::vector<ObjectRef>& objects, ReadStats* stats = nullptr, bool settle = true);
// The object and all its descendants in document order, each with its children listed: the
// node list comes from one Collection.GetMatches call.
std::vector<Node> subtree(Bus& bus, const ObjectRef& root, ReadStats* stats = nullptr);
// A window's own controls, level by level, not entering web documents nor anything invisible.
std::vector<Node> chrome(Bus& bus, const ObjectRef& window);

std::vector<ObjectRef> children(Bus& bus, const ObjectRef& object);
// Descendants of root (in document order) that have all the given states (AtspiStateType) and,
// when roles is not empty, one of those roles. At most `count` (0: all).
std::vector<ObjectRef> matching(Bus& bus, const ObjectRef& root, const std::vector<int>& states,
                                const std::vector<int>& roles, int count);

// Reads a list of object references from a reply's a(so).
std::vector<ObjectRef> refsIn(GVariant* array);

}  // namespace TreeReader

}  // namespace skimlet::atspi
