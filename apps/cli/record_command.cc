// skimlet record URL: opens a page in a fresh headless browser and prints what the
// accessibility interface shows of its window as a recording, ready to replay with
// `skimlet run --fixture` or to attach to a bug report.
#include <iostream>

#include "cli.h"
#include "options.h"
#include "page_argument.h"

#if !defined(__APPLE__)
#include "backends/chromium/live_session.h"
#include "backends/chromium/recorder.h"
#include "platform/json_settings.h"
#endif

namespace skimlet::cli {
namespace {

int recordCommand(const Args& args);

const Command kRecord{"record", "record [--max-nodes N] PAGE",
                      "Prints a live page (address, host or file) as a recording for `run --fixture`.", recordCommand};

int recordCommand(const Args& args) {
#if defined(__APPLE__)
  std::cerr << "skimlet record: recording needs the Chromium backend, which this build does not have\n";
  return 1;
#else
  std::string pageArgument;
  chromium::RecordLimits limits;
  OptionReader r(args);
  while (r.more()) {
    if (r.number("--max-nodes", limits.maxNodes)) continue;
    if (auto w = r.word(); w && pageArgument.empty()) pageArgument = *w;
    else if (w) r.fail("one page at a time");
  }
  if (!r.problem().empty()) return usageError(kRecord, r.problem());
  if (pageArgument.empty()) return usageError(kRecord, "no page given");
  if (!chromium::LiveSession::available()) {
    std::cerr << "skimlet record: " << chromium::LiveSession::kMissing << "\n";
    return 1;
  }
  try {
    // A throwaway settings file: recording must not read or change the user's profile.
    JsonSettings settings("");
    PageSource page(pageArgument);
    auto session = chromium::LiveSession::open(page.url(), settings);
    auto recording = chromium::recordApplication(session->ax(), session->app(), true, limits);
    session->close();
    if (recording.is_null()) {
      std::cerr << "skimlet record: the browser showed no window\n";
      return 1;
    }
    std::cout << recording.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
    return 0;
  } catch (const std::exception& e) {
    std::cerr << "skimlet record: " << e.what() << "\n";
    return 1;
  }
#endif
}

SKIMLET_COMMAND(kRecord);

}  // namespace
}  // namespace skimlet::cli
