// The running application: the backend it drives, the tracker, the model, the palette and its
// windows, the status menu and the hotkey. One lives per process, for as long as GTK runs;
// everything here belongs to the main thread.
#pragma once

#include <gtk/gtk.h>

#include <memory>

#include "ai/own_model.h"
#include "browser/browser_tracker.h"
#include "desktop_backend.h"
#include "glib_dispatch.h"
#include "hotkey.h"
#include "inspector_window.h"
#include "palette_window.h"
#include "platform/json_settings.h"
#include "settings_window.h"
#include "status_menu.h"

namespace skimlet::desktop {

struct AppOptions {
  BackendOptions backend;
  bool model = true;         // consult Skimlet's own model when it is installed
  bool showPalette = false;  // open the palette at start
};

class DesktopApp {
 public:
  // Throws std::runtime_error when the backend cannot start.
  DesktopApp(GtkApplication* app, const AppOptions& options);
  ~DesktopApp();
  DesktopApp(const DesktopApp&) = delete;
  DesktopApp& operator=(const DesktopApp&) = delete;

  void togglePalette();
  void openPalette();
  void openInspector();
  void openSettings();
  // The key that summons the palette, as menus write it ("Alt+Space").
  std::string hotkeyTitle();

 private:
  void installHotkey();

  GtkApplication* app_;
  JsonSettings settings_;
  GlibDispatch dispatch_;
  std::unique_ptr<DesktopBackend> backend_;
  std::unique_ptr<BrowserTracker> tracker_;
  std::unique_ptr<OwnModel> own_;
  std::shared_ptr<PaletteViewModel> vm_;
  std::unique_ptr<PaletteWindow> palette_;
  std::unique_ptr<SettingsWindow> settingsWindow_;
  std::unique_ptr<InspectorWindow> inspector_;
  std::unique_ptr<StatusMenu> menu_;
  std::unique_ptr<Hotkey> hotkey_;
  guint poll_ = 0;
};

}  // namespace skimlet::desktop
