#include "palette_window.h"

#include <map>

#include "gtk_util.h"
#include "palette/light_markdown.h"
#include "text/text_util.h"

namespace skimlet::desktop {

namespace {

constexpr int kWidth = 660;

// The suggestions name their icons by the system symbols macOS draws; these are the freedesktop
// icons closest to them.
const char* iconFor(const std::string& symbol) {
  static const std::map<std::string, const char*> icons = {{"doc.text", "text-x-generic-symbolic"},
                                                           {"text.alignleft", "format-justify-left-symbolic"},
                                                           {"magnifyingglass", "edit-find-symbolic"},
                                                           {"cursorarrow.click", "input-mouse-symbolic"},
                                                           {"arrow.up.and.down", "view-sort-ascending-symbolic"},
                                                           {"arrow.down", "go-down-symbolic"},
                                                           {"arrow.up", "go-up-symbolic"},
                                                           {"arrow.down.to.line", "go-bottom-symbolic"},
                                                           {"arrow.up.to.line", "go-top-symbolic"}};
  auto it = icons.find(symbol);
  return it == icons.end() ? "go-next-symbolic" : it->second;
}

std::string escaped(const std::string& text) {
  gchar* e = g_markup_escape_text(text.c_str(), -1);
  std::string out(e);
  g_free(e);
  return out;
}

std::string markup(const std::string& lightMarkdown) {
  std::string out;
  for (const auto& run : lightMarkdownRuns(lightMarkdown)) {
    gchar* escaped = g_markup_escape_text(run.text.c_str(), -1);
    out += run.bold ? "<b>" + std::string(escaped) + "</b>" : std::string(escaped);
    g_free(escaped);
  }
  return out;
}

GtkWidget* row(GtkWidget* list, const char* icon, const std::string& text, const std::string& detail = "") {
  GtkWidget* box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 10);
  if (icon) gtk_box_pack_start(GTK_BOX(box), gtk_image_new_from_icon_name(icon, GTK_ICON_SIZE_MENU), false, false, 0);
  // One line per row: an item's text may be a whole block of the page.
  gtk_box_pack_start(GTK_BOX(box), label(TextUtil::clean(text), {.ellipsize = true}), true, true, 0);
  if (!detail.empty())
    gtk_box_pack_end(GTK_BOX(box), label(detail, {.css = "dim", .ellipsize = true}), false, false, 0);
  GtkWidget* r = gtk_list_box_row_new();
  gtk_style_context_add_class(gtk_widget_get_style_context(r), "palette-row");
  gtk_container_add(GTK_CONTAINER(r), box);
  gtk_container_add(GTK_CONTAINER(list), r);
  return r;
}

GtkWidget* list() {
  GtkWidget* l = gtk_list_box_new();
  gtk_list_box_set_selection_mode(GTK_LIST_BOX(l), GTK_SELECTION_SINGLE);
  gtk_list_box_set_activate_on_single_click(GTK_LIST_BOX(l), true);
  gtk_widget_set_can_focus(l, false);
  return l;
}

}  // namespace

PaletteWindow::PaletteWindow(std::shared_ptr<PaletteViewModel> vm, DesktopBackend& backend, LocalAI ai)
    : vm_(std::move(vm)), backend_(backend), ai_(ai), keys_(*vm_) {
  installStyle();
  window_ = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_title(GTK_WINDOW(window_), "Skimlet");
  gtk_window_set_decorated(GTK_WINDOW(window_), false);
  gtk_window_set_keep_above(GTK_WINDOW(window_), true);
  gtk_window_set_skip_taskbar_hint(GTK_WINDOW(window_), true);
  gtk_window_set_skip_pager_hint(GTK_WINDOW(window_), true);
  gtk_window_set_type_hint(GTK_WINDOW(window_), GDK_WINDOW_TYPE_HINT_DIALOG);
  gtk_window_set_resizable(GTK_WINDOW(window_), false);
  gtk_widget_set_size_request(window_, kWidth, -1);
  gtk_style_context_add_class(gtk_widget_get_style_context(window_), "skimlet-palette");
  g_signal_connect(window_, "delete-event", G_CALLBACK(gtk_widget_hide_on_delete), nullptr);

  GtkWidget* outer = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  gtk_container_add(GTK_CONTAINER(window_), outer);

  GtkWidget* field = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
  gtk_style_context_add_class(gtk_widget_get_style_context(field), "field");
  gtk_box_pack_start(GTK_BOX(field), gtk_image_new_from_icon_name("edit-find-symbolic", GTK_ICON_SIZE_LARGE_TOOLBAR),
                     false, false, 0);
  entry_ = gtk_entry_new();
  gtk_entry_set_placeholder_text(GTK_ENTRY(entry_), "What do you want to do?");
  gtk_entry_set_has_frame(GTK_ENTRY(entry_), false);
  gtk_box_pack_start(GTK_BOX(field), entry_, true, true, 0);
  gtk_box_pack_start(GTK_BOX(outer), field, false, false, 0);

  preview_ = label("", {.css = "preview", .ellipsize = true});
  gtk_box_pack_start(GTK_BOX(outer), preview_, false, false, 0);
  gtk_box_pack_start(GTK_BOX(outer), gtk_separator_new(GTK_ORIENTATION_HORIZONTAL), false, false, 0);

  content_ = gtk_box_new(GTK_ORIENTATION_VERTICAL, 6);
  gtk_style_context_add_class(gtk_widget_get_style_context(content_), "content");
  gtk_box_pack_start(GTK_BOX(outer), content_, true, true, 0);

  GtkWidget* footer = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
  gtk_style_context_add_class(gtk_widget_get_style_context(footer), "footer");
  browser_ = label("", {.css = "dim"});
  badge_ = label("", {.css = "badge"});
  gtk_box_pack_start(GTK_BOX(footer), browser_, true, true, 0);
  gtk_box_pack_end(GTK_BOX(footer), badge_, false, false, 0);
  gtk_box_pack_end(GTK_BOX(outer), footer, false, false, 0);

  g_signal_connect(window_, "key-press-event", G_CALLBACK(onKey), this);
  g_signal_connect(entry_, "changed", G_CALLBACK(onChanged), this);
  g_signal_connect(window_, "notify::is-active", G_CALLBACK(onActiveChanged), this);

  std::weak_ptr<bool> alive = alive_;
  vm_->observe([this, alive] {
    if (alive.lock()) render();
  });
  vm_->onDismiss = [this, alive] {
    if (alive.lock()) hide();
  };
  gtk_widget_show_all(outer);
}

PaletteWindow::~PaletteWindow() {
  alive_.reset();
  if (watch_) g_source_remove(watch_);
  if (reclaim_) g_source_remove(reclaim_);
  vm_->onDismiss = nullptr;
  gtk_widget_destroy(window_);
}

bool PaletteWindow::visible() const { return gtk_widget_get_visible(window_); }

void PaletteWindow::toggle() {
  if (visible()) hide();
  else show();
}

void PaletteWindow::show() {
  vm_->reset();
  vm_->refreshContext();
  keys_.reset();
  setField("");
  wasActive_ = false;
  render();
  place();
  gtk_widget_show(window_);
  gtk_window_present_with_time(GTK_WINDOW(window_), gtk_get_current_event_time());
  gtk_widget_grab_focus(entry_);
}

void PaletteWindow::hide() {
  if (!visible()) return;
  vm_->cancel();
  gtk_widget_hide(window_);
}

void PaletteWindow::place() {
  GdkDisplay* display = gdk_display_get_default();
  GdkMonitor* monitor = gdk_display_get_primary_monitor(display);
  if (!monitor) monitor = gdk_display_get_monitor(display, 0);
  if (!monitor) return;
  GdkRectangle area;
  gdk_monitor_get_workarea(monitor, &area);
  gtk_window_move(GTK_WINDOW(window_), area.x + (area.width - kWidth) / 2, area.y + area.height / 6);
}

gboolean PaletteWindow::onKey(GtkWidget*, GdkEventKey* event, gpointer data) {
  auto* self = static_cast<PaletteWindow*>(data);
  const bool control = (event->state & GDK_CONTROL_MASK) != 0;
  if (control && (event->keyval == GDK_KEY_y || event->keyval == GDK_KEY_Y)) {
    self->vm_->showWhy = !self->vm_->showWhy;
    self->render();
    return true;
  }
  std::optional<PaletteKey> key;
  switch (event->keyval) {
    case GDK_KEY_Up:
    case GDK_KEY_KP_Up: key = PaletteKey::up; break;
    case GDK_KEY_Down:
    case GDK_KEY_KP_Down: key = PaletteKey::down; break;
    case GDK_KEY_Tab: key = PaletteKey::tab; break;
    case GDK_KEY_ISO_Left_Tab: key = PaletteKey::backTab; break;
    case GDK_KEY_Return:
    case GDK_KEY_KP_Enter: key = PaletteKey::enter; break;
    case GDK_KEY_Escape: key = PaletteKey::escape; break;
    default: return false;
  }
  const auto answer = self->keys_.press(*key);
  self->apply(answer);
  if (answer.close) self->hide();
  else self->render();
  return answer.handled;
}

void PaletteWindow::onChanged(GtkEditable*, gpointer data) {
  auto* self = static_cast<PaletteWindow*>(data);
  if (self->settingField_) return;
  self->apply(self->keys_.edited(gtk_entry_get_text(GTK_ENTRY(self->entry_))));
  self->render();
}

void PaletteWindow::onActiveChanged(GObject*, GParamSpec*, gpointer data) {
  auto* self = static_cast<PaletteWindow*>(data);
  if (gtk_window_is_active(GTK_WINDOW(self->window_))) {
    self->wasActive_ = true;
  } else if (self->vm_->busy() || self->reclaim_) {
    // Acting on the page can bring the browser's window forward; the palette stays for the
    // answer and takes the focus back when the command is done.
  } else if (self->wasActive_ && !self->staysOpen_) {
    self->hide();  // the user went elsewhere
  }
}

gboolean PaletteWindow::onWatch(gpointer data) {
  auto* self = static_cast<PaletteWindow*>(data);
  if (self->vm_->busy()) return G_SOURCE_CONTINUE;
  self->watch_ = 0;
  // The browser raises its window a moment after an action has returned; taking the focus
  // back at once would lose it again.
  if (self->visible() && !self->reclaim_) self->reclaim_ = g_timeout_add(300, onReclaim, self);
  return G_SOURCE_REMOVE;
}

gboolean PaletteWindow::onReclaim(gpointer data) {
  auto* self = static_cast<PaletteWindow*>(data);
  self->reclaim_ = 0;
  // Asked whether it still has the focus, GTK may not know yet that the browser took it. The
  // focus is set with the current time: GTK's present would use the time of our last key
  // press, which the server ignores as older than the browser's own focus change.
  if (self->visible()) gdk_window_focus(gtk_widget_get_window(self->window_), GDK_CURRENT_TIME);
  return G_SOURCE_REMOVE;
}

void PaletteWindow::apply(const PaletteKeys::Answer& answer) {
  if (answer.field) setField(*answer.field);
}

void PaletteWindow::setField(const std::string& text) {
  settingField_ = true;
  gtk_entry_set_text(GTK_ENTRY(entry_), text.c_str());
  gtk_editable_set_position(GTK_EDITABLE(entry_), -1);
  settingField_ = false;
}

void PaletteWindow::render() {
  if (vm_->focusToken() != focusToken_) {
    focusToken_ = vm_->focusToken();
    if (visible()) gtk_widget_grab_focus(entry_);
    gtk_editable_set_position(GTK_EDITABLE(entry_), -1);
  }
  if (vm_->busy() && !watch_) watch_ = g_timeout_add(150, onWatch, this);
  clearChildren(content_);
  const auto& phase = vm_->phase();
  const auto preview = vm_->preview();
  const bool idle = std::holds_alternative<PaletteViewModel::Idle>(phase);
  gtk_label_set_text(GTK_LABEL(preview_), idle && preview ? ("\u21b5 " + *preview).c_str() : "");
  gtk_widget_set_visible(preview_, idle && preview);

  if (const auto* working = std::get_if<PaletteViewModel::Working>(&phase)) addWorking(working->text);
  else if (const auto* result = std::get_if<ActionResult>(&phase)) addResult(*result);
  else if (const auto* confirmation = std::get_if<Confirmation>(&phase)) addConfirmation(*confirmation);
  else if (const auto* choice = std::get_if<ChoiceSet>(&phase)) addChoice(*choice);
  else {
    addOnboarding();
    if (keys_.showsSuggestions()) addSuggestions();
  }
  GList* shown = gtk_container_get_children(GTK_CONTAINER(content_));
  gtk_widget_set_visible(content_, shown != nullptr);
  g_list_free(shown);
  gtk_widget_show_all(content_);
  setFooter();
  // Shrink to what is shown now.
  gtk_window_resize(GTK_WINDOW(window_), kWidth, 1);
}

void PaletteWindow::addOnboarding() {
  const AccessStatus access = backend_.access();
  if (!access.on) {
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 6);
    gtk_style_context_add_class(gtk_widget_get_style_context(box), "notice");
    const std::string headline =
        access.headline.empty() ? "Skimlet needs desktop accessibility to read pages" : access.headline;
    gtk_box_pack_start(GTK_BOX(box), label("<b>" + escaped(headline) + "</b>", {.markup = true, .wrap = true}), false,
                       false, 0);
    // A browser joins the accessibility bus only when it starts with the switch on.
    const std::string hint = access.hint.empty()
                                 ? "Turning it on takes a moment; then quit your browser and open it again, once."
                                 : access.hint;
    gtk_box_pack_start(GTK_BOX(box), label(hint, {.wrap = true}), false, false, 0);
    GtkWidget* button = gtk_button_new_with_label("Turn On Accessibility");
    gtk_style_context_add_class(gtk_widget_get_style_context(button), "suggested-action");
    gtk_widget_set_halign(button, GTK_ALIGN_START);
    g_signal_connect_swapped(button, "clicked", G_CALLBACK(+[](PaletteWindow* self) {
                               self->backend_.enableAccess();
                               self->vm_->refreshContext();
                               self->render();
                             }),
                             this);
    gtk_box_pack_start(GTK_BOX(box), button, false, false, 0);
    gtk_box_pack_start(GTK_BOX(content_), box, false, false, 0);
    return;
  }
  if (!vm_->target()) {
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 4);
    gtk_style_context_add_class(gtk_widget_get_style_context(box), "notice");
    gtk_box_pack_start(GTK_BOX(box), label("<b>No supported browser in front</b>", {.markup = true}), false, false, 0);
    gtk_box_pack_start(
        GTK_BOX(box),
        label("Open Safari, Chrome, Firefox, Arc, Brave or Edge, then press the hotkey again.", {.wrap = true}), false,
        false, 0);
    gtk_box_pack_start(GTK_BOX(content_), box, false, false, 0);
  }
}

void PaletteWindow::addSuggestions() {
  GtkWidget* l = list();
  const auto suggestions = keys_.suggestions();
  for (const auto& s : suggestions) row(l, iconFor(s.icon), s.title);
  if (keys_.suggestion() >= 0) {
    gtk_list_box_select_row(GTK_LIST_BOX(l), gtk_list_box_get_row_at_index(GTK_LIST_BOX(l), keys_.suggestion()));
  } else {
    gtk_list_box_unselect_all(GTK_LIST_BOX(l));
  }
  g_signal_connect(l, "row-activated", G_CALLBACK(+[](GtkListBox*, GtkListBoxRow* r, PaletteWindow* self) {
                     self->apply(self->keys_.use(gtk_list_box_row_get_index(r)));
                     self->render();
                   }),
                   this);
  gtk_box_pack_start(GTK_BOX(content_), l, false, false, 0);
}

void PaletteWindow::addWorking(const std::string& text) {
  GtkWidget* box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 10);
  GtkWidget* spinner = gtk_spinner_new();
  gtk_spinner_start(GTK_SPINNER(spinner));
  gtk_box_pack_start(GTK_BOX(box), spinner, false, false, 0);
  gtk_box_pack_start(GTK_BOX(box), label(text, {.css = "dim", .ellipsize = true}), true, true, 0);
  gtk_box_pack_start(GTK_BOX(content_), box, false, false, 0);
}

void PaletteWindow::addResult(const ActionResult& r) {
  const char* kind = r.kind == ActionResult::Kind::success   ? "success"
                     : r.kind == ActionResult::Kind::failure ? "failure"
                                                             : "info";
  GtkWidget* head = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
  const char* icon = r.kind == ActionResult::Kind::success   ? "object-select-symbolic"
                     : r.kind == ActionResult::Kind::failure ? "dialog-warning-symbolic"
                                                             : "dialog-information-symbolic";
  GtkWidget* image = gtk_image_new_from_icon_name(icon, GTK_ICON_SIZE_BUTTON);
  gtk_style_context_add_class(gtk_widget_get_style_context(image), kind);
  gtk_box_pack_start(GTK_BOX(head), image, false, false, 0);
  gtk_box_pack_start(GTK_BOX(head), label(markup(r.headline), {.css = "headline", .markup = true, .wrap = true}), true,
                     true, 0);
  if (r.isPartial) {
    GtkWidget* spinner = gtk_spinner_new();
    gtk_spinner_start(GTK_SPINNER(spinner));
    gtk_box_pack_end(GTK_BOX(head), spinner, false, false, 0);
  }
  gtk_box_pack_start(GTK_BOX(content_), head, false, false, 0);

  if (r.body && !r.body->empty()) {
    GtkWidget* body = label(*r.body, {.css = "body", .wrap = true, .selectable = true});
    GtkWidget* scroll = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroll), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_propagate_natural_height(GTK_SCROLLED_WINDOW(scroll), true);
    gtk_scrolled_window_set_max_content_height(GTK_SCROLLED_WINDOW(scroll), 280);
    gtk_container_add(GTK_CONTAINER(scroll), body);
    gtk_box_pack_start(GTK_BOX(content_), scroll, false, false, 0);
  }
  if (!r.items.empty()) {
    GtkWidget* l = list();
    for (const auto& item : r.items) row(l, item.element ? "find-location-symbolic" : nullptr, item.text);
    if (keys_.item() >= 0) {
      gtk_list_box_select_row(GTK_LIST_BOX(l), gtk_list_box_get_row_at_index(GTK_LIST_BOX(l), keys_.item()));
    } else {
      gtk_list_box_unselect_all(GTK_LIST_BOX(l));
    }
    g_signal_connect(l, "row-activated", G_CALLBACK(+[](GtkListBox*, GtkListBoxRow* rowWidget, PaletteWindow* self) {
                       const auto* shown = std::get_if<ActionResult>(&self->vm_->phase());
                       const int i = gtk_list_box_row_get_index(rowWidget);
                       if (shown && i >= 0 && i < static_cast<int>(shown->items.size())) {
                         self->vm_->reveal(shown->items[static_cast<std::size_t>(i)]);
                       }
                     }),
                     this);
    GtkWidget* scroll = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroll), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_propagate_natural_height(GTK_SCROLLED_WINDOW(scroll), true);
    gtk_scrolled_window_set_max_content_height(GTK_SCROLLED_WINDOW(scroll), 240);
    gtk_container_add(GTK_CONTAINER(scroll), l);
    gtk_box_pack_start(GTK_BOX(content_), scroll, false, false, 0);
  }
  if (!r.debug.empty()) {
    GtkWidget* why = gtk_toggle_button_new_with_label("Why?");
    gtk_style_context_add_class(gtk_widget_get_style_context(why), "why-toggle");
    gtk_widget_set_halign(why, GTK_ALIGN_START);
    gtk_widget_set_can_focus(why, false);
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(why), vm_->showWhy);
    g_signal_connect(why, "toggled", G_CALLBACK(+[](GtkToggleButton* b, PaletteWindow* self) {
                       self->vm_->showWhy = gtk_toggle_button_get_active(b);
                       // Redrawn on the next turn: the button is replaced while it is being toggled.
                       g_idle_add(
                           +[](gpointer p) -> gboolean {
                             static_cast<PaletteWindow*>(p)->render();
                             return G_SOURCE_REMOVE;
                           },
                           self);
                     }),
                     this);
    gtk_box_pack_start(GTK_BOX(content_), why, false, false, 0);
    if (vm_->showWhy) {
      std::string lines;
      for (const auto& line : r.debug) lines += (lines.empty() ? "" : "\n") + line;
      gtk_box_pack_start(GTK_BOX(content_), label(lines, {.css = "why", .wrap = true, .selectable = true}), false,
                         false, 0);
    }
  }
}

void PaletteWindow::addConfirmation(const Confirmation& c) {
  GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 6);
  gtk_style_context_add_class(gtk_widget_get_style_context(box), "notice");
  gtk_box_pack_start(GTK_BOX(box), label(markup(c.title), {.css = "headline", .markup = true, .wrap = true}), false,
                     false, 0);
  if (!c.message.empty()) gtk_box_pack_start(GTK_BOX(box), label(c.message, {.wrap = true}), false, false, 0);
  GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
  gtk_widget_set_halign(buttons, GTK_ALIGN_END);
  GtkWidget* cancel = gtk_button_new_with_label("Cancel  Esc");
  GtkWidget* ok = gtk_button_new_with_label((c.confirmLabel + "  \u21b5").c_str());
  gtk_style_context_add_class(gtk_widget_get_style_context(ok), "destructive-action");
  gtk_widget_set_can_focus(cancel, false);
  gtk_widget_set_can_focus(ok, false);
  g_signal_connect_swapped(cancel, "clicked", G_CALLBACK(+[](PaletteWindow* self) { self->vm_->escape(); }), this);
  g_signal_connect_swapped(ok, "clicked", G_CALLBACK(+[](PaletteWindow* self) { self->vm_->submit(); }), this);
  gtk_box_pack_start(GTK_BOX(buttons), cancel, false, false, 0);
  gtk_box_pack_start(GTK_BOX(buttons), ok, false, false, 0);
  gtk_box_pack_start(GTK_BOX(box), buttons, false, false, 0);
  gtk_box_pack_start(GTK_BOX(content_), box, false, false, 0);
}

void PaletteWindow::addChoice(const ChoiceSet& choice) {
  gtk_box_pack_start(GTK_BOX(content_), label(markup(choice.prompt), {.css = "headline", .markup = true, .wrap = true}),
                     false, false, 0);
  GtkWidget* l = list();
  int n = 0;
  for (const auto& option : choice.options) {
    ++n;
    row(l, nullptr, std::to_string(n) + "   " + option.title, option.subtitle);
  }
  gtk_list_box_select_row(GTK_LIST_BOX(l), gtk_list_box_get_row_at_index(GTK_LIST_BOX(l), vm_->selected()));
  g_signal_connect(l, "row-activated", G_CALLBACK(+[](GtkListBox*, GtkListBoxRow* r, PaletteWindow* self) {
                     self->vm_->pick(gtk_list_box_row_get_index(r));
                   }),
                   this);
  gtk_box_pack_start(GTK_BOX(content_), l, false, false, 0);
  gtk_box_pack_start(GTK_BOX(content_),
                     label("\u2191\u2193 or a number to choose, \u21b5 to pick, Esc to leave", {.css = "dim"}), false,
                     false, 0);
}

void PaletteWindow::setFooter() {
  const auto& target = vm_->target();
  const std::string where = target ? target->browserName() : "No browser";
  gtk_label_set_text(GTK_LABEL(browser_), (where + "  \u00b7  Ctrl+Y Why?  \u00b7  Esc closes").c_str());
  gtk_label_set_text(GTK_LABEL(badge_), ai_.statusText().c_str());
}

}  // namespace skimlet::desktop
