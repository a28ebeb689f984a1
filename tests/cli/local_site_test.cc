// Serving a folder of local pages must never hand out anything outside the folder.
#include "local_site.h"
#include "page_argument.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <filesystem>
#include <fstream>
#include <string>

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

// browse, run --url and record read a page argument by one rule: a bare host is a web site, a
// name that is not there is a missing file, whatever its dots.
TEST(PageArgument, AddressesFilesHostsAndMissingFiles) {
  using K = PageArgument::Kind;
  const std::string existing = SKIMLET_SOURCE_DIR "/demo/shop.html";
  const std::vector<std::tuple<std::string, K, std::string>> cases = {
      {"https://example.com/a", K::address, "https://example.com/a"},
      {"about:blank", K::address, "about:blank"},
      {existing, K::file, existing},
      {"example.com", K::host, "https://example.com"},
      {"docs.example.org/guide/index.html", K::host, "https://docs.example.org/guide/index.html"},
      {"localhost:8080/x", K::host, "https://localhost:8080/x"},
      {"shop.html", K::missing, "shop.html"},
      {"pages/shop.html", K::missing, "pages/shop.html"},
      {"./example.com", K::missing, "./example.com"},
  };
  for (const auto& [argument, kind, text] : cases) {
    const PageArgument page = classifyPage(argument);
    EXPECT_EQ(std::tuple(page.kind, page.text), std::tuple(kind, text)) << argument;
  }
  EXPECT_THROW(PageSource("no/such/page.html"), std::runtime_error);
}

}  // namespace
}  // namespace skimlet::cli
