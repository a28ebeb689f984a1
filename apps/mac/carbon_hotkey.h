// The global hotkey through Carbon's event manager, the one macOS interface that registers a
// system-wide key combination without the input-monitoring permission.
#pragma once

#include "palette/hotkey.h"

namespace skimlet::mac {

class CarbonHotkeySystem final : public HotkeySystem {
 public:
  void installHandler(std::function<void()> pressed) override;
  bool registerHotkey(const HotkeyPreset& preset) override;
  void unregisterHotkey() override;

 private:
  std::function<void()> pressed_;
  void* ref_ = nullptr;  // EventHotKeyRef
};

}  // namespace skimlet::mac
