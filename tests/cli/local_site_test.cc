// Serving a folder of local pages must never hand out anything outside the folder.
#include "local_site.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace skimlet::cli {
namespace {

namespace fs = std::filesystem;

class LocalSiteTest : public ::testing::Test {
 protected:
  void SetUp() override {
    base = fs::temp_directory_path() / ("skimlet-site-" + std::to_string(::getpid()));
    fs::remove_all(base);
    fs::create_directories(base / "site" / "sub");
    write(base / "site" / "shop page.html");
    write(base / "site" / "sub" / "index.html");
    write(base / "secret.txt");
    fs::create_symlink(base / "secret.txt", base / "site" / "escape.txt");
    root = fs::canonical(base / "site");
  }
  void TearDown() override { fs::remove_all(base); }
  static void write(const fs::path& p) { std::ofstream(p) << "x"; }

  fs::path base, root;
};

TEST_F(LocalSiteTest, RequestsReachOnlyFilesInsideTheFolder) {
  EXPECT_EQ(LocalSite::resolve(root, "/shop%20page.html?q=1#top"), root / "shop page.html");
  EXPECT_EQ(LocalSite::resolve(root, "/sub/"), root / "sub" / "index.html");
  for (const char* outside : {"/../secret.txt", "/%2e%2e/secret.txt", "/sub/../../secret.txt", "/escape.txt",
                              "/missing.html", "shop%20page.html", "/%00", "/%zz", ""}) {
    EXPECT_EQ(LocalSite::resolve(root, outside), fs::path()) << outside;
  }
}

TEST_F(LocalSiteTest, PagesGetLoopbackUrlsWithTheirPathEncoded) {
  LocalSite site(root);
  const std::string url = site.url(root / "shop page.html");
  EXPECT_EQ(url.rfind("http://127.0.0.1:", 0), 0u) << url;
  EXPECT_EQ(url.substr(url.rfind('/')), "/shop%20page.html");
}

}  // namespace
}  // namespace skimlet::cli
