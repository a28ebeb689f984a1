// What a download's progress line says: how much has arrived of how much, and how fast it comes
// now. The speed is averaged over the last few seconds, so one slow read does not make the
// figure jump, and a stalled download falls to zero instead of showing its old speed forever.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <utility>

namespace skimlet {

class DownloadMeter {
 public:
  // `received` bytes so far at `seconds` (any steady clock). Call whenever progress arrives.
  void update(double seconds, std::int64_t received);
  void reset() { samples_.clear(); }
  // Bytes a second over the window; 0 until two samples are far enough apart.
  double bytesPerSecond() const;
  // "412 MB of 1.1 GB — 12.4 MB/s", "412 MB — 12.4 MB/s" when the size is unknown.
  std::string text(std::int64_t expected) const;

  // "940 MB", "1.1 GB", "512 KB": sizes as the Settings window shows them (decimal units).
  static std::string size(std::int64_t bytes);

 private:
  static constexpr double window_ = 3.0;  // seconds
  std::deque<std::pair<double, std::int64_t>> samples_;
};

}  // namespace skimlet
