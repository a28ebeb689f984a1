#include "hotkey.h"

#include <keybinder.h>

#include <cstdio>

namespace skimlet::desktop {

namespace {

void pressed(const char*, void* data) { (*static_cast<std::function<void()>*>(data))(); }

}  // namespace

Hotkey::Hotkey(std::function<void()> handler) : handler_(std::move(handler)) {
  static const bool initialised = [] {
    keybinder_init();
    return true;
  }();
  (void)initialised;
}

Hotkey::~Hotkey() { uninstall(); }

bool Hotkey::install(const HotkeyPreset& preset) {
  uninstall();
  const std::string accelerator = HotkeySettings::linuxAccelerator(preset);
  if (!keybinder_bind(accelerator.c_str(), pressed, &handler_)) {
    std::fprintf(stderr, "skimlet-desktop: the desktop did not give Skimlet the hotkey %s\n",
                 HotkeySettings::linuxTitle(preset).c_str());
    return false;
  }
  accelerator_ = accelerator;
  return true;
}

void Hotkey::uninstall() {
  if (accelerator_.empty()) return;
  keybinder_unbind(accelerator_.c_str(), pressed);
  accelerator_.clear();
}

}  // namespace skimlet::desktop
