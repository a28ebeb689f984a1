// A large synthetic page for the benchmarks: a long article of `elements` elements in the web
// area (navigation, headings, paragraphs with links, lists, small forms, images), the same on
// every run. Somewhere past the middle it holds one distinctive button, "Get the weekly
// newsletter" (no risky-click rule matches it, so a click presses it at once), and one sentence
// that answers "how much do tickets for the winter festival cost?" ("$12.50"), so whole commands
// have something real to find.
#pragma once

#include "backends/memory/recording.h"

namespace skimlet::bench {

memory::Recording largePage(int elements = 6000);

}  // namespace skimlet::bench
