#include "carbon_hotkey.h"

#include <Carbon/Carbon.h>

namespace skimlet::mac {

namespace {

// 'SKLT': the signature that marks Skimlet's hotkey among the application's events.
constexpr OSType kSignature = ('S' << 24) | ('K' << 16) | ('L' << 8) | 'T';

OSStatus onHotkey(EventHandlerCallRef, EventRef, void* userData) {
  // Carbon delivers application events on the main thread.
  auto* pressed = static_cast<std::function<void()>*>(userData);
  if (*pressed) (*pressed)();
  return noErr;
}

}  // namespace

void CarbonHotkeySystem::installHandler(std::function<void()> pressed) {
  pressed_ = std::move(pressed);
  EventTypeSpec type{kEventClassKeyboard, kEventHotKeyPressed};
  InstallEventHandler(GetApplicationEventTarget(), NewEventHandlerUPP(onHotkey), 1, &type, &pressed_, nullptr);
}

bool CarbonHotkeySystem::registerHotkey(const HotkeyPreset& preset) {
  EventHotKeyID id{kSignature, 1};
  EventHotKeyRef ref = nullptr;
  OSStatus status = RegisterEventHotKey(preset.keyCode, preset.modifiers, id, GetApplicationEventTarget(), 0, &ref);
  if (status != noErr) return false;
  ref_ = ref;
  return true;
}

void CarbonHotkeySystem::unregisterHotkey() {
  if (ref_) UnregisterEventHotKey(static_cast<EventHotKeyRef>(ref_));
  ref_ = nullptr;
}

}  // namespace skimlet::mac
