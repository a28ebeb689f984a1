// One HTTP(S) GET written straight to a file, with progress and a way to stop it (libcurl).
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace skimlet {

struct HttpDownloadResult {
  enum class Outcome { finished, cancelled, truncated, transportError };
  Outcome outcome = Outcome::finished;
  long status = 0;    // HTTP status of the final response after redirects; 0 when none came
  int64_t bytes = 0;  // bytes written to the file
  std::string error;  // what went wrong, for transportError
};

// Called now and then with the bytes received so far and the expected total (0 when the server
// did not say); returning false stops the transfer.
using DownloadProgress = std::function<bool(int64_t received, int64_t expected)>;

// Fetches `url`, following redirects, into `destination` (created or truncated). Never throws
// for network trouble; a destination that can't be opened is a transportError.
HttpDownloadResult httpDownload(const std::string& url, const std::filesystem::path& destination,
                                const DownloadProgress& progress);

}  // namespace skimlet
