// One accessibility element of a page, flattened into plain fields by the crawler.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/ax.h"
#include "platform/geometry.h"

namespace skimlet {

struct PageElement {
  int id = 0;                 // position in the crawl's output; the element's identity there
  ax::ElementRef element;     // the live element
  std::optional<int> parent;  // id of the element whose children held this one
  int depth = 0;
  std::string role;
  std::string subrole;
  std::string title;
  std::string value;  // never read for secure text fields
  std::string desc;
  std::string help;
  std::string placeholder;
  std::optional<Rect> frame;
  bool enabled = true;
  std::vector<std::string> actions;  // read only for the roles that can act

  // The first non-empty candidate name, whitespace-cleaned. A text input's value is what the
  // user typed, so it is never taken as the field's name.
  std::string label() const;
  // Every non-empty candidate name, cleaned, in candidate order; duplicates kept.
  std::vector<std::string> labels() const;
};

}  // namespace skimlet
