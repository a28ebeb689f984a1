#include "backends/chromium/browser_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>
#include <vector>

#include "backends/chromium/signal_cleanup.h"

namespace skimlet::chromium {

namespace {

bool executable(const std::string& path) { return !path.empty() && ::access(path.c_str(), X_OK) == 0; }

std::string onPath(const std::string& name) {
  const char* path = std::getenv("PATH");
  if (!path) return "";
  std::string all = path;
  size_t start = 0;
  while (start <= all.size()) {
    size_t end = all.find(':', start);
    if (end == std::string::npos) end = all.size();
    std::string candidate = all.substr(start, end - start) + "/" + name;
    if (executable(candidate)) return candidate;
    start = end + 1;
  }
  return "";
}

}  // namespace

std::string BrowserProcess::findExecutable(const std::string& preferred) {
  if (executable(preferred)) return preferred;
  if (const char* env = std::getenv("SKIMLET_CHROMIUM"); env && executable(env)) return env;
  // The Debian package's /usr/bin/chromium is a shell wrapper; the binary itself starts faster
  // and keeps the process id we hand out equal to the browser's.
  for (const char* p : {"/usr/lib/chromium/chromium", "/usr/lib/chromium-browser/chromium-browser"})
    if (executable(p)) return p;
  for (const char* name : {"chromium", "chromium-browser", "google-chrome", "google-chrome-stable"})
    if (auto found = onPath(name); !found.empty()) return found;
  return "";
}

BrowserProcess::BrowserProcess(const LaunchOptions& options) {
  std::string exe = findExecutable(options.executable);
  if (exe.empty()) throw std::runtime_error("Chromium is not installed (set SKIMLET_CHROMIUM to its path)");

  // The profile goes in the temporary folder ($TMPDIR, else /tmp). Ending signals wait while it is
  // made and registered, so a Ctrl-C in between cannot leave it behind unregistered.
  std::error_code ec;
  std::string dirTemplate = (std::filesystem::temp_directory_path(ec) / "skimlet-chromium-XXXXXX").string();
  if (ec) dirTemplate = "/tmp/skimlet-chromium-XXXXXX";
  sigset_t ending, previous;
  sigemptyset(&ending);
  for (int sig : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&ending, sig);
  ::pthread_sigmask(SIG_BLOCK, &ending, &previous);
  const bool made = ::mkdtemp(dirTemplate.data()) != nullptr;
  if (made) {
    profileDir_ = dirTemplate;
    signalHandle_ = cleanUpOnSignal(profileDir_);
  }
  ::pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  if (!made) throw std::runtime_error("cannot create a temporary browser profile");

  const char* display = std::getenv("DISPLAY");
  const char* wayland = std::getenv("WAYLAND_DISPLAY");
  headless_ = !(options.visible && ((display && *display) || (wayland && *wayland)));

  std::vector<std::string> args = {
      exe,
      "--remote-debugging-pipe",
      "--user-data-dir=" + profileDir_,
      "--no-first-run",
      "--no-default-browser-check",
      "--disable-background-networking",
      "--disable-component-update",
      "--disable-sync",
      "--disable-extensions",
      "--disable-default-apps",
      "--disable-features=Translate,MediaRouter,OptimizationHints",
      "--password-store=basic",
      "--use-mock-keychain",
      "--mute-audio",
      "--force-device-scale-factor=1",
      "--window-position=0,0",
      "--window-size=" + std::to_string(options.windowWidth) + "," + std::to_string(options.windowHeight),
  };
  if (headless_) args.push_back("--headless=new");
  if (::geteuid() == 0) args.push_back("--no-sandbox");  // the sandbox refuses to run as root
  args.push_back("about:blank");

  int commands[2], replies[2];
  if (::pipe2(commands, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
  if (::pipe2(replies, O_CLOEXEC) != 0) {
    ::close(commands[0]);
    ::close(commands[1]);
    throw std::runtime_error("pipe failed");
  }
  // Orphaned helper processes of the browser come back to us, so shutdown can reap them even
  // where the container's init does not.
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);

  std::vector<char*> argv;
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);

  const std::string profileDir = profileDir_;
  pid_t child = ::fork();
  if (child < 0) throw std::runtime_error("fork failed");
  if (child == 0) {
    ::setpgid(0, 0);
    // Move the pipe ends to 3 and 4 without clobbering each other; dup2 clears close-on-exec.
    int in = ::fcntl(commands[0], F_DUPFD_CLOEXEC, 10);
    int out = ::fcntl(replies[1], F_DUPFD_CLOEXEC, 10);
    ::dup2(in, 3);
    ::dup2(out, 4);
    int devnull = ::open("/dev/null", O_RDWR);
    if (devnull >= 0) {
      ::dup2(devnull, 0);
      if (!std::getenv("SKIMLET_CHROMIUM_LOG")) {
        ::dup2(devnull, 1);
        ::dup2(devnull, 2);
      }
    }
    // The crash reporter daemonizes out of our process group; with its database inside the
    // profile, its command line names the profile and shutdown can find it.
    ::setenv("XDG_CONFIG_HOME", profileDir.c_str(), 1);
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  ::setpgid(child, child);  // also from here, so the group exists whichever runs first
  pid_ = child;
  cleanUpGroupOnSignal(signalHandle_, pid_);
  ::close(commands[0]);
  ::close(replies[1]);
  toBrowser_ = commands[1];
  fromBrowser_ = replies[0];
  ::signal(SIGPIPE, SIG_IGN);  // a dead browser shows as a write error, not a dead Skimlet
}

BrowserProcess::~BrowserProcess() { shutdown(0.5); }

bool BrowserProcess::running() {
  if (exited_ || pid_ <= 0) return false;
  int status = 0;
  pid_t r = ::waitpid(pid_, &status, WNOHANG);
  if (r == pid_ || (r < 0 && errno == ECHILD)) exited_ = true;
  return !exited_;
}

std::vector<pid_t> BrowserProcess::helpers() const {
  std::vector<pid_t> found;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", ec)) {
    const std::string name = entry.path().filename().string();
    if (name.empty() || name.find_first_not_of("0123456789") != std::string::npos) continue;
    std::ifstream in(entry.path() / "cmdline", std::ios::binary);
    std::string cmdline((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (cmdline.find(profileDir_) != std::string::npos) found.push_back(static_cast<pid_t>(std::stol(name)));
  }
  return found;
}

void BrowserProcess::noteHelpers() {
  for (pid_t p : helpers())
    if (std::find(helpers_.begin(), helpers_.end(), p) == helpers_.end()) helpers_.push_back(p);
}

void BrowserProcess::shutdown(double seconds) {
  if (pid_ <= 0) return;
  auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (running() && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  // Helpers that left the process group (the crash reporter) are found by their profile.
  noteHelpers();
  std::vector<pid_t> strays = helpers_;
  for (pid_t helper : strays)
    if (helper != ::getpid()) ::kill(helper, SIGKILL);
  // Renderers, the zygote and the GPU process share the group: end them all.
  ::kill(-pid_, SIGKILL);
  if (!exited_) {
    ::waitpid(pid_, nullptr, 0);
    exited_ = true;
  }
  // Reap whatever was handed to us as a subreaper: the group, then the helpers by id.
  for (int i = 0; i < 200; ++i) {
    pid_t r = ::waitpid(-pid_, nullptr, WNOHANG);
    if (r < 0) break;  // no such children left
    if (r == 0) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  // Helpers came to us when their parent died; reap each, or a zombie would outlive us.
  for (int i = 0; i < 200 && !strays.empty(); ++i) {
    std::erase_if(strays, [](pid_t p) { return ::waitpid(p, nullptr, WNOHANG) != 0; });
    if (!strays.empty()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  if (toBrowser_ >= 0) ::close(toBrowser_);
  if (fromBrowser_ >= 0) ::close(fromBrowser_);
  toBrowser_ = fromBrowser_ = -1;
  std::error_code ec;
  std::filesystem::remove_all(profileDir_, ec);
  forgetOnSignal(signalHandle_);
  signalHandle_ = -1;
  pid_ = -1;
}

}  // namespace skimlet::chromium
