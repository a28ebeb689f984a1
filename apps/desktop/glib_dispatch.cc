#include "glib_dispatch.h"

#include <glib.h>

namespace skimlet::desktop {

void GlibDispatch::toMain(std::function<void()> fn) {
  // g_idle_add at one priority runs sources in the order they were added, which keeps the
  // posting order the view model relies on.
  auto* boxed = new std::function<void()>(std::move(fn));
  g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer data) -> gboolean {
        (*static_cast<std::function<void()>*>(data))();
        return G_SOURCE_REMOVE;
      },
      boxed, [](gpointer data) { delete static_cast<std::function<void()>*>(data); });
}

}  // namespace skimlet::desktop
