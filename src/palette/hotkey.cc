#include "palette/hotkey.h"

namespace skimlet {

Hotkey::~Hotkey() {
  if (registered_) system_.unregisterHotkey();
}

bool Hotkey::registerCurrent(Settings& settings) {
  if (!installed_) {
    // The handler reads `handler` at press time, so it may be set or replaced later.
    system_.installHandler([this] {
      if (handler) handler();
    });
    installed_ = true;
  }
  if (registered_) {
    system_.unregisterHotkey();
    registered_ = false;
  }
  registered_ = system_.registerHotkey(HotkeySettings::current(settings));
  return registered_;
}

}  // namespace skimlet
