// Small GTK helpers the desktop windows share: labels in the house style and the style sheet.
#pragma once

#include <gtk/gtk.h>

#include <string>

namespace skimlet::desktop {

struct LabelStyle {
  const char* css = nullptr;  // a style class from the sheet ("dim", "headline", "why", ...)
  bool markup = false;        // the text is Pango markup
  bool wrap = false;
  bool ellipsize = false;
  bool selectable = false;
};

GtkWidget* label(const std::string& text, LabelStyle style = {});
void clearChildren(GtkWidget* container);
// Adds Skimlet's style sheet to the screen once.
void installStyle();

}  // namespace skimlet::desktop
