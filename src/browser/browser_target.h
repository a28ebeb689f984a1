// The browser that a command addresses: its running application and its adapter.
#pragma once

#include <optional>
#include <string>

#include "browser/browser_adapter.h"
#include "platform/ax.h"
#include "platform/workspace.h"

namespace skimlet {

struct BrowserTarget {
  RunningApp app;
  const BrowserAdapter* adapter = nullptr;  // one of the registry's, which live for the process

  // The application's localized name, else the adapter's name.
  std::string browserName() const;
  // The window to read: focused, else main, else the first of the window list. Prepares each
  // browser process once per run, under a lock, before the first read.
  std::optional<ax::ElementRef> window(ax::Api& ax) const;
  // The application's focused element, when it is one.
  std::optional<ax::ElementRef> focusedElement(ax::Api& ax) const;

  // Forgets which processes were prepared, so a test can watch preparation happen again.
  static void forgetPreparedForTesting();
};

}  // namespace skimlet
