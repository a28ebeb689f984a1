// One read of a tab's page as the desktop accessibility interface shows it: Chromium's full
// accessibility tree with ignored nodes flattened, roles translated, and every node's layout box
// turned into a frame in screen points.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <nlohmann/json.hpp>

#include "platform/geometry.h"

namespace skimlet::chromium {

struct PageNode {
  // Identity across reads: the DOM node's backend id, or a negative id for nodes without one.
  std::int64_t key = 0;
  int parent = -1;
  std::vector<int> children;
  std::string role, subrole, title, desc, help, placeholder, url;
  enum class ValueKind { none, text, number } valueKind = ValueKind::none;
  std::string text;   // the value when it is text
  double number = 0;  // the value when it is a number (heading level, check state)
  std::optional<Rect> frame;
  bool enabled = true;
  bool focused = false;
  bool focusable = false;
  bool valueSettable = false;
  bool secure = false;
  bool pressable = false;
  std::string tag;  // the DOM element's tag name, upper case; empty for text and pseudo nodes
};

struct PageTree {
  std::vector<PageNode> nodes;  // nodes[0] is the web area when the tree is not empty
  std::unordered_map<std::int64_t, int> byKey;
  int focused = -1;  // the focused node, else the web area
  std::string url, title;
  double scrollX = 0, scrollY = 0;
  double contentHeight = 0;

  const PageNode* find(std::int64_t key) const {
    auto it = byKey.find(key);
    return it == byKey.end() ? nullptr : &nodes[it->second];
  }
};

// Builds the tree from the answers of Accessibility.getFullAXTree and DOMSnapshot.captureSnapshot
// for a page whose viewport sits at `viewport` on the screen.
PageTree buildPageTree(const nlohmann::json& axTree, const nlohmann::json& domSnapshot, Rect viewport);

// Masks a secret the way the desktop shows a password field's value: one bullet per character.
std::string maskSecret(const std::string& text);

}  // namespace skimlet::chromium
