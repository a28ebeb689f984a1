#include "llm/download_meter.h"

#include <cstdio>

namespace skimlet {

void DownloadMeter::update(double seconds, std::int64_t received) {
  samples_.emplace_back(seconds, received);
  // Keep one sample at or before the window's start, so the span covers the whole window.
  while (samples_.size() > 2 && samples_[1].first <= seconds - window_) samples_.pop_front();
}

double DownloadMeter::bytesPerSecond() const {
  if (samples_.size() < 2) return 0;
  const auto& [t0, b0] = samples_.front();
  const auto& [t1, b1] = samples_.back();
  if (t1 - t0 < 0.2) return 0;
  return static_cast<double>(b1 - b0) / (t1 - t0);
}

std::string DownloadMeter::size(std::int64_t bytes) {
  char out[32];
  const double b = static_cast<double>(bytes);
  if (b >= 1e9) std::snprintf(out, sizeof out, "%.1f GB", b / 1e9);
  else if (b >= 1e6) std::snprintf(out, sizeof out, "%.0f MB", b / 1e6);
  else if (b >= 1e3) std::snprintf(out, sizeof out, "%.0f KB", b / 1e3);
  else std::snprintf(out, sizeof out, "%lld bytes", static_cast<long long>(bytes));
  return out;
}

std::string DownloadMeter::text(std::int64_t expected) const {
  const std::int64_t received = samples_.empty() ? 0 : samples_.back().second;
  std::string s = size(received);
  if (expected > 0) s += " of " + size(expected);
  const double speed = bytesPerSecond();
  char rate[32];
  std::snprintf(rate, sizeof rate, "%.1f MB/s", speed / 1e6);
  return s + " \u2014 " + rate;
}

}  // namespace skimlet
