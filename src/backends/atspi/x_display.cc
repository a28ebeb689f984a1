#include "backends/atspi/x_display.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>

#include <chrono>
#include <cstring>
#include <thread>

namespace skimlet::atspi {

namespace {

// One property of a window as 32-bit items (X hands them out as longs).
std::vector<unsigned long> property(Display* d, Window w, const char* name, Atom type) {
  Atom actual;
  int format;
  unsigned long count, after;
  unsigned char* data = nullptr;
  std::vector<unsigned long> out;
  if (XGetWindowProperty(d, w, XInternAtom(d, name, False), 0, 4096, False, type, &actual, &format, &count, &after,
                         &data) == Success &&
      data && format == 32) {
    auto* items = reinterpret_cast<unsigned long*>(data);
    out.assign(items, items + count);
  }
  if (data) XFree(data);
  return out;
}

int ignoreErrors(Display*, XErrorEvent*) { return 0; }

}  // namespace

std::unique_ptr<XDisplay> XDisplay::open() {
  Display* d = XOpenDisplay(nullptr);
  if (!d) return nullptr;
  // A window can vanish between listing and reading it; such errors are not fatal here.
  XSetErrorHandler(&ignoreErrors);
  return std::unique_ptr<XDisplay>(new XDisplay(d));
}

XDisplay::XDisplay(Display* d) : display_(d), root_(DefaultRootWindow(d)) {}

XDisplay::~XDisplay() { XCloseDisplay(display_); }

Pid XDisplay::pidOf(Window w) {
  auto pid = property(display_, w, "_NET_WM_PID", XA_CARDINAL);
  return pid.empty() ? 0 : Pid(pid[0]);
}

std::vector<Window> XDisplay::clientWindows() {
  std::vector<Window> out;
  for (unsigned long w : property(display_, root_, "_NET_CLIENT_LIST", XA_WINDOW)) out.push_back(Window(w));
  if (!out.empty()) return out;
  // Without a window manager: the root's children.
  Window rootReturn, parent;
  Window* children = nullptr;
  unsigned int count = 0;
  if (XQueryTree(display_, root_, &rootReturn, &parent, &children, &count)) {
    out.assign(children, children + count);
    XFree(children);
  }
  return out;
}

Pid XDisplay::activePid() {
  std::lock_guard lock(mutex_);
  auto active = property(display_, root_, "_NET_ACTIVE_WINDOW", XA_WINDOW);
  if (!active.empty() && active[0]) return pidOf(Window(active[0]));
  Window focus;
  int revert;
  XGetInputFocus(display_, &focus, &revert);
  // The focus may sit on a child of the top-level window that carries the process id.
  for (int hops = 0; focus && focus != root_ && focus != PointerRoot && hops < 8; ++hops) {
    if (Pid pid = pidOf(focus)) return pid;
    Window rootReturn, parent;
    Window* children = nullptr;
    unsigned int count = 0;
    if (!XQueryTree(display_, focus, &rootReturn, &parent, &children, &count)) break;
    if (children) XFree(children);
    focus = parent;
  }
  return 0;
}

bool XDisplay::activate(Pid pid) {
  {
    std::lock_guard lock(mutex_);
    Window best = 0;
    long bestArea = -1;
    for (Window w : clientWindows()) {
      if (pidOf(w) != pid) continue;
      XWindowAttributes a;
      if (!XGetWindowAttributes(display_, w, &a) || a.map_state != IsViewable) continue;
      long area = long(a.width) * a.height;
      if (area > bestArea) {
        best = w;
        bestArea = area;
      }
    }
    if (!best) return false;
    // Ask the window manager, as a pager would (source 2); raise and focus directly as well
    // for desktops without one.
    XEvent e;
    std::memset(&e, 0, sizeof e);
    e.xclient.type = ClientMessage;
    e.xclient.window = best;
    e.xclient.message_type = XInternAtom(display_, "_NET_ACTIVE_WINDOW", False);
    e.xclient.format = 32;
    e.xclient.data.l[0] = 2;
    e.xclient.data.l[1] = CurrentTime;
    XSendEvent(display_, root_, False, SubstructureRedirectMask | SubstructureNotifyMask, &e);
    XRaiseWindow(display_, best);
    XSetInputFocus(display_, best, RevertToParent, CurrentTime);
    XSync(display_, False);
  }
  for (int i = 0; i < 20; ++i) {
    if (activePid() == pid) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(25));
  }
  return activePid() == pid;
}

}  // namespace skimlet::atspi
