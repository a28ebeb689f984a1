// skimlet record URL: opens a page in a fresh headless browser and prints what the
// accessibility interface shows of its window as a recording, ready to replay with
// `skimlet run --fixture` or to attach to a bug report.
#include <iostream>

#include "cli.h"

#if !defined(__APPLE__)
#include "backends/chromium/live_session.h"
#include "backends/chromium/recorder.h"
#include "platform/json_settings.h"
#endif

namespace skimlet::cli {
namespace {

int recordCommand(const Args& args);

const Command kRecord{"record", "record [--max-nodes N] URL",
                      "Prints a live page (URL or file) as a recording for `run --fixture`.", recordCommand};

int recordCommand(const Args& args) {
#if defined(__APPLE__)
  std::cerr << "skimlet record: recording needs the Chromium backend, which this build does not have\n";
  return 1;
#else
  std::string url;
  chromium::RecordLimits limits;
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--max-nodes" && i + 1 < args.size()) {
      try {
        limits.maxNodes = std::stoi(args[++i]);
      } catch (...) {
        return usageError(kRecord, "--max-nodes needs a number");
      }
      if (limits.maxNodes <= 0) return usageError(kRecord, "--max-nodes needs a positive number");
    } else if (!args[i].empty() && args[i][0] == '-') {
      return usageError(kRecord, "unknown option " + args[i]);
    } else if (url.empty()) {
      url = args[i];
    } else {
      return usageError(kRecord, "one URL at a time");
    }
  }
  if (url.empty()) return usageError(kRecord, "no URL given");
  if (!chromium::LiveSession::available()) {
    std::cerr << "skimlet record: " << chromium::LiveSession::kMissing << "\n";
    return 1;
  }
  try {
    // A throwaway settings file: recording must not read or change the user's profile.
    JsonSettings settings("");
    auto session = chromium::LiveSession::open(url, settings);
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
