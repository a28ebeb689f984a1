#include "backends/atspi/browser_identity.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace skimlet::atspi {

ProcessInfo processInfo(Pid pid) {
  ProcessInfo info;
  std::string proc = "/proc/" + std::to_string(pid);
  std::error_code ec;
  info.executable = std::filesystem::read_symlink(proc + "/exe", ec).string();
  if (ec) info.executable.clear();
  std::ifstream in(proc + "/cmdline", std::ios::binary);
  std::string all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::size_t start = 0;
  while (start < all.size()) {
    std::size_t end = all.find('\0', start);
    if (end == std::string::npos) end = all.size();
    info.args.push_back(all.substr(start, end - start));
    start = end + 1;
  }
  return info;
}

std::string bundleIdentifier(const std::string& executable) {
  std::filesystem::path p(executable);
  std::string name = p.filename().string();
  std::string dir = p.parent_path().string();
  auto in = [&](const char* s) { return dir.find(s) != std::string::npos; };
  if (name == "firefox" || name == "firefox-esr" || name == "firefox-bin") {
    if (in("nightly")) return "org.mozilla.nightly";
    if (in("developer")) return "org.mozilla.firefoxdeveloperedition";
    return "org.mozilla.firefox";
  }
  if (name == "chrome") {
    if (in("chrome-beta")) return "com.google.Chrome.beta";
    if (in("chrome-unstable") || in("canary")) return "com.google.Chrome.canary";
    return "com.google.Chrome";
  }
  if (name == "chromium" || name == "chromium-browser") return "org.chromium.Chromium";
  if (name == "brave" || name == "brave-browser") {
    if (in("beta")) return "com.brave.Browser.beta";
    if (in("nightly")) return "com.brave.Browser.nightly";
    return "com.brave.Browser";
  }
  if (name == "msedge") return in("beta") ? "com.microsoft.edgemac.Beta" : "com.microsoft.edgemac";
  return "";
}

std::vector<std::string> profileArguments(const std::vector<std::string>& args) {
  std::vector<std::string> out;
  for (std::size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a.rfind("--user-data-dir=", 0) == 0 || a.rfind("--profile-directory=", 0) == 0) out.push_back(a);
    if ((a == "-profile" || a == "--profile" || a == "-P") && i + 1 < args.size()) {
      out.push_back(a);
      out.push_back(args[++i]);
    }
  }
  return out;
}

}  // namespace skimlet::atspi
