#include "backends/mac/main_queue_dispatch.h"

#include <dispatch/dispatch.h>

namespace skimlet::mac {

void MainQueueDispatch::toMain(std::function<void()> fn) {
  if (!fn) return;
  // The block keeps its own copy of the function; the main queue runs blocks in order.
  dispatch_async(dispatch_get_main_queue(), ^{
    fn();
  });
}

}  // namespace skimlet::mac
