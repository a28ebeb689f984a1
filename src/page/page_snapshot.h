// One read of the front browser window: the page's elements, the browser's own controls, and
// the page turned into readable lines and heading-led chunks.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "page/page_element.h"

namespace skimlet {

struct PageLine {
  enum class Kind { heading, text, link, button, field, image, item };
  std::string text;
  int elementID = 0;
  Kind kind = Kind::text;
  int level = 0;  // heading level; 0 for other kinds
};

struct PageChunk {
  std::string heading;  // empty for text before the first heading
  std::string text;     // the chunk's lines joined with "\n"
  int elementID = 0;    // the element of the chunk's first line
};

struct PageSnapshot {
  std::string browserName;
  std::string windowTitle;
  std::string pageTitle;
  std::string url;
  std::optional<PageElement> webArea;
  std::vector<PageElement> elements;  // the page
  std::vector<PageElement> chrome;    // the browser's own controls, plus the web area itself
  std::vector<PageLine> lines;
  std::vector<PageChunk> chunks;
  double captureTime = 0;

  // The page as plain text, as the read and copy commands show it.
  std::string text() const;
  // The last heading at or before an element, to say in which section something was found.
  std::optional<std::string> sectionTitle(int elementID) const;
};

}  // namespace skimlet
