#include "platform/desktop_pasteboard.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace skimlet {

namespace {
bool installed(const char* path) { return ::access(path, X_OK) == 0; }
bool set(const char* name) {
  const char* v = std::getenv(name);
  return v && *v;
}
}  // namespace

DesktopPasteboard::DesktopPasteboard(bool useDesktop) {
  if (!useDesktop) return;
  if (set("WAYLAND_DISPLAY") && installed("/usr/bin/wl-copy") && installed("/usr/bin/wl-paste")) {
    copyCommand_ = "/usr/bin/wl-copy";
    pasteCommand_ = "/usr/bin/wl-paste --no-newline";
  } else if (set("DISPLAY") && installed("/usr/bin/xclip")) {
    copyCommand_ = "/usr/bin/xclip -selection clipboard -in";
    pasteCommand_ = "/usr/bin/xclip -selection clipboard -out";
  }
}

void DesktopPasteboard::clear() {
  std::lock_guard lock(mutex_);
  text_.reset();
}

bool DesktopPasteboard::setString(const std::string& text) {
  std::lock_guard lock(mutex_);
  text_ = text;
  if (copyCommand_.empty()) return true;
  FILE* p = ::popen(copyCommand_.c_str(), "w");
  if (!p) return false;
  std::fwrite(text.data(), 1, text.size(), p);
  return ::pclose(p) == 0;
}

std::optional<std::string> DesktopPasteboard::string() {
  std::lock_guard lock(mutex_);
  if (!pasteCommand_.empty()) {
    if (FILE* p = ::popen(pasteCommand_.c_str(), "r")) {
      std::string out;
      char buf[4096];
      std::size_t n;
      while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
      if (::pclose(p) == 0) return out;
    }
  }
  return text_;
}

}  // namespace skimlet
