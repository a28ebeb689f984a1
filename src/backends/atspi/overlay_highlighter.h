// The highlight as an outline drawn on the screen: a borderless window above everything, cut
// down to a frame around the element, that mouse clicks pass through.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include "backends/atspi/x_display.h"
#include "platform/highlighter.h"

namespace skimlet::atspi {

class OverlayHighlighter : public Highlighter {
 public:
  // x may be null (no display): then nothing is drawn.
  explicit OverlayHighlighter(XDisplay* x);
  ~OverlayHighlighter() override;

  void show(Rect axFrame, double seconds) override;
  void hide() override;
  // Whether the outline is on screen now.
  bool shown();

 private:
  void unmap();  // call with the display locked
  void timer();

  XDisplay* x_;
  unsigned long window_ = 0;
  bool mapped_ = false;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::chrono::steady_clock::time_point hideAt_{};
  bool pending_ = false, quit_ = false;
  std::thread thread_;
};

}  // namespace skimlet::atspi
