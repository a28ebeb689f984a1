#include "status_menu.h"

#include <libayatana-appindicator/app-indicator.h>

#include "palette/app_menu.h"

namespace skimlet::desktop {

StatusMenu::StatusMenu(GApplication* app) : app_(app) {
  // The installed icon when there is one; a theme icon when run from the build folder.
  const char* icon =
      gtk_icon_theme_has_icon(gtk_icon_theme_get_default(), "skimlet") ? "skimlet" : "edit-find-symbolic";
  AppIndicator* indicator = app_indicator_new("skimlet", icon, APP_INDICATOR_CATEGORY_APPLICATION_STATUS);
  app_indicator_set_title(indicator, "Skimlet");
  app_indicator_set_status(indicator, APP_INDICATOR_STATUS_ACTIVE);
  indicator_ = G_OBJECT(indicator);
}

StatusMenu::~StatusMenu() {
  if (indicator_) g_object_unref(indicator_);
}

void StatusMenu::update(const HotkeyPreset& preset) {
  GtkWidget* menu = gtk_menu_new();
  for (const auto& item : appMenuItems(HotkeySettings::linuxTitle(preset))) {
    if (item.label.empty()) {
      gtk_menu_shell_append(GTK_MENU_SHELL(menu), gtk_separator_menu_item_new());
      continue;
    }
    GtkWidget* entry = gtk_menu_item_new_with_label(item.label.c_str());
    g_object_set_data_full(G_OBJECT(entry), "skimlet-action", g_strdup(item.action.c_str()), g_free);
    g_signal_connect(entry, "activate", G_CALLBACK(+[](GtkMenuItem* m, GApplication* app) {
                       const char* action = static_cast<const char*>(g_object_get_data(G_OBJECT(m), "skimlet-action"));
                       g_action_group_activate_action(G_ACTION_GROUP(app), action, nullptr);
                     }),
                     app_);
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), entry);
  }
  gtk_widget_show_all(menu);
  // The indicator takes its own reference; the old menu goes with it.
  app_indicator_set_menu(APP_INDICATOR(indicator_), GTK_MENU(menu));
  menu_ = menu;
}

}  // namespace skimlet::desktop
