// skimlet model status|download|remove|path: Skimlet's own language model on this machine.
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>

#include "cli.h"
#include "interrupt.h"
#include "llm/model_files.h"
#include "llm/model_store.h"

namespace skimlet::cli {
namespace {

namespace fs = std::filesystem;

int modelCommand(const Args& args);

const Command kModel{"model", "model status | download [--url URL] | remove | path",
                     "Skimlet's own language model: whether it is installed, fetching it once (Ctrl-C "
                     "stops without leaving a partial file), deleting it, where it lives.",
                     modelCommand};

std::string megabytes(int64_t bytes) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.1f MB", static_cast<double>(bytes) / 1e6);
  return buf;
}

int status() {
  const fs::path path = ModelFiles::modelPath();
  std::error_code ec;
  const auto size = fs::file_size(path, ec);
  std::cout << "Model: Qwen2.5 1.5B Instruct (Q4_K_M)\nFile:  " << path.string() << "\n";
  // A download that was killed leaves its partial file; say so, as it may be large.
  if (const auto parts = ModelStore::shared().leftovers(); !parts.empty()) {
    int64_t bytes = 0;
    for (const auto& p : parts) bytes += static_cast<int64_t>(fs::file_size(p, ec));
    std::cout << "Left over: " << parts.size() << " partial download" << (parts.size() == 1 ? "" : "s") << " ("
              << megabytes(bytes) << ") from an earlier run; skimlet model remove deletes "
              << (parts.size() == 1 ? "it" : "them") << "\n";
  }
  if (ModelFiles::isInstalled()) {
    std::cout << "State: installed (" << megabytes(static_cast<int64_t>(size)) << ")\n";
    return 0;
  }
  if (!ec) std::cout << "State: incomplete (" << megabytes(static_cast<int64_t>(size)) << "); download it again\n";
  else std::cout << "State: not installed; run: skimlet model download\n";
  return 1;
}

// One line on standard error, redrawn in place on a terminal; elsewhere (a log file) a line
// every tenth of the way.
class ProgressBar {
 public:
  explicit ProgressBar(bool terminal) : terminal_(terminal), started_(std::chrono::steady_clock::now()) {}

  void show(const ModelStore::Downloading& d) {
    std::lock_guard lock(mutex_);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
    const double rate = seconds > 0 ? static_cast<double>(d.received) / seconds : 0;
    if (!terminal_) {
      const int tenth = static_cast<int>(d.progress * 10);
      if (d.expected > 0 && tenth <= lastTenth_) return;
      if (d.expected <= 0 && d.received - lastReceived_ < 100'000'000) return;
      lastTenth_ = tenth;
      lastReceived_ = d.received;
    }
    std::string line;
    if (d.expected > 0) {
      constexpr int width = 30;
      const int filled = static_cast<int>(d.progress * width);
      line.assign("[")
          .append(static_cast<std::size_t>(filled), '#')
          .append(static_cast<std::size_t>(width - filled), '.');
      line.append("] ");
      char pct[16];
      std::snprintf(pct, sizeof pct, "%5.1f%%", d.progress * 100);
      line += pct + std::string("  ") + megabytes(d.received) + " of " + megabytes(d.expected);
    } else {
      line = "Downloaded " + megabytes(d.received);
    }
    line += "  " + megabytes(static_cast<int64_t>(rate)) + "/s";
    if (terminal_) std::cerr << "\r" << line << "\x1b[K" << std::flush;
    else std::cerr << line << "\n";
    drawn_ = true;
  }

  // Ends the redrawn line so that what follows starts on its own.
  void finish() {
    std::lock_guard lock(mutex_);
    if (terminal_ && drawn_) std::cerr << "\n";
    drawn_ = false;
  }

 private:
  std::mutex mutex_;
  bool terminal_;
  std::chrono::steady_clock::time_point started_;
  bool drawn_ = false;
  int lastTenth_ = -1;
  int64_t lastReceived_ = 0;
};

int download(const Args& args) {
  ModelStore::Options options;
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "--url" && i + 1 < args.size()) options.url = args[++i];
    else return usageError(kModel, "unexpected argument " + args[i]);
  }
  if (ModelFiles::isInstalled(options.directory)) {
    std::cout << "The model is already installed: " << (options.directory / ModelFiles::fileName).string() << "\n";
    return 0;
  }

  ProgressBar bar(::isatty(STDERR_FILENO));
  std::atomic<int64_t> received{0};
  ModelStore store(options, [&](const ModelStore::State& s) {
    if (auto* d = std::get_if<ModelStore::Downloading>(&s)) {
      received = d->received;
      bar.show(*d);
    }
  });
  const fs::path target = options.directory / ModelFiles::fileName;
  std::cerr << "Downloading " << options.url << "\n(about 1.1 GB, once) to " << target.string() << "\n";
  InterruptScope interrupt;
  store.download();
  while (std::holds_alternative<ModelStore::Downloading>(store.state())) {
    if (interrupt.interrupted()) {
      store.cancel();  // returns once the partial file is gone
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  store.wait();
  bar.finish();
  const ModelStore::State end = store.state();
  // The download may have finished just as Ctrl-C came; then the model is there.
  if (interrupt.interrupted() && !std::holds_alternative<ModelStore::Ready>(end)) {
    std::cerr << "Download stopped; nothing was installed.\n";
    return 130;
  }
  if (auto* f = std::get_if<ModelStore::Failed>(&end)) {
    std::cerr << "skimlet model download: " << f->message << "\n";
    // What came, when something did: a small answer is usually a web page (a sign-in or an
    // error page of a proxy), not the model.
    if (received > 0 && f->message.find("HTTP") == std::string::npos)
      std::cerr << "Received " << megabytes(received) << " from " << options.url
                << "; the model is about 1.1 GB, so the address answered with something else.\n";
    std::cerr << "To install the model by hand, fetch " << options.url
              << "\n(about 1.1 GB) on any machine and put it at " << target.string() << "\n";
    return 1;
  }
  std::cout << "Installed " << store.modelPath().string() << "\n";
  return 0;
}

int remove() {
  const fs::path path = ModelFiles::modelPath();
  std::error_code ec;
  if (const auto parts = ModelStore::shared().leftovers(); !parts.empty()) {
    const int64_t freed = ModelStore::shared().removeLeftovers();
    std::cout << "Removed " << parts.size() << " partial download" << (parts.size() == 1 ? "" : "s") << " ("
              << megabytes(freed) << ")\n";
  }
  if (!fs::exists(path, ec)) {
    std::cout << "No model at " << path.string() << "\n";
    return 0;
  }
  try {
    ModelStore::shared().remove();
  } catch (const std::exception& e) {
    std::cerr << "skimlet model remove: " << e.what() << "\n";
    return 1;
  }
  std::cout << "Removed " << path.string() << "\n";
  return 0;
}

int modelCommand(const Args& args) {
  if (args.empty()) return usageError(kModel, "which one: status, download, remove or path?");
  const std::string& what = args[0];
  if (what != "download" && args.size() > 1) return usageError(kModel, "unexpected argument " + args[1]);
  if (what == "status") return status();
  if (what == "download") return download(args);
  if (what == "remove") return remove();
  if (what == "path") {
    std::cout << ModelFiles::modelPath().string() << "\n";
    return 0;
  }
  return usageError(kModel, "unknown subcommand " + what);
}

SKIMLET_COMMAND(kModel);

}  // namespace
}  // namespace skimlet::cli
