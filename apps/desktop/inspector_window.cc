#include "inspector_window.h"

#include "gtk_util.h"
#include "inspector/inspector_tree.h"

namespace skimlet::desktop {

namespace {

enum Column { kRole, kSubrole, kLabel, kFrame, kActions, kId, kColumns };

}  // namespace

InspectorWindow::InspectorWindow(const Platform& platform, BrowserTracker& tracker)
    : platform_(platform), tracker_(tracker) {
  installStyle();
  window_ = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_title(GTK_WINDOW(window_), "Skimlet Inspector");
  gtk_window_set_default_size(GTK_WINDOW(window_), 980, 560);
  g_signal_connect(window_, "delete-event", G_CALLBACK(gtk_widget_hide_on_delete), nullptr);
  g_signal_connect(window_, "button-press-event", G_CALLBACK(onButton), this);

  GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 6);
  gtk_container_set_border_width(GTK_CONTAINER(box), 8);
  gtk_container_add(GTK_CONTAINER(window_), box);

  GtkWidget* bar = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
  GtkWidget* refresh = gtk_button_new_with_label("Refresh");
  pick_ = gtk_toggle_button_new_with_label("Pick in Browser");
  status_ = label("", {.css = "dim", .ellipsize = true});
  gtk_box_pack_start(GTK_BOX(bar), refresh, false, false, 0);
  gtk_box_pack_start(GTK_BOX(bar), pick_, false, false, 0);
  gtk_box_pack_start(GTK_BOX(bar), status_, true, true, 0);
  gtk_box_pack_start(GTK_BOX(box), bar, false, false, 0);
  g_signal_connect_swapped(refresh, "clicked", G_CALLBACK(+[](InspectorWindow* self) { self->refresh(); }), this);
  g_signal_connect(pick_, "toggled", G_CALLBACK(+[](GtkToggleButton* b, InspectorWindow* self) {
                     if (gtk_toggle_button_get_active(b)) self->startPick();
                     else self->endPick();
                   }),
                   this);

  store_ = gtk_tree_store_new(kColumns, G_TYPE_STRING, G_TYPE_STRING, G_TYPE_STRING, G_TYPE_STRING, G_TYPE_STRING,
                              G_TYPE_INT);
  view_ = gtk_tree_view_new_with_model(GTK_TREE_MODEL(store_));
  const char* titles[] = {"Role", "Subrole", "Label", "Frame", "Actions"};
  for (int c = kRole; c <= kActions; ++c) {
    GtkCellRenderer* cell = gtk_cell_renderer_text_new();
    g_object_set(cell, "ellipsize", PANGO_ELLIPSIZE_END, nullptr);
    GtkTreeViewColumn* column = gtk_tree_view_column_new_with_attributes(titles[c], cell, "text", c, nullptr);
    gtk_tree_view_column_set_resizable(column, true);
    gtk_tree_view_column_set_expand(column, c == kLabel);
    static const int widths[] = {220, 130, 200, 190, 150};
    gtk_tree_view_column_set_min_width(column, widths[c]);
    gtk_tree_view_append_column(GTK_TREE_VIEW(view_), column);
  }
  g_signal_connect(gtk_tree_view_get_selection(GTK_TREE_VIEW(view_)), "changed",
                   G_CALLBACK(+[](GtkTreeSelection* selection, InspectorWindow* self) {
                     GtkTreeModel* model;
                     GtkTreeIter iter;
                     if (!gtk_tree_selection_get_selected(selection, &model, &iter)) return;
                     int id = -1;
                     gtk_tree_model_get(model, &iter, kId, &id, -1);
                     if (id < 0 || id >= static_cast<int>(self->elements_.size())) return;
                     if (const auto& frame = self->elements_[static_cast<std::size_t>(id)].frame) {
                       self->platform_.highlighter.show(*frame, 3.0);
                     }
                   }),
                   this);
  GtkWidget* scroll = gtk_scrolled_window_new(nullptr, nullptr);
  gtk_container_add(GTK_CONTAINER(scroll), view_);
  gtk_box_pack_start(GTK_BOX(box), scroll, true, true, 0);
  gtk_widget_show_all(box);
}

InspectorWindow::~InspectorWindow() {
  alive_.reset();
  if (reader_.joinable()) reader_.join();
  endPick();
  gtk_widget_destroy(window_);
  g_object_unref(store_);
}

void InspectorWindow::present() {
  gtk_window_present(GTK_WINDOW(window_));
  refresh();
}

void InspectorWindow::refresh() {
  const auto target = tracker_.current();
  if (!target) {
    gtk_tree_store_clear(store_);
    elements_.clear();
    gtk_label_set_text(GTK_LABEL(status_), "No supported browser in front");
    return;
  }
  if (reader_.joinable()) reader_.join();
  gtk_label_set_text(GTK_LABEL(status_), ("Reading " + target->browserName() + "\u2026").c_str());
  // Accessibility reads block, so the tree is read on a worker and handed to the main thread.
  std::weak_ptr<bool> alive = alive_;
  reader_ = std::jthread([this, alive, target = *target] {
    auto elements = InspectorTree::read(platform_.ax, platform_.clock, target);
    platform_.dispatch.toMain([this, alive, elements = std::move(elements)]() mutable {
      if (alive.lock()) fill(std::move(elements));
    });
  });
}

void InspectorWindow::fill(std::vector<PageElement> elements) {
  gtk_tree_store_clear(store_);
  elements_ = std::move(elements);
  iters_.assign(elements_.size(), GtkTreeIter{});
  for (const auto& e : elements_) {
    const auto row = InspectorTree::row(e);
    GtkTreeIter* parent = e.parent ? &iters_[static_cast<std::size_t>(*e.parent)] : nullptr;
    GtkTreeIter& iter = iters_[static_cast<std::size_t>(e.id)];
    gtk_tree_store_insert_with_values(store_, &iter, parent, -1, kRole, row.role.c_str(), kSubrole, row.subrole.c_str(),
                                      kLabel, row.label.c_str(), kFrame, row.frame.c_str(), kActions,
                                      row.actions.c_str(), kId, e.id, -1);
  }
  gtk_tree_view_expand_all(GTK_TREE_VIEW(view_));
  std::string status = std::to_string(elements_.size()) + " elements";
  if (static_cast<int>(elements_.size()) >= InspectorTree::maxNodes)
    status += " (the first " + std::to_string(InspectorTree::maxNodes) + ")";
  gtk_label_set_text(GTK_LABEL(status_), status.c_str());
}

void InspectorWindow::select(int id) {
  if (id < 0 || id >= static_cast<int>(iters_.size())) return;
  GtkTreePath* path = gtk_tree_model_get_path(GTK_TREE_MODEL(store_), &iters_[static_cast<std::size_t>(id)]);
  gtk_tree_view_expand_to_path(GTK_TREE_VIEW(view_), path);
  gtk_tree_view_set_cursor(GTK_TREE_VIEW(view_), path, nullptr, false);
  gtk_tree_view_scroll_to_cell(GTK_TREE_VIEW(view_), path, nullptr, true, 0.5, 0);
  gtk_tree_path_free(path);
}

void InspectorWindow::startPick() {
  if (picking_) return;
  GdkWindow* window = gtk_widget_get_window(window_);
  GdkDisplay* display = gdk_display_get_default();
  GdkCursor* cursor = gdk_cursor_new_from_name(display, "crosshair");
  // The whole pointer is taken until the next click, so the click reaches us rather than the
  // browser under it.
  const GdkGrabStatus status =
      gdk_seat_grab(gdk_display_get_default_seat(display), window, GDK_SEAT_CAPABILITY_ALL_POINTING, false, cursor,
                    nullptr, nullptr, nullptr);
  if (cursor) g_object_unref(cursor);
  if (status != GDK_GRAB_SUCCESS) {
    gtk_label_set_text(GTK_LABEL(status_), "The desktop did not let Skimlet take the pointer");
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(pick_), false);
    return;
  }
  picking_ = true;
  gtk_label_set_text(GTK_LABEL(status_), "Click an element in the browser");
}

void InspectorWindow::endPick() {
  if (!picking_) return;
  picking_ = false;
  gdk_seat_ungrab(gdk_display_get_default_seat(gdk_display_get_default()));
  if (pick_ && gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(pick_))) {
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(pick_), false);
  }
}

gboolean InspectorWindow::onButton(GtkWidget*, GdkEventButton* event, gpointer data) {
  auto* self = static_cast<InspectorWindow*>(data);
  if (!self->picking_) return false;
  const Point at{event->x_root, event->y_root};
  self->endPick();
  if (auto id = InspectorTree::elementAt(self->elements_, at)) self->select(*id);
  else gtk_label_set_text(GTK_LABEL(self->status_), "Nothing of the browser's window there");
  return true;
}

}  // namespace skimlet::desktop
