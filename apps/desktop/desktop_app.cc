#include "desktop_app.h"

#include "llm/local_model_runtime.h"

namespace skimlet::desktop {

namespace {

std::string settingsPath() {
  std::string path = JsonSettings::defaultPath();
  return path.empty() ? "/dev/null" : path;
}

}  // namespace

DesktopApp::DesktopApp(GtkApplication* app, const AppOptions& options) : app_(app), settings_(settingsPath()) {
  backend_ = openBackend(options.backend, settings_, dispatch_);
  const Platform platform = backend_->platform();
  tracker_ = std::make_unique<BrowserTracker>(platform.workspace);
  tracker_->start();
  // A backend that queues its own notices has them delivered a few times a second.
  poll_ = g_timeout_add(100, +[](gpointer self) -> gboolean {
    static_cast<DesktopApp*>(self)->backend_->poll();
    return G_SOURCE_CONTINUE;
  }, this);
  // The model is looked for at every request, so a download finished in Settings is used by the
  // next command without a restart.
  if (options.model) own_ = std::make_unique<OwnModel>(LocalModelRuntime::shared());
  const LocalAI ai(own_.get(), nullptr);
  vm_ = PaletteViewModel::create(platform, *tracker_, ai);
  palette_ = std::make_unique<PaletteWindow>(vm_, *backend_, ai);
  menu_ = std::make_unique<StatusMenu>(G_APPLICATION(app_));
  hotkey_ = std::make_unique<Hotkey>([this] { togglePalette(); });
  installHotkey();
  // Without access the palette opens at once, so that its onboarding asks for it.
  if (options.showPalette || !backend_->access().on) openPalette();
}

DesktopApp::~DesktopApp() {
  if (poll_) g_source_remove(poll_);
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
    settingsWindow_ = std::make_unique<SettingsWindow>(settings_, ModelStore::shared(), *backend_,
                                                       dispatch_, [this] { installHotkey(); });
    gtk_window_set_application(GTK_WINDOW(settingsWindow_->widget()), app_);
  }
  settingsWindow_->present();
}

}  // namespace skimlet::desktop
