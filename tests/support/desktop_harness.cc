#include "support/desktop_harness.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <thread>

#include <gio/gio.h>

extern char** environ;

namespace skimlet::testing {

namespace fs = std::filesystem;

namespace {

bool executable(const std::string& path) { return ::access(path.c_str(), X_OK) == 0; }

const char* browserPath(DesktopHarness::Browser b) {
  return b == DesktopHarness::Browser::firefox ? "/usr/bin/firefox-esr" : "/usr/bin/chromium";
}

// Preferences that keep a fresh Firefox profile from opening welcome pages, asking to be the
// default browser, or restoring tabs.
constexpr const char* kFirefoxPrefs = R"(user_pref("browser.shell.checkDefaultBrowser", false);
user_pref("browser.startup.homepage_override.mstone", "ignore");
user_pref("browser.aboutwelcome.enabled", false);
user_pref("datareporting.policy.dataSubmissionEnabled", false);
user_pref("toolkit.telemetry.reportingpolicy.firstRun", false);
user_pref("browser.tabs.warnOnClose", false);
user_pref("browser.sessionstore.resume_from_crash", false);
user_pref("browser.startup.page", 0);
user_pref("browser.newtabpage.enabled", false);
user_pref("browser.newtab.preload", false);
user_pref("app.update.auto", false);
user_pref("browser.translations.automaticallyPopup", false);
user_pref("extensions.autoDisableScopes", 15);
user_pref("browser.link.open_newwindow", 3);
)";

bool waitFor(const std::function<bool()>& ready, double seconds) {
  auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (std::chrono::steady_clock::now() < end) {
    if (ready()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return ready();
}

// Runs a program and returns what it printed on its first line (dbus-daemon's address).
std::string firstLineOf(const std::vector<std::string>& argv, pid_t& pid) {
  int fds[2];
  if (::pipe(fds) != 0) return "";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
  posix_spawn_file_actions_addclose(&actions, fds[0]);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t attr;
  posix_spawnattr_init(&attr);
  posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETPGROUP);
  std::vector<char*> args;
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  int rc = posix_spawn(&pid, args[0], &actions, &attr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attr);
  ::close(fds[1]);
  std::string line;
  if (rc == 0) {
    char c;
    while (::read(fds[0], &c, 1) == 1 && c != '\n') line += c;
  } else {
    pid = 0;
  }
  ::close(fds[0]);
  return line;
}

}  // namespace

std::string DesktopHarness::missing(Browser browser) {
  for (const char* p :
       {"/usr/bin/Xvfb", "/usr/bin/dbus-daemon", "/usr/libexec/at-spi-bus-launcher", "/usr/bin/openbox"})
    if (!executable(p)) return std::string(p) + " is not installed";
  if (!executable(browserPath(browser))) return std::string(browserPath(browser)) + " is not installed";
  return "";
}

pid_t DesktopHarness::spawn(const std::vector<std::string>& argv, bool ownGroup) {
  posix_spawnattr_t attr;
  posix_spawnattr_init(&attr);
  if (ownGroup) posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETPGROUP);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  // The desktop's programs talk a lot on their error output; keep the test log readable.
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  std::vector<char*> args;
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  pid_t pid = 0;
  int rc = posix_spawn(&pid, args[0], &actions, &attr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attr);
  if (rc != 0) throw std::runtime_error("cannot start " + argv[0]);
  processes_.push_back(pid);
  return pid;
}

std::unique_ptr<DesktopHarness> DesktopHarness::start(Browser browser, const std::string& url) {
  if (auto why = missing(browser); !why.empty()) throw std::runtime_error(why);
  std::unique_ptr<DesktopHarness> h(new DesktopHarness());

  // A display number nobody uses: Xvfb refuses one that is taken, so try a few.
  for (int n = 40 + (::getpid() % 300);; ++n) {
    const std::string number = std::to_string(n);
    const std::string socket = std::string("/tmp/.X11-unix/X").append(number);
    if (fs::exists(socket) || fs::exists(std::string("/tmp/.X").append(number).append("-lock"))) continue;
    h->display_ = std::string(":").append(number);
    h->spawn({"/usr/bin/Xvfb", h->display_, "-screen", "0", "1280x900x24", "-nolisten", "tcp"});
    if (waitFor([&] { return fs::exists(socket); }, 10)) break;
    throw std::runtime_error("Xvfb did not start");
  }
  ::setenv("DISPLAY", h->display_.c_str(), 1);

  pid_t busPid = 0;
  std::string address = firstLineOf({"/usr/bin/dbus-daemon", "--session", "--nofork", "--print-address=1"}, busPid);
  if (busPid) h->processes_.push_back(busPid);
  if (address.empty()) throw std::runtime_error("the session bus did not start");
  ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
  ::unsetenv("AT_SPI_BUS_ADDRESS");
  ::unsetenv("NO_AT_BRIDGE");

  h->spawn({"/usr/libexec/at-spi-bus-launcher", "--launch-immediately"});
  // The switch must be on before the browser starts: browsers join the bus only at start.
  bool on = waitFor(
      [] {
        GDBusConnection* session = g_dbus_connection_new_for_address_sync(
            std::getenv("DBUS_SESSION_BUS_ADDRESS"),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        if (!session) return false;
        GVariant* r = g_dbus_connection_call_sync(
            session, "org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", "Set",
            g_variant_new("(ssv)", "org.a11y.Status", "IsEnabled", g_variant_new_boolean(TRUE)), nullptr,
            G_DBUS_CALL_FLAGS_NO_AUTO_START, 1000, nullptr, nullptr);
        g_dbus_connection_close_sync(session, nullptr, nullptr);
        g_object_unref(session);
        if (r) g_variant_unref(r);
        return r != nullptr;
      },
      10);
  if (!on) throw std::runtime_error("the accessibility bus did not start");

  h->spawn({"/usr/bin/openbox"});
  std::this_thread::sleep_for(std::chrono::milliseconds(300));

  h->profile_ = (fs::temp_directory_path() / std::string("skimlet-desktop-")
                                                 .append(std::to_string(::getpid()))
                                                 .append(browser == Browser::firefox ? "-firefox" : "-chromium"))
                    .string();
  fs::remove_all(h->profile_);
  fs::create_directories(h->profile_);
  if (browser == Browser::firefox) {
    std::ofstream(h->profile_ + "/user.js") << kFirefoxPrefs;
    h->browserPid_ = h->spawn({"/usr/lib/firefox-esr/firefox-esr", "-profile", h->profile_, "--new-instance", url});
  } else {
    std::vector<std::string> argv = {"/usr/lib/chromium/chromium", "--user-data-dir=" + h->profile_,
                                     "--ozone-platform=x11",       "--no-first-run",
                                     "--no-default-browser-check", "--disable-gpu",
                                     "--password-store=basic",     "--disable-features=Translate",
                                     "--window-size=1200,850",     "--window-position=0,0"};
    if (::geteuid() == 0) argv.push_back("--no-sandbox");
    argv.push_back(url);
    h->browserPid_ = h->spawn(argv);
  }
  return h;
}

DesktopHarness::~DesktopHarness() {
  // Each program leads its own process group, so its helpers (renderers, the accessibility
  // registry) go with it.
  for (auto it = processes_.rbegin(); it != processes_.rend(); ++it) ::kill(-*it, SIGTERM);
  for (auto it = processes_.rbegin(); it != processes_.rend(); ++it) {
    bool gone = waitFor([pid = *it] { return ::waitpid(pid, nullptr, WNOHANG) != 0; }, 5);
    if (!gone) {
      ::kill(-*it, SIGKILL);
      ::waitpid(*it, nullptr, 0);
    }
  }
  if (!profile_.empty()) {
    std::error_code ec;
    fs::remove_all(profile_, ec);
  }
}

}  // namespace skimlet::testing
