#include "backends/atspi/desktop_workspace.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "backends/atspi/browser_identity.h"

extern char** environ;

namespace skimlet::atspi {

bool launchDetached(const std::vector<std::string>& argv) {
  if (argv.empty()) return false;
  // Fork twice so the program is adopted by init and never becomes our zombie.
  pid_t child = ::fork();
  if (child < 0) return false;
  if (child == 0) {
    ::setsid();
    std::vector<char*> args;
    for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    pid_t grandchild = 0;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    int rc = posix_spawnp(&grandchild, args[0], &actions, nullptr, args.data(), environ);
    ::_exit(rc == 0 ? 0 : 1);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

DesktopWorkspace::DesktopWorkspace(AtspiAx& ax, XDisplay* x, Dispatch& dispatch) : ax_(ax), x_(x), dispatch_(dispatch) {
  watcher_ = std::make_unique<ActivationWatcher>([this](Pid pid) { activated(pid); });
}

DesktopWorkspace::~DesktopWorkspace() { watcher_.reset(); }

void DesktopWorkspace::activated(Pid pid) {
  std::vector<std::function<void(const RunningApp&)>> handlers;
  {
    std::lock_guard lock(mutex_);
    handlers = handlers_;
  }
  if (handlers.empty()) return;
  auto app = runningApplication(pid);
  if (!app) return;
  dispatch_.toMain([handlers, app = *app] {
    for (const auto& h : handlers) h(app);
  });
}

std::optional<RunningApp> DesktopWorkspace::runningApplication(Pid pid) {
  if (pid <= 0 || isTerminated(pid)) return std::nullopt;
  ProcessInfo info = processInfo(pid);
  RunningApp app;
  app.pid = pid;
  app.bundlePath = info.executable;
  app.bundleID = bundleIdentifier(info.executable);
  // The name the application gives itself on the accessibility bus ("Firefox", "Chromium").
  if (auto object = ax_.applicationOf(pid)) {
    ax::Value title;
    if (ax_.copyAttributeValue(AtspiElement::make(*object), "AXTitle", title) == ax::Error::success)
      if (auto* s = std::get_if<std::string>(&title)) app.localizedName = *s;
  }
  if (app.localizedName.empty()) app.localizedName = std::filesystem::path(info.executable).filename().string();
  return app;
}

std::optional<RunningApp> DesktopWorkspace::frontmostApplication() {
  Pid pid = x_ ? x_->activePid() : 0;
  if (!pid) pid = watcher_->active();
  return runningApplication(pid);
}

bool DesktopWorkspace::isTerminated(Pid pid) {
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string line;
  if (!std::getline(stat, line)) return true;
  // The state follows the parenthesised program name: Z is a zombie, X dead.
  auto close = line.rfind(')');
  return close == std::string::npos || close + 2 >= line.size() || line[close + 2] == 'Z' || line[close + 2] == 'X';
}

bool DesktopWorkspace::isActive(Pid pid) {
  if (x_) return x_->activePid() == pid;
  return watcher_->active() == pid;
}

void DesktopWorkspace::activate(Pid pid) {
  if (x_) x_->activate(pid);
}

void DesktopWorkspace::observeActivations(std::function<void(const RunningApp&)> handler) {
  std::lock_guard lock(mutex_);
  handlers_.push_back(std::move(handler));
}

void DesktopWorkspace::openURLs(const std::vector<std::string>& urls, const std::string& bundlePath) {
  if (urls.empty() || bundlePath.empty()) return;
  // The running browser with that program, so its profile goes along and the URLs open in it.
  std::vector<std::string> argv{bundlePath};
  for (const auto& app : accessibleApplications()) {
    if (app.bundlePath != bundlePath) continue;
    auto profile = profileArguments(processInfo(app.pid).args);
    argv.insert(argv.end(), profile.begin(), profile.end());
    break;
  }
  argv.insert(argv.end(), urls.begin(), urls.end());
  launchDetached(argv);
}

bool DesktopWorkspace::openURL(const std::string& url) { return launchDetached({"xdg-open", url}); }

std::vector<RunningApp> DesktopWorkspace::accessibleApplications() {
  std::vector<RunningApp> out;
  for (Pid pid : ax_.applicationPids())
    if (auto app = runningApplication(pid)) out.push_back(std::move(*app));
  return out;
}

}  // namespace skimlet::atspi
