// skimlet-desktop [--url PAGE | --fixture FILE] [--headless] [--no-model] [--show] [--toggle]
//
// Skimlet on a Linux desktop: no window of its own, a menu in the status area, and a global
// hotkey that summons the palette over the browser. One instance runs per session: launching it
// again (or `skimlet-desktop --toggle`, which Wayland users bind to a key) toggles the palette of
// the running one.
#include <gtk/gtk.h>

#include <cstring>
#include <memory>
#include <string>

#include "desktop_app.h"

namespace {

using skimlet::desktop::AppOptions;
using skimlet::desktop::DesktopApp;

std::unique_ptr<DesktopApp> app;

constexpr const char* kUsage =
    "usage: skimlet-desktop [--url PAGE | --fixture FILE] [--headless] [--no-model] [--show] [--toggle]\n"
    "  --url PAGE      open PAGE (a URL or an HTML file) in a Chromium that Skimlet starts and drives\n"
    "  --fixture FILE  drive a recorded page (as `skimlet record` writes) held in memory\n"
    "  --headless      that Chromium without a window\n"
    "  --no-model      rules only, even when the model is installed\n"
    "  --show          open the palette at once\n"
    "  --toggle        show or hide the palette of the running Skimlet\n";

// Reads the options; false with a message when they are wrong.
bool parse(int argc, char** argv, AppOptions& o, bool& toggle, std::string& problem) {
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    auto value = [&](std::string& out) {
      if (i + 1 >= argc) {
        problem = a + " needs a value";
        return false;
      }
      out = argv[++i];
      return true;
    };
    if (a == "--url") {
      if (!value(o.backend.url)) return false;
    } else if (a == "--fixture") {
      if (!value(o.backend.fixture)) return false;
    } else if (a == "--headless") {
      o.backend.visible = false;
    } else if (a == "--no-model") {
      o.model = false;
    } else if (a == "--show") {
      o.showPalette = true;
    } else if (a == "--toggle") {
      toggle = true;
    } else {
      problem = "unknown option " + a;
      return false;
    }
  }
  return true;
}

int onCommandLine(GApplication* gapp, GApplicationCommandLine* command, gpointer) {
  int argc = 0;
  char** argv = g_application_command_line_get_arguments(command, &argc);
  AppOptions options;
  bool toggle = false;
  std::string problem;
  const bool ok = parse(argc, argv, options, toggle, problem);
  g_strfreev(argv);
  if (!ok) {
    g_application_command_line_printerr(command, "skimlet-desktop: %s\n%s", problem.c_str(), kUsage);
    return 2;
  }
  if (app) {
    // A second launch: the running Skimlet's palette comes or goes.
    app->togglePalette();
    return 0;
  }
  try {
    options.showPalette = options.showPalette || toggle;
    app = std::make_unique<DesktopApp>(GTK_APPLICATION(gapp), options);
  } catch (const std::exception& e) {
    g_application_command_line_printerr(command, "skimlet-desktop: %s\n", e.what());
    return 1;
  }
  g_application_hold(gapp);
  g_application_command_line_print(command, "Skimlet is running: press %s to open the palette.\n",
                                   app->hotkeyTitle().c_str());
  if (g_getenv("WAYLAND_DISPLAY")) {
    g_application_command_line_print(command,
                                     "On Wayland the key may reach Skimlet only over its own windows: bind "
                                     "\"skimlet-desktop --toggle\" to a key in your desktop's keyboard settings.\n");
  }
  return 0;
}

void addAction(GApplication* gapp, const char* name, void (*run)()) {
  GSimpleAction* action = g_simple_action_new(name, nullptr);
  g_signal_connect_swapped(action, "activate", G_CALLBACK(+[](void (*fn)()) {
                             if (app) fn();
                           }),
                           reinterpret_cast<gpointer>(run));
  g_action_map_add_action(G_ACTION_MAP(gapp), G_ACTION(action));
  g_object_unref(action);
}

}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
      std::fputs(kUsage, stdout);
      return 0;
    }
  }
  // The hotkey grab, the palette's placement and keeping it above the browser are X11 services;
  // on a Wayland session the application runs through XWayland.
  gdk_set_allowed_backends("x11");
  GtkApplication* gapp = gtk_application_new("org.skimlet.Skimlet", G_APPLICATION_HANDLES_COMMAND_LINE);
  g_signal_connect(gapp, "command-line", G_CALLBACK(onCommandLine), nullptr);
  // The menu's items, also reachable over D-Bus (org.gtk.Actions) on desktops without a tray.
  addAction(G_APPLICATION(gapp), "open", [] { app->openPalette(); });
  addAction(G_APPLICATION(gapp), "toggle", [] { app->togglePalette(); });
  addAction(G_APPLICATION(gapp), "inspector", [] { app->openInspector(); });
  addAction(G_APPLICATION(gapp), "settings", [] { app->openSettings(); });
  addAction(G_APPLICATION(gapp), "quit", [] { g_application_quit(g_application_get_default()); });
  g_signal_connect(gapp, "shutdown", G_CALLBACK(+[](GApplication*) { app.reset(); }), nullptr);
  const int status = g_application_run(G_APPLICATION(gapp), argc, argv);
  app.reset();
  g_object_unref(gapp);
  return status;
}
