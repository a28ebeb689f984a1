// Fuzz target: a recorded page as `skimlet run --fixture` loads it, then read as the engine
// reads a page (crawl, lines and chunks).
#include <cstdint>
#include <string_view>

#include "backends/memory/backend.h"
#include "backends/memory/recording.h"
#include "page/page_snapshot.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    skimlet::memory::Recording recording =
        skimlet::memory::parseRecording(std::string_view(reinterpret_cast<const char*>(data), size));
    skimlet::memory::Backend backend(std::move(recording));
    if (auto target = backend.target()) (void)skimlet::PageSnapshot::capture(*target, backend.platform());
  } catch (const skimlet::memory::RecordingError&) {
  }
  return 0;
}
