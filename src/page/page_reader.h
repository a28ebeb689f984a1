// Turns a page's elements into readable lines, and lines into heading-led chunks: the form in
// which the page is shown as text, searched and handed to a language model.
#pragma once

#include <vector>

#include "page/page_element.h"
#include "page/page_snapshot.h"
#include "platform/ax.h"

namespace skimlet::PageReader {

// Chunk size used for snapshots; it suits ranking chunks against a question.
inline constexpr int chunkChars = 900;

// Roles that show their own text as their label, so text inside them is not a line of its own.
bool isInlineParent(std::string_view role);

// One pass in element order. Text runs of one paragraph, and links inside it, merge into one
// line; repeated short links and repeated buttons appear once. `live`, when given, is asked for
// a heading's level when the crawled value does not say it.
std::vector<PageLine> lines(const std::vector<PageElement>& elements, ax::Api* live = nullptr);

// Consecutive lines grouped under the heading before them, at most `maxChars` characters per
// chunk (a longer single line makes a chunk of its own; lines are never split).
std::vector<PageChunk> chunks(const std::vector<PageLine>& lines, int maxChars = chunkChars);

}  // namespace skimlet::PageReader
