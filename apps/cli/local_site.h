// A folder of local pages served read-only on a loopback address, so that a page opened from a
// file behaves as it would on the web: its links are http links, which Skimlet opens in new tabs
// (it never opens file links), and its relative links and resources resolve as usual.
//
// Only GET and HEAD of files inside the folder are answered; nothing outside it can be reached,
// and nothing listens beyond 127.0.0.1.
#pragma once

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>

namespace skimlet::cli {

class LocalSite {
 public:
  // Serves `root` on an ephemeral port of 127.0.0.1 until destroyed. Throws std::runtime_error
  // when no port can be had.
  explicit LocalSite(std::filesystem::path root);
  ~LocalSite();
  LocalSite(const LocalSite&) = delete;
  LocalSite& operator=(const LocalSite&) = delete;

  // "http://127.0.0.1:<port>/<relative>" for a file inside the folder.
  std::string url(const std::filesystem::path& file) const;

  // The file a request path names inside `root`, or an empty path when it names none (outside
  // the folder, not a regular file, or malformed). Query and fragment are ignored.
  static std::filesystem::path resolve(const std::filesystem::path& root, const std::string& requestPath);

 private:
  void serve();
  void answer(int client) const;

  std::filesystem::path root_;
  int listener_ = -1;
  int port_ = 0;
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

}  // namespace skimlet::cli
