#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>
#include <vector>

#include "llm/model_files.h"
#include "llm/model_store.h"
#include "support/http_server.h"
#include "support/paths.h"

namespace skimlet {
namespace {

namespace fs = std::filesystem;
using testing::HttpServer;

std::string ggufBody(size_t size) {
  std::string body = "GGUF";
  body.resize(size, '\x01');
  return body;
}

std::string slurp(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string failure(const ModelStore::State& s) {
  auto* f = std::get_if<ModelStore::Failed>(&s);
  return f ? f->message : "(not failed)";
}

class ModelStoreTest : public ::testing::Test {
 protected:
  static constexpr int64_t minimum = 64 * 1024;

  void SetUp() override { dir_ = fs::path(testing::scratchDir()) / "Skimlet"; }
  void TearDown() override { fs::remove_all(dir_.parent_path()); }

  // A store for `path` on the local server that records every state it reports.
  std::unique_ptr<ModelStore> store(const std::string& path) {
    ModelStore::Options options{server_.url(path), dir_, minimum};
    options.exactSize = exactSize;
    options.sha256 = sha256;
    auto s = std::make_unique<ModelStore>(options, [this](const ModelStore::State& st) {
      std::lock_guard lock(mutex_);
      seen_.push_back(st);
    });
    return s;
  }

  // Everything in the model folder: after any download there must be no partial file left.
  std::vector<std::string> folder() const {
    std::vector<std::string> names;
    if (fs::exists(dir_))
      for (auto& e : fs::directory_iterator(dir_)) names.push_back(e.path().filename().string());
    return names;
  }

  HttpServer server_;
  fs::path dir_;
  int64_t exactSize = 0;  // the known file, for the stores made by store(); none by default
  std::string sha256;
  std::mutex mutex_;
  std::vector<ModelStore::State> seen_;
};

TEST(ModelFilesTest, InstalledMeansAFullFileInTheFolder) {
  const char* oldXdg = getenv("XDG_DATA_HOME");
  std::string saved = oldXdg ? oldXdg : "";
  setenv("XDG_DATA_HOME", "/data/home", 1);
  EXPECT_EQ(ModelFiles::directory(), fs::path("/data/home/skimlet"));
  EXPECT_EQ(ModelFiles::modelPath(), fs::path("/data/home/skimlet/qwen2.5-1.5b-instruct-q4_k_m.gguf"));
  setenv("XDG_DATA_HOME", "relative/dir", 1);  // not absolute: ignored
  EXPECT_EQ(ModelFiles::directory(), fs::path(getenv("HOME")) / ".local/share/skimlet");
  if (oldXdg) setenv("XDG_DATA_HOME", saved.c_str(), 1);
  else unsetenv("XDG_DATA_HOME");
  EXPECT_EQ(ModelFiles::remoteURL(),
            "https://huggingface.co/Qwen/Qwen2.5-1.5B-Instruct-GGUF/resolve/main/qwen2.5-1.5b-instruct-q4_k_m.gguf");

  // Sizes around the limit, as sparse files.
  fs::path dir = testing::scratchDir();
  EXPECT_FALSE(ModelFiles::isInstalled(dir));
  fs::path model = dir / ModelFiles::fileName;
  std::ofstream(model).put('G');
  fs::resize_file(model, 899'999'999);
  EXPECT_FALSE(ModelFiles::isInstalled(dir));
  fs::resize_file(model, 900'000'000);
  EXPECT_TRUE(ModelFiles::isInstalled(dir));
  fs::remove(model);
  fs::create_directory(model);  // a folder of that name isn't a model
  EXPECT_FALSE(ModelFiles::isInstalled(dir));
  fs::remove_all(dir);
}

TEST_F(ModelStoreTest, DownloadInstallsTheModel) {
  std::string body = ggufBody(minimum);
  server_.route("/model", {200, body, std::nullopt, 8192, 1});
  auto s = store("/model");
  EXPECT_TRUE(std::holds_alternative<ModelStore::Missing>(s->state()));
  s->download();
  s->wait();
  ASSERT_TRUE(std::holds_alternative<ModelStore::Ready>(s->state())) << failure(s->state());
  EXPECT_EQ(slurp(s->modelPath()), body);
  EXPECT_EQ(folder(), std::vector<std::string>{ModelFiles::fileName});

  // Progress starts at 0, only grows, and the download ends ready.
  {
    // Released before the next store reports to the same observer list.
    std::lock_guard lock(mutex_);
    ASSERT_GE(seen_.size(), 3u);
    EXPECT_EQ(std::get<ModelStore::Downloading>(seen_.front()).progress, 0.0);
    double last = 0;
    for (size_t i = 0; i + 1 < seen_.size(); ++i) {
      double p = std::get<ModelStore::Downloading>(seen_[i]).progress;
      EXPECT_GE(p, last);
      last = p;
    }
    EXPECT_GT(last, 0.5);
    EXPECT_TRUE(std::holds_alternative<ModelStore::Ready>(seen_.back()));
  }

  // A new store finds the installed file; remove() deletes it.
  auto again = store("/model");
  EXPECT_TRUE(std::holds_alternative<ModelStore::Ready>(again->state()));
  again->remove();
  EXPECT_TRUE(std::holds_alternative<ModelStore::Missing>(again->state()));
  EXPECT_FALSE(fs::exists(again->modelPath()));
}

TEST_F(ModelStoreTest, RejectedDownloadsLeaveNothingBehind) {
  struct Case {
    const char* path;
    HttpServer::Response response;
    std::string message;
  };
  std::vector<Case> cases = {
      // The status is checked first, then the size, then the magic.
      {"/missing", {404, "Not Found"}, "Download failed (HTTP 404)"},
      {"/short", {200, ggufBody(minimum - 1)}, "Download was incomplete (received 65,535 bytes)"},
      {"/cut", {200, ggufBody(minimum / 2), size_t(minimum)}, "Download was incomplete"},
      {"/html",
       {200, "\n<html>" + std::string(minimum, ' ')},
       "Download failed: the server sent a web page (65,543 bytes), not the model"},
      {"/zeros", {200, std::string(minimum, '\0')}, "Downloaded file isn't a GGUF model"},
      {"/tiny", {200, "GG"}, "Download was incomplete (received 2 bytes)"},
      // A redirect loop is a redirect loop, not the status of its last answer.
      {"/loop",
       {302, "", std::nullopt, 0, 0, "text/plain", "/loop"},
       "Download failed: Maximum (10) redirects followed"},
  };
  for (auto& c : cases) {
    SCOPED_TRACE(c.path);
    server_.route(c.path, c.response);
    auto s = store(c.path);
    s->download();
    s->wait();
    EXPECT_EQ(failure(s->state()), c.message);
    EXPECT_TRUE(folder().empty());
  }

  // A failed download doesn't disturb a model that is already installed.
  std::string old = ggufBody(minimum + 7);
  std::ofstream(dir_ / ModelFiles::fileName, std::ios::binary) << old;
  auto s = store("/zeros");
  s->download();
  s->wait();
  EXPECT_EQ(failure(s->state()), "Downloaded file isn't a GGUF model");
  EXPECT_EQ(slurp(dir_ / ModelFiles::fileName), old);
  EXPECT_EQ(folder().size(), 1u);

  // Nothing listening at all: a transport error.
  auto offline = std::make_unique<ModelStore>(ModelStore::Options{"http://127.0.0.1:1/model", dir_, minimum});
  offline->download();
  offline->wait();
  EXPECT_EQ(failure(offline->state()).rfind("Download failed: ", 0), 0u) << failure(offline->state());
}

TEST_F(ModelStoreTest, OnlyTheKnownFileIsInstalledAndLeftoversGo) {
  // A partial file of a download that was killed; the next download clears it away.
  fs::create_directories(dir_);
  std::ofstream(dir_ / (std::string(ModelFiles::fileName) + ".part-AbC123")) << "half";
  auto idle = store("/none");
  ASSERT_EQ(idle->leftovers().size(), 1u);

  const std::string body = ggufBody(minimum + 10);
  server_.route("/model", {200, body});
  server_.route("/other", {200, ggufBody(minimum + 11)});
  exactSize = minimum + 10;
  sha256 = "0000000000000000000000000000000000000000000000000000000000000000";
  auto wrongHash = store("/model");
  wrongHash->download();
  wrongHash->wait();
  EXPECT_EQ(failure(wrongHash->state()), "Downloaded file isn't the expected model (its SHA-256 checksum differs)");
  EXPECT_TRUE(folder().empty());

  // The hash of ggufBody(minimum + 10), as sha256sum computes it.
  sha256 = "22095071c81e5788147b945970851fe5bcf2239b830305de0e1b15d6ab8385eb";
  auto wrongSize = store("/other");
  wrongSize->download();
  wrongSize->wait();
  EXPECT_EQ(failure(wrongSize->state()), "Downloaded file isn't the expected model (received 65,547 of 65,546 bytes)");
  auto right = store("/model");
  right->download();
  right->wait();
  EXPECT_TRUE(std::holds_alternative<ModelStore::Ready>(right->state())) << failure(right->state());
  EXPECT_EQ(folder(), std::vector<std::string>{ModelFiles::fileName});
}

TEST_F(ModelStoreTest, FolderThatCannotBeMadeFails) {
  fs::create_directories(dir_.parent_path());
  std::ofstream(dir_.parent_path() / "file") << "x";
  server_.route("/model", {200, ggufBody(minimum)});
  ModelStore s({server_.url("/model"), dir_.parent_path() / "file" / "Skimlet", minimum});
  s.download();
  s.wait();
  EXPECT_EQ(failure(s.state()).rfind("Couldn't save the model: ", 0), 0u) << failure(s.state());
  EXPECT_EQ(server_.hits("/model"), 0);
}

TEST_F(ModelStoreTest, OneDownloadAtATime) {
  // 1 MB at 4 kB every 5 ms: several seconds, plenty of time to cancel.
  server_.route("/slow", {200, ggufBody(1 << 20), std::nullopt, 4096, 5});
  auto s = store("/slow");
  s->download();
  s->download();
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (std::chrono::steady_clock::now() < deadline) {
    auto now = s->state();
    auto* d = std::get_if<ModelStore::Downloading>(&now);
    if (d && d->received > 16 * 1024) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  auto mid = s->state();
  ASSERT_TRUE(std::holds_alternative<ModelStore::Downloading>(mid));
  EXPECT_GT(std::get<ModelStore::Downloading>(mid).progress, 0.0);
  EXPECT_LT(std::get<ModelStore::Downloading>(mid).progress, 1.0);
  EXPECT_TRUE(!folder().empty());  // the partial file is there while it downloads...

  s->cancel();
  EXPECT_TRUE(std::holds_alternative<ModelStore::Missing>(s->state()));
  EXPECT_TRUE(folder().empty());  // ...and gone once cancelled
  EXPECT_EQ(server_.hits("/slow"), 1);

  // After a cancel a new download starts over and can finish.
  server_.route("/slow", {200, ggufBody(minimum)});
  s->download();
  s->wait();
  EXPECT_TRUE(std::holds_alternative<ModelStore::Ready>(s->state())) << failure(s->state());
  EXPECT_EQ(server_.hits("/slow"), 2);
}

}  // namespace
}  // namespace skimlet
