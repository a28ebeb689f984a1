// The global hotkey that toggles the palette: one per process, re-registered when the user picks
// another preset. The system calls (Carbon's event manager on macOS, a key grabber on Linux) sit
// behind HotkeySystem, so the order of installing, unregistering and registering is kept here,
// once, for every desktop.
#pragma once

#include <functional>

#include "palette/hotkey_settings.h"

namespace skimlet {

class HotkeySystem {
 public:
  virtual ~HotkeySystem() = default;
  // Installs the one handler for hotkey presses; `pressed` is run on the main thread.
  virtual void installHandler(std::function<void()> pressed) = 0;
  // Registers the key combination; false when the system refused it (another application
  // holds it).
  virtual bool registerHotkey(const HotkeyPreset& preset) = 0;
  virtual void unregisterHotkey() = 0;
};

class Hotkey {
 public:
  explicit Hotkey(HotkeySystem& system) : system_(system) {}
  ~Hotkey();

  // Run on the main thread at every press.
  std::function<void()> handler;

  // (Re)registers the preset in force: the handler is installed on the first call only, and a
  // hotkey registered before is released first, so there is never more than one. False when the
  // system refused the combination (the previous one is released all the same).
  bool registerCurrent(Settings& settings);
  bool registered() const { return registered_; }

 private:
  HotkeySystem& system_;
  bool installed_ = false;
  bool registered_ = false;
};

}  // namespace skimlet
