#include "settings_window.h"

#include <chrono>
#include <system_error>

#include "gtk_util.h"
#include "llm/model_files.h"

namespace skimlet::desktop {

namespace {

GtkWidget* section(GtkWidget* box, const char* title) {
  gtk_box_pack_start(GTK_BOX(box), label(std::string("<b>") + title + "</b>", {.markup = true}), false, false, 0);
  GtkWidget* grid = gtk_grid_new();
  gtk_grid_set_row_spacing(GTK_GRID(grid), 6);
  gtk_grid_set_column_spacing(GTK_GRID(grid), 12);
  gtk_widget_set_margin_start(grid, 12);
  gtk_widget_set_margin_bottom(grid, 10);
  gtk_box_pack_start(GTK_BOX(box), grid, false, false, 0);
  return grid;
}

double now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

}  // namespace

SettingsWindow::SettingsWindow(Settings& settings, ModelStore& store, DesktopBackend& backend, Dispatch& dispatch,
                               std::function<void()> onHotkey)
    : settings_(settings), store_(store), backend_(backend), dispatch_(dispatch), onHotkey_(std::move(onHotkey)) {
  installStyle();
  window_ = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_title(GTK_WINDOW(window_), "Skimlet Settings");
  gtk_window_set_default_size(GTK_WINDOW(window_), 520, -1);
  gtk_window_set_resizable(GTK_WINDOW(window_), false);
  g_signal_connect(window_, "delete-event", G_CALLBACK(gtk_widget_hide_on_delete), nullptr);

  GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 6);
  gtk_container_set_border_width(GTK_CONTAINER(box), 18);
  gtk_container_add(GTK_CONTAINER(window_), box);

  // Hotkey.
  GtkWidget* grid = section(box, "Hotkey");
  GtkWidget* presets = gtk_combo_box_text_new();
  for (const auto& p : HotkeySettings::presets()) {
    gtk_combo_box_text_append(GTK_COMBO_BOX_TEXT(presets), std::to_string(p.id).c_str(),
                              HotkeySettings::linuxTitle(p).c_str());
  }
  gtk_combo_box_set_active_id(GTK_COMBO_BOX(presets), std::to_string(HotkeySettings::current(settings_).id).c_str());
  g_signal_connect(presets, "changed", G_CALLBACK(+[](GtkComboBox* combo, SettingsWindow* self) {
                     const char* id = gtk_combo_box_get_active_id(combo);
                     if (!id) return;
                     self->settings_.setInteger(HotkeySettings::settingsKey, std::stoi(id));
                     if (self->onHotkey_) self->onHotkey_();
                   }),
                   this);
  gtk_grid_attach(GTK_GRID(grid), label("Open the palette with"), 0, 0, 1, 1);
  gtk_grid_attach(GTK_GRID(grid), presets, 1, 0, 1, 1);
  gtk_grid_attach(GTK_GRID(grid),
                  label("On Wayland, bind skimlet-desktop --toggle to a key in your desktop's settings.",
                        {.css = "dim", .wrap = true}),
                  0, 1, 2, 1);

  // Profile.
  grid = section(box, "Profile");
  profileField(grid, 0, "Name", "profile.name", "Ada Lovelace");
  profileField(grid, 1, "E-mail", "profile.email", "ada@example.com");
  profileField(grid, 2, "Phone", "profile.phone", "+44 20 7946 0000");
  gtk_grid_attach(GTK_GRID(grid), label("Used by commands such as \u201ctype my email\u201d.", {.css = "dim"}), 0, 3, 2,
                  1);

  // Model.
  grid = section(box, "Language model");
  modelStatus_ = label("", {.wrap = true});
  gtk_grid_attach(GTK_GRID(grid), modelStatus_, 0, 0, 3, 1);
  progress_ = gtk_progress_bar_new();
  gtk_widget_set_hexpand(progress_, true);
  gtk_widget_set_valign(progress_, GTK_ALIGN_CENTER);
  gtk_grid_attach(GTK_GRID(grid), progress_, 0, 1, 3, 1);
  speed_ = label("", {.css = "dim"});
  gtk_grid_attach(GTK_GRID(grid), speed_, 0, 2, 3, 1);
  download_ = gtk_button_new_with_label("Download");
  cancel_ = gtk_button_new_with_label("Cancel");
  remove_ = gtk_button_new_with_label("Remove");
  gtk_style_context_add_class(gtk_widget_get_style_context(download_), "suggested-action");
  g_signal_connect_swapped(download_, "clicked", G_CALLBACK(+[](SettingsWindow* self) {
                             self->meter_.reset();
                             self->store_.download();
                           }),
                           this);
  // Cancelling waits for the partial file to be gone, which is quick: the transfer stops at
  // its next block.
  g_signal_connect_swapped(cancel_, "clicked", G_CALLBACK(+[](SettingsWindow* self) { self->store_.cancel(); }), this);
  g_signal_connect_swapped(remove_, "clicked", G_CALLBACK(+[](SettingsWindow* self) {
                             try {
                               self->store_.remove();
                             } catch (const std::exception& e) {
                               self->showModel(ModelStore::Failed{e.what()});
                             }
                           }),
                           this);
  GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
  gtk_box_pack_start(GTK_BOX(buttons), download_, false, false, 0);
  gtk_box_pack_start(GTK_BOX(buttons), cancel_, false, false, 0);
  gtk_box_pack_start(GTK_BOX(buttons), remove_, false, false, 0);
  gtk_grid_attach(GTK_GRID(grid), buttons, 0, 3, 3, 1);

  // Accessibility.
  grid = section(box, "Accessibility");
  access_ = label("", {.wrap = true});
  gtk_grid_attach(GTK_GRID(grid), access_, 0, 0, 1, 1);

  std::weak_ptr<bool> alive = alive_;
  store_.setObserver([this, alive](const ModelStore::State& state) {
    dispatch_.toMain([this, alive, state] {
      if (alive.lock()) showModel(state);
    });
  });
  gtk_widget_show_all(box);
  showModel(store_.state());
  showAccess();
}

SettingsWindow::~SettingsWindow() {
  alive_.reset();
  store_.setObserver({});
  gtk_widget_destroy(window_);
}

void SettingsWindow::present() {
  showModel(store_.state());
  showAccess();
  gtk_window_present(GTK_WINDOW(window_));
}

GtkWidget* SettingsWindow::profileField(GtkWidget* grid, int row, const char* title, const char* key,
                                        const char* hint) {
  GtkWidget* entry = gtk_entry_new();
  gtk_entry_set_placeholder_text(GTK_ENTRY(entry), hint);
  gtk_entry_set_text(GTK_ENTRY(entry), settings_.string(key).value_or("").c_str());
  gtk_widget_set_hexpand(entry, true);
  g_object_set_data(G_OBJECT(entry), "skimlet-key", const_cast<char*>(key));
  g_signal_connect(entry, "changed", G_CALLBACK(+[](GtkEntry* e, SettingsWindow* self) {
                     const char* k = static_cast<const char*>(g_object_get_data(G_OBJECT(e), "skimlet-key"));
                     const std::string value = gtk_entry_get_text(e);
                     if (value.empty()) self->settings_.remove(k);
                     else self->settings_.setString(k, value);
                   }),
                   this);
  gtk_grid_attach(GTK_GRID(grid), label(title), 0, row, 1, 1);
  gtk_grid_attach(GTK_GRID(grid), entry, 1, row, 1, 1);
  return entry;
}

void SettingsWindow::showModel(const ModelStore::State& state) {
  const auto* downloading = std::get_if<ModelStore::Downloading>(&state);
  gtk_widget_set_visible(progress_, downloading != nullptr);
  gtk_widget_set_visible(speed_, downloading != nullptr);
  gtk_widget_set_visible(download_, !downloading && !std::holds_alternative<ModelStore::Ready>(state));
  gtk_widget_set_visible(cancel_, downloading != nullptr);
  gtk_widget_set_visible(remove_, std::holds_alternative<ModelStore::Ready>(state));
  std::string status;
  if (downloading) {
    meter_.update(now(), downloading->received);
    status = "Downloading Qwen2.5 1.5B Instruct\u2026";
    if (downloading->expected > 0) gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(progress_), downloading->progress);
    else gtk_progress_bar_pulse(GTK_PROGRESS_BAR(progress_));
    gtk_label_set_text(GTK_LABEL(speed_), meter_.text(downloading->expected).c_str());
  } else if (std::holds_alternative<ModelStore::Ready>(state)) {
    std::error_code ec;
    const auto bytes = std::filesystem::file_size(store_.modelPath(), ec);
    status = "Qwen2.5 1.5B Instruct is installed (" +
             (ec ? std::string("size unknown") : DownloadMeter::size(static_cast<std::int64_t>(bytes))) +
             " on disk). It understands looser wording and writes answers and summaries, on this machine.";
  } else if (const auto* failed = std::get_if<ModelStore::Failed>(&state)) {
    status = "The download failed: " + failed->message;
  } else {
    status =
        "Not installed. Without it Skimlet uses its built-in rules and answers from the page's own sentences. "
        "The model is a one-time download of about 1.1 GB.";
  }
  gtk_label_set_text(GTK_LABEL(modelStatus_), status.c_str());
}

void SettingsWindow::showAccess() {
  const AccessStatus access = backend_.access();
  std::string text = access.on ? "On: Skimlet can read the browser's pages." : access.headline + ". " + access.hint;
  gtk_label_set_text(GTK_LABEL(access_), text.c_str());
}

}  // namespace skimlet::desktop
