// Skimlet's menu in the desktop's status area (StatusNotifierItem, which GNOME with its
// extension, KDE and most panels show). The items come from appMenuItems() and activate the
// application's actions, which are also reachable over D-Bus for desktops without a tray.
#pragma once

#include <gtk/gtk.h>

#include "palette/hotkey_settings.h"

namespace skimlet::desktop {

class StatusMenu {
 public:
  explicit StatusMenu(GApplication* app);
  ~StatusMenu();
  StatusMenu(const StatusMenu&) = delete;
  StatusMenu& operator=(const StatusMenu&) = delete;

  // Builds the menu again for this preset (the first item names the hotkey).
  void update(const HotkeyPreset& preset);

 private:
  GApplication* app_;
  GObject* indicator_ = nullptr;
  GtkWidget* menu_ = nullptr;
};

}  // namespace skimlet::desktop
