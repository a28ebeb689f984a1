// Downloads Skimlet's own model once, at the user's request: progress, checks, and an atomic
// install into the model folder. Views observe its state through a callback.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "llm/model_files.h"

namespace skimlet {

class ModelStore {
 public:
  struct Downloading {
    double progress = 0;  // 0 to 1; stays 0 while the server hasn't said how big the file is
    int64_t received = 0;
    int64_t expected = 0;  // 0 when unknown
  };
  struct Failed {
    std::string message;
  };
  struct Missing {};
  struct Ready {};
  using State = std::variant<Downloading, Failed, Missing, Ready>;

  // Where to fetch from and where to install; tests point these at a local server and a
  // scratch folder with a small minimum size.
  struct Options {
    std::string url = ModelFiles::remoteURL();
    std::filesystem::path directory = ModelFiles::directory();
    int64_t minimumSize = ModelFiles::minimumDownloadSize;
    // The exact size and SHA-256 (lower-case hex) of the file; 0 and "" check neither.
    int64_t exactSize = ModelFiles::downloadSize;
    std::string sha256 = ModelFiles::downloadSHA256;
  };

  // Called with every new state, from whichever thread made the change (the download runs on
  // its own thread); the app forwards it to its main thread.
  using Observer = std::function<void(const State&)>;

  // The real model location and download.
  ModelStore();
  explicit ModelStore(Options options, Observer observer = {});
  // Cancels a running download and waits for it to clean up.
  ~ModelStore();
  ModelStore(const ModelStore&) = delete;
  ModelStore& operator=(const ModelStore&) = delete;

  // The process-wide store for the real model location.
  static ModelStore& shared();

  State state() const;
  void setObserver(Observer observer);
  std::filesystem::path modelPath() const { return options_.directory / ModelFiles::fileName; }

  // Starts a download unless one is already running.
  void download();
  // Stops a running download and waits until its partial file is gone; the state becomes
  // ready if a model was already installed, else missing.
  void cancel();
  // Waits until a running download has ended (for the command line and tests).
  void wait();
  // Deletes the installed model; the state becomes missing. Throws std::runtime_error with the
  // reason when the file exists but can't be deleted.
  void remove();
  // Partial files that an earlier download left behind (it was killed); a running download's
  // own partial file is locked and never listed.
  std::vector<std::filesystem::path> leftovers() const;
  // Deletes them; how many bytes that freed.
  int64_t removeLeftovers() const;

 private:
  void run();
  void finish(const std::filesystem::path& temp, long status);
  void setState(State s);
  bool installed() const;

  Options options_;
  // Held while a state change is made and delivered, so observers see changes in order; it is
  // recursive so an observer may call back into the store.
  std::recursive_mutex notifyMutex_;
  mutable std::mutex mutex_;  // guards state_ and observer_
  State state_;
  Observer observer_;
  std::atomic<bool> cancelRequested_{false};
  std::mutex workerMutex_;  // guards worker_
  std::thread worker_;
};

}  // namespace skimlet
