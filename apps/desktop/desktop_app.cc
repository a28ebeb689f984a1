#include "desktop_app.h"

#include <filesystem>

#include "llm/local_model_runtime.h"

namespace skimlet::desktop {

DesktopApp::DesktopApp(GtkApplication* app, const AppOptions& options)
    : app_(app), settings_(JsonSettings::defaultPath()) {
  backend_ = openBackend(options.backend, settings_, dispatch_);
  const Platform platform = backend_->platform();
  tracker_ = std::make_unique<BrowserTracker>(platform.workspace);
  tracker_->start();
  // A backend that queues its own notices has them delivered a few times a second.
  poll_ = g_timeout_add(
      100,
      +[](gpointer self) -> gboolean {
        static_cast<DesktopApp*>(self)->backend_->poll();
        return G_SOURCE_CONTINUE;
      },
      this);
  // The model is looked for at every request, so a download finished in Settings is used by the
  // next command without a restart.
  if (options.model) own_ = std::make_unique<OwnModel>(LocalModelRuntime::shared());
  const LocalAI ai(own_.get(), nullptr);
  vm_ = PaletteViewModel::create(platform, *tracker_, ai);
  palette_ = std::make_unique<PaletteWindow>(vm_, *backend_, ai);
  menu_ = std::make_unique<StatusMenu>(G_APPLICATION(app_));
  hotkey_ = std::make_unique<Hotkey>([this] { togglePalette(); });
  installHotkey();
  watchSettings();
  // Without access the palette opens at once, so that its onboarding asks for it.
  if (options.showPalette || !backend_->access().on) openPalette();
}

DesktopApp::~DesktopApp() {
  if (poll_) g_source_remove(poll_);
  if (settingsMonitor_) g_object_unref(settingsMonitor_);
  hotkey_.reset();
  palette_.reset();
  inspector_.reset();
  settingsWindow_.reset();
  vm_->cancel();
  // A command still on its worker ends at its next step; wait for it before the backend goes.
  while (vm_->busy()) g_main_context_iteration(nullptr, true);
  vm_.reset();
}

void DesktopApp::installHotkey() {
  const HotkeyPreset preset = HotkeySettings::current(settings_);
  hotkey_->install(preset);
  menu_->update(preset);
}

void DesktopApp::watchSettings() {
  // The command-line tool writes the same file (`skimlet profile set`): its changes reach the
  // running palette's next command, and a new hotkey preset is grabbed at once.
  if (settings_.path().empty()) return;
  // The folder must exist to be watched; a first change then creates the file in it. It holds
  // the user's profile, so it is theirs alone.
  g_mkdir_with_parents(std::filesystem::path(settings_.path()).parent_path().c_str(), 0700);
  GFile* file = g_file_new_for_path(settings_.path().c_str());
  settingsMonitor_ = g_file_monitor_file(file, G_FILE_MONITOR_WATCH_MOVES, nullptr, nullptr);
  g_object_unref(file);
  if (!settingsMonitor_) return;
  g_signal_connect(settingsMonitor_, "changed",
                   G_CALLBACK(+[](GFileMonitor*, GFile*, GFile*, GFileMonitorEvent event, DesktopApp* self) {
                     if (event != G_FILE_MONITOR_EVENT_CHANGES_DONE_HINT && event != G_FILE_MONITOR_EVENT_RENAMED &&
                         event != G_FILE_MONITOR_EVENT_MOVED_IN && event != G_FILE_MONITOR_EVENT_CREATED) {
                       return;
                     }
                     const std::string before =
                         HotkeySettings::linuxAccelerator(HotkeySettings::current(self->settings_));
                     if (!self->settings_.reload()) return;
                     if (HotkeySettings::linuxAccelerator(HotkeySettings::current(self->settings_)) != before) {
                       self->installHotkey();
                     }
                   }),
                   this);
}

std::string DesktopApp::hotkeyTitle() { return HotkeySettings::linuxTitle(HotkeySettings::current(settings_)); }

void DesktopApp::togglePalette() { palette_->toggle(); }

void DesktopApp::openPalette() {
  if (!palette_->visible()) palette_->show();
}

void DesktopApp::openInspector() {
  palette_->hide();
  if (!inspector_) inspector_ = std::make_unique<InspectorWindow>(backend_->platform(), *tracker_);
  gtk_window_set_application(GTK_WINDOW(inspector_->widget()), app_);
  inspector_->present();
}

void DesktopApp::openSettings() {
  if (!settingsWindow_) {
    settingsWindow_ = std::make_unique<SettingsWindow>(settings_, ModelStore::shared(), *backend_, dispatch_,
                                                       [this] { installHotkey(); });
    gtk_window_set_application(GTK_WINDOW(settingsWindow_->widget()), app_);
  }
  settingsWindow_->present();
}

}  // namespace skimlet::desktop
