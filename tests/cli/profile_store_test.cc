// The profile store's file: private, never lost to a corrupt file, a failed write, a symbolic
// link or a second process changing it at the same time.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/json_settings.h"

namespace skimlet {
namespace {

namespace fs = std::filesystem;

struct ProfileStore : ::testing::Test {
  fs::path dir = fs::path(::testing::TempDir()) /
                 ("profile_store_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
  void SetUp() override {
    fs::remove_all(dir);
    fs::create_directories(dir);
  }
  void TearDown() override { fs::remove_all(dir); }
  static std::string contents(const fs::path& p) {
    std::stringstream s;
    s << std::ifstream(p).rdbuf();
    return s.str();
  }
  static unsigned mode(const fs::path& p) {
    struct stat st;
    return ::stat(p.c_str(), &st) == 0 ? st.st_mode & 0777 : 0;
  }
};

TEST_F(ProfileStore, IsPrivateAndWrittenThroughALink) {
  const fs::path file = dir / "new" / "skimlet" / "settings.json";
  JsonSettings(file.string()).setString("profile.email", "ada@example.com");
  EXPECT_EQ(mode(file), 0600u);
  EXPECT_EQ(mode(file.parent_path()), 0700u);
  EXPECT_EQ(mode(file.parent_path().parent_path()), 0700u);

  // The link stays a link; the file it points to gets the change.
  const fs::path link = dir / "link.json";
  fs::create_symlink(file, link);
  JsonSettings(link.string()).setString("profile.name", "Ada");
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(JsonSettings(file.string()).string("profile.name"), "Ada");
  EXPECT_EQ(JsonSettings(file.string()).string("profile.email"), "ada@example.com");

  // A folder that cannot exist (a file is in the way) is a reported failure.
  std::ofstream(dir / "plain") << "x";
  JsonSettings blocked((dir / "plain" / "settings.json").string());
  blocked.setString("profile.name", "Ada");
  ASSERT_TRUE(blocked.saveError());
  EXPECT_NE(blocked.saveError()->find("Couldn't save to"), std::string::npos);
}

TEST_F(ProfileStore, ACorruptFileIsReportedAndKeptAside) {
  const fs::path file = dir / "settings.json";
  std::ofstream(file) << R"({"profile.name": "Ada", "profile.email": )";
  JsonSettings store(file.string());
  ASSERT_TRUE(store.problem());
  EXPECT_FALSE(store.string("profile.name"));
  store.setString("profile.phone", "555");
  EXPECT_FALSE(store.saveError());
  EXPECT_EQ(contents(dir / "settings.json.corrupt"), R"({"profile.name": "Ada", "profile.email": )");
  EXPECT_NE(store.problem()->find("settings.json.corrupt"), std::string::npos) << *store.problem();
  EXPECT_EQ(JsonSettings(file.string()).string("profile.phone"), "555");
}

TEST_F(ProfileStore, StoresMadeBeforeEachOtherKeepEveryChange) {
  // As three `profile set` at once: each read the file before any of them wrote it.
  const std::string file = (dir / "settings.json").string();
  JsonSettings a(file), b(file), c(file);
  a.setString("profile.name", "Ada");
  b.setString("profile.email", "ada@example.com");
  c.setString("profile.phone", "555");
  JsonSettings after(file);
  EXPECT_EQ(after.string("profile.name"), "Ada");
  EXPECT_EQ(after.string("profile.email"), "ada@example.com");
  EXPECT_EQ(after.string("profile.phone"), "555");
}

TEST_F(ProfileStore, ARelativeConfigHomeIsIgnored) {
  const char* home = std::getenv("HOME");
  ::setenv("XDG_CONFIG_HOME", "relative/config", 1);
  EXPECT_EQ(JsonSettings::defaultPath(), home ? std::string(home) + "/.config/skimlet/settings.json" : "");
  ::setenv("XDG_CONFIG_HOME", "/abs", 1);
  EXPECT_EQ(JsonSettings::defaultPath(), "/abs/skimlet/settings.json");
  ::unsetenv("XDG_CONFIG_HOME");
}

}  // namespace
}  // namespace skimlet
