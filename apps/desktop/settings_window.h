// The Settings window: the hotkey, the profile that "type my email" uses, Skimlet's own model
// (download with progress and speed, cancel, removal) and the accessibility status. Every
// change is stored at once in the settings the palette reads, so an open palette sees it.
#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <memory>

#include "desktop_backend.h"
#include "llm/download_meter.h"
#include "llm/model_store.h"
#include "palette/hotkey_settings.h"
#include "platform/dispatch.h"
#include "platform/settings.h"

namespace skimlet::desktop {

class SettingsWindow {
 public:
  // `onHotkey` runs after the user picked another preset (it is stored already).
  SettingsWindow(Settings& settings, ModelStore& store, DesktopBackend& backend, Dispatch& dispatch,
                 std::function<void()> onHotkey);
  ~SettingsWindow();
  SettingsWindow(const SettingsWindow&) = delete;
  SettingsWindow& operator=(const SettingsWindow&) = delete;

  void present();
  GtkWidget* widget() const { return window_; }

 private:
  GtkWidget* profileField(GtkWidget* grid, int row, const char* title, const char* key, const char* hint);
  void showModel(const ModelStore::State& state);
  void showAccess();

  Settings& settings_;
  ModelStore& store_;
  DesktopBackend& backend_;
  Dispatch& dispatch_;
  std::function<void()> onHotkey_;
  DownloadMeter meter_;
  GtkWidget* window_ = nullptr;
  GtkWidget* modelStatus_ = nullptr;
  GtkWidget* progress_ = nullptr;
  GtkWidget* speed_ = nullptr;
  GtkWidget* download_ = nullptr;
  GtkWidget* cancel_ = nullptr;
  GtkWidget* remove_ = nullptr;
  GtkWidget* access_ = nullptr;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace skimlet::desktop
