// The global hotkey that summons the palette, grabbed on the X display through keybinder. Only
// one key is ever held: installing a preset releases the previous one. Where global grabs are
// not allowed (Wayland), users bind `skimlet-desktop --toggle` in their desktop's settings.
#pragma once

#include <functional>
#include <string>

#include "palette/hotkey_settings.h"

namespace skimlet::desktop {

class Hotkey {
 public:
  // `handler` runs on the main thread at every press. Call after GTK is initialised.
  explicit Hotkey(std::function<void()> handler);
  ~Hotkey();
  Hotkey(const Hotkey&) = delete;
  Hotkey& operator=(const Hotkey&) = delete;

  // Grabs the preset's key in place of the one held; false when the desktop refused it (the
  // combination is taken, or there are no global grabs).
  bool install(const HotkeyPreset& preset);
  void uninstall();
  // The accelerator held now ("<Alt>space"), empty when none.
  const std::string& accelerator() const { return accelerator_; }

 private:
  std::function<void()> handler_;
  std::string accelerator_;
};

}  // namespace skimlet::desktop
