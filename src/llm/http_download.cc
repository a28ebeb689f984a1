#include "llm/http_download.h"

#include <curl/curl.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace skimlet {

namespace {

struct Transfer {
  std::FILE* out = nullptr;
  const DownloadProgress* progress = nullptr;
  bool stopped = false;
  bool writeFailed = false;
};

size_t onData(char* data, size_t size, size_t count, void* user) {
  auto* t = static_cast<Transfer*>(user);
  size_t n = size * count;
  if (std::fwrite(data, 1, n, t->out) != n) {
    t->writeFailed = true;
    return 0;  // makes curl stop with a write error
  }
  return n;
}

int onProgress(void* user, curl_off_t expected, curl_off_t received, curl_off_t, curl_off_t) {
  auto* t = static_cast<Transfer*>(user);
  if (*t->progress && !(*t->progress)(received, expected)) {
    t->stopped = true;
    return 1;
  }
  return 0;
}

void initOnce() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

}  // namespace

HttpDownloadResult httpDownload(const std::string& url, const std::filesystem::path& destination,
                                const DownloadProgress& progress) {
  initOnce();
  HttpDownloadResult result;
  Transfer t;
  t.progress = &progress;
  t.out = std::fopen(destination.c_str(), "wb");
  if (!t.out) {
    result.outcome = HttpDownloadResult::Outcome::transportError;
    result.error = std::strerror(errno);
    return result;
  }
  CURL* curl = curl_easy_init();
  char message[CURL_ERROR_SIZE] = {0};
  curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 10L);
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, onData);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &t);
  curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, onProgress);
  curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &t);
  curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, message);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, 30L);
  // A stalled connection (under 1 byte/s for a minute) is given up rather than hanging forever.
  curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
  curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, 60L);
  curl_easy_setopt(curl, CURLOPT_USERAGENT, "Skimlet");

  CURLcode code = curl_easy_perform(curl);
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &result.status);
  curl_easy_cleanup(curl);
  bool closed = std::fclose(t.out) == 0;
  std::error_code ec;
  auto size = std::filesystem::file_size(destination, ec);
  result.bytes = ec ? 0 : static_cast<int64_t>(size);

  if (t.stopped) {
    result.outcome = HttpDownloadResult::Outcome::cancelled;
  } else if (code == CURLE_PARTIAL_FILE) {
    result.outcome = HttpDownloadResult::Outcome::truncated;
  } else if (code != CURLE_OK || !closed) {
    result.outcome = HttpDownloadResult::Outcome::transportError;
    if (t.writeFailed || !closed) result.error = "couldn't write the file";
    else result.error = message[0] ? message : curl_easy_strerror(code);
  }
  return result;
}

}  // namespace skimlet
