// The Element Inspector ("Skimlet Inspector"): the front browser window's accessibility tree
// with each element's role, subrole, label, frame and actions. Selecting a row outlines the
// element on the page; Pick takes the next click anywhere on the screen and selects the element
// under it.
#pragma once

#include <gtk/gtk.h>

#include <memory>
#include <thread>
#include <vector>

#include "browser/browser_tracker.h"
#include "page/page_element.h"
#include "platform/platform.h"

namespace skimlet::desktop {

class InspectorWindow {
 public:
  InspectorWindow(const Platform& platform, BrowserTracker& tracker);
  ~InspectorWindow();
  InspectorWindow(const InspectorWindow&) = delete;
  InspectorWindow& operator=(const InspectorWindow&) = delete;

  // Shows the window and reads the tree afresh.
  void present();
  GtkWidget* widget() const { return window_; }

 private:
  void refresh();
  void fill(std::vector<PageElement> elements);
  void select(int id);
  void startPick();
  void endPick();
  static gboolean onButton(GtkWidget*, GdkEventButton* event, gpointer self);

  Platform platform_;
  BrowserTracker& tracker_;
  std::vector<PageElement> elements_;
  std::vector<GtkTreeIter> iters_;
  GtkWidget* window_ = nullptr;
  GtkWidget* view_ = nullptr;
  GtkWidget* status_ = nullptr;
  GtkWidget* pick_ = nullptr;
  GtkTreeStore* store_ = nullptr;
  bool picking_ = false;
  std::jthread reader_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace skimlet::desktop
