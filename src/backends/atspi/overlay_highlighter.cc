#include "backends/atspi/overlay_highlighter.h"

#include <X11/Xutil.h>
#include <X11/extensions/shape.h>

namespace skimlet::atspi {

namespace {
constexpr int kBorder = 3;
constexpr unsigned long kColor = 0xFF8C00;  // a strong orange that reads on light and dark pages
}  // namespace

OverlayHighlighter::OverlayHighlighter(XDisplay* x) : x_(x) {
  if (!x_) return;
  thread_ = std::thread([this] { timer(); });
}

OverlayHighlighter::~OverlayHighlighter() {
  {
    std::lock_guard lock(mutex_);
    quit_ = true;
  }
  wake_.notify_all();
  if (thread_.joinable()) thread_.join();
  if (x_ && window_) {
    std::lock_guard lock(x_->mutex());
    XDestroyWindow(x_->display(), window_);
    XFlush(x_->display());
  }
}

void OverlayHighlighter::show(Rect f, double seconds) {
  if (!x_ || !f.hasArea()) return;
  {
    std::lock_guard lock(x_->mutex());
    Display* d = x_->display();
    int x = int(f.x) - kBorder, y = int(f.y) - kBorder;
    unsigned w = unsigned(f.width) + 2 * kBorder, h = unsigned(f.height) + 2 * kBorder;
    if (!window_) {
      XSetWindowAttributes a;
      a.override_redirect = True;  // no decorations, not managed: always placed where asked
      a.background_pixel = kColor;
      window_ = XCreateWindow(d, x_->root(), x, y, w, h, 0, CopyFromParent, InputOutput, CopyFromParent,
                              CWOverrideRedirect | CWBackPixel, &a);
      // No input region: clicks reach the page under the outline.
      XShapeCombineRectangles(d, window_, ShapeInput, 0, 0, nullptr, 0, ShapeSet, Unsorted);
    }
    XMoveResizeWindow(d, window_, x, y, w, h);
    // Only the border is drawn: the window is cut down to four strips.
    XRectangle strips[4] = {{0, 0, (unsigned short)w, kBorder},
                            {0, (short)(h - kBorder), (unsigned short)w, kBorder},
                            {0, 0, kBorder, (unsigned short)h},
                            {(short)(w - kBorder), 0, kBorder, (unsigned short)h}};
    XShapeCombineRectangles(d, window_, ShapeBounding, 0, 0, strips, 4, ShapeSet, Unsorted);
    XMapRaised(d, window_);
    XFlush(d);
    mapped_ = true;
  }
  {
    std::lock_guard lock(mutex_);
    hideAt_ = std::chrono::steady_clock::now() +
              std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(seconds));
    pending_ = true;
  }
  wake_.notify_all();
}

void OverlayHighlighter::unmap() {
  if (window_ && mapped_) {
    XUnmapWindow(x_->display(), window_);
    XFlush(x_->display());
  }
  mapped_ = false;
}

void OverlayHighlighter::hide() {
  if (!x_) return;
  {
    std::lock_guard lock(mutex_);
    pending_ = false;
  }
  std::lock_guard lock(x_->mutex());
  unmap();
}

bool OverlayHighlighter::shown() {
  if (!x_) return false;
  std::lock_guard lock(x_->mutex());
  return mapped_;
}

void OverlayHighlighter::timer() {
  std::unique_lock lock(mutex_);
  while (!quit_) {
    if (!pending_) {
      wake_.wait(lock);
      continue;
    }
    if (wake_.wait_until(lock, hideAt_) == std::cv_status::timeout && pending_ &&
        std::chrono::steady_clock::now() >= hideAt_) {
      pending_ = false;
      lock.unlock();
      {
        std::lock_guard display(x_->mutex());
        unmap();
      }
      lock.lock();
    }
  }
}

}  // namespace skimlet::atspi
