#include "gtk_util.h"

namespace skimlet::desktop {

namespace {

constexpr const char* kStyle = R"CSS(
.skimlet-palette { background-color: #fdfdfd; border: 1px solid #b9bcc2; }
.skimlet-palette .field { padding: 10px 14px 6px 14px; }
.skimlet-palette .field entry { font-size: 18px; background: transparent; border: none; box-shadow: none; padding: 4px 0; }
.skimlet-palette .preview { color: #4a6da7; padding: 0 14px 8px 44px; }
.skimlet-palette .content { padding: 8px 10px; }
.skimlet-palette .footer { padding: 6px 14px; background-color: #f1f2f4; border-top: 1px solid #e1e3e6; font-size: 11px; }
.skimlet-palette list { background: transparent; }
.skimlet-palette row.palette-row { padding: 6px 8px; border-radius: 6px; }
.skimlet-palette row.palette-row:selected { background-color: #dbe6fb; color: #1b2330; }
.skimlet-palette .notice { padding: 6px 8px; }
.dim { color: #6b6f76; }
.headline { font-size: 14px; }
.body { padding: 2px 2px 2px 30px; }
.why { font-family: monospace; font-size: 10px; color: #4b5058; background-color: #f4f5f7; padding: 6px 8px; }
.why-toggle { font-size: 11px; padding: 1px 10px; min-height: 0; }
.badge { background-color: #e3e6ea; border-radius: 9px; padding: 1px 8px; color: #3b4048; }
.success { color: #1e7b34; }
.failure { color: #b3261e; }
.info { color: #4a6da7; }
)CSS";

}  // namespace

GtkWidget* label(const std::string& text, LabelStyle style) {
  GtkWidget* l = gtk_label_new(nullptr);
  if (style.markup) gtk_label_set_markup(GTK_LABEL(l), text.c_str());
  else gtk_label_set_text(GTK_LABEL(l), text.c_str());
  gtk_label_set_xalign(GTK_LABEL(l), 0);
  gtk_widget_set_halign(l, GTK_ALIGN_FILL);
  if (style.wrap) {
    gtk_label_set_line_wrap(GTK_LABEL(l), true);
    gtk_label_set_line_wrap_mode(GTK_LABEL(l), PANGO_WRAP_WORD_CHAR);
    gtk_label_set_max_width_chars(GTK_LABEL(l), 70);
  }
  if (style.ellipsize) gtk_label_set_ellipsize(GTK_LABEL(l), PANGO_ELLIPSIZE_END);
  if (style.selectable) {
    gtk_label_set_selectable(GTK_LABEL(l), true);
    gtk_widget_set_can_focus(l, false);
  }
  if (style.css) gtk_style_context_add_class(gtk_widget_get_style_context(l), style.css);
  return l;
}

void clearChildren(GtkWidget* container) {
  GList* children = gtk_container_get_children(GTK_CONTAINER(container));
  for (GList* c = children; c; c = c->next) gtk_widget_destroy(GTK_WIDGET(c->data));
  g_list_free(children);
}

void installStyle() {
  static bool installed = false;
  if (installed) return;
  installed = true;
  GtkCssProvider* provider = gtk_css_provider_new();
  gtk_css_provider_load_from_data(provider, kStyle, -1, nullptr);
  gtk_style_context_add_provider_for_screen(gdk_screen_get_default(), GTK_STYLE_PROVIDER(provider),
                                            GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  g_object_unref(provider);
}

}  // namespace skimlet::desktop
