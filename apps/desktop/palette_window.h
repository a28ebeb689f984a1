// The floating palette: an undecorated window centred near the top of the screen, above the
// browser, that takes focus when shown and goes away when it loses it. It draws what the view
// model holds and hands keys to PaletteKeys; it decides nothing itself.
#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <string>

#include "ai/local_ai.h"
#include "desktop_backend.h"
#include "palette/palette_keys.h"
#include "palette/palette_view_model.h"

namespace skimlet::desktop {

class PaletteWindow {
 public:
  PaletteWindow(std::shared_ptr<PaletteViewModel> vm, DesktopBackend& backend, LocalAI ai);
  ~PaletteWindow();
  PaletteWindow(const PaletteWindow&) = delete;
  PaletteWindow& operator=(const PaletteWindow&) = delete;

  void show();
  void hide();
  void toggle();
  bool visible() const;
  // Keeps the palette open when it loses focus (for screenshots taken from outside).
  void setStaysOpen(bool stays) { staysOpen_ = stays; }
  GtkWidget* widget() const { return window_; }

 private:
  static gboolean onKey(GtkWidget*, GdkEventKey* event, gpointer self);
  static void onChanged(GtkEditable*, gpointer self);
  static void onActiveChanged(GObject*, GParamSpec*, gpointer self);
  static gboolean onWatch(gpointer self);
  static gboolean onReclaim(gpointer self);

  void render();
  void apply(const PaletteKeys::Answer& answer);
  void setField(const std::string& text);
  void place();
  void addOnboarding();
  void addSuggestions();
  void addWorking(const std::string& text);
  void addResult(const ActionResult& result);
  void addConfirmation(const Confirmation& confirmation);
  void addChoice(const ChoiceSet& choice);
  void setFooter();

  std::shared_ptr<PaletteViewModel> vm_;
  DesktopBackend& backend_;
  LocalAI ai_;
  PaletteKeys keys_;
  GtkWidget* window_ = nullptr;
  GtkWidget* entry_ = nullptr;
  GtkWidget* preview_ = nullptr;
  GtkWidget* content_ = nullptr;
  GtkWidget* browser_ = nullptr;
  GtkWidget* badge_ = nullptr;
  std::string focusToken_;
  bool settingField_ = false;
  bool wasActive_ = false;
  bool staysOpen_ = false;
  guint watch_ = 0;    // polls a running command until its worker has ended
  guint reclaim_ = 0;  // takes the focus back after a command
  // Shared with the view model's observer, which may outlive this window by a turn.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace skimlet::desktop
