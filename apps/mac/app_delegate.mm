#import "app_delegate.h"

#include <memory>

#include "ai/bridged_system_model.h"
#include "ai/own_model.h"
#include "backends/mac/mac_session.h"
#include "backends/mac/ns_text.h"
#include "browser/browser_tracker.h"
#include "carbon_hotkey.h"
#import "inspector_window.h"
#include "llm/local_model_runtime.h"
#import "palette_controller.h"
#include "palette/app_menu.h"
#include "palette/hotkey.h"
#import "settings_window.h"
#include "system_model_link.h"

@implementation SkimletAppDelegate {
  std::unique_ptr<skimlet::mac::MacSession> _session;
  std::unique_ptr<skimlet::BrowserTracker> _tracker;
  std::unique_ptr<skimlet::OwnModel> _ownModel;
  std::unique_ptr<skimlet::BridgedSystemModel> _systemModel;
  std::unique_ptr<skimlet::LocalAI> _ai;
  std::unique_ptr<skimlet::mac::CarbonHotkeySystem> _hotkeySystem;
  std::unique_ptr<skimlet::Hotkey> _hotkey;
  SkimletPaletteController* _palette;
  SkimletSettingsWindow* _settings;
  SkimletInspectorWindow* _inspector;
  NSStatusItem* _statusItem;
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
  // No Dock icon and no menu bar of its own: Skimlet lives in its menu-bar item.
  [NSApp setActivationPolicy:NSApplicationActivationPolicyAccessory];

  _session = std::make_unique<skimlet::mac::MacSession>();
  skimlet::Platform platform = _session->platform();
  _tracker = std::make_unique<skimlet::BrowserTracker>(_session->workspace());
  _tracker->start();

  _ownModel = std::make_unique<skimlet::OwnModel>(skimlet::LocalModelRuntime::shared());
  _systemModel = std::make_unique<skimlet::BridgedSystemModel>(skimlet::mac::systemModelBridge());
  _ai = std::make_unique<skimlet::LocalAI>(_ownModel.get(), _systemModel.get());
  auto viewModel = skimlet::PaletteViewModel::create(platform, *_tracker, *_ai);
  _palette = [[SkimletPaletteController alloc] initWithViewModel:viewModel ai:_ai.get() platform:platform];

  __weak SkimletAppDelegate* weakSelf = self;
  _settings = [[SkimletSettingsWindow alloc] initWithPlatform:platform hotkeyChanged:[weakSelf] {
    [weakSelf registerHotkey];
  }];
  _inspector = [[SkimletInspectorWindow alloc] initWithPlatform:platform tracker:_tracker.get()];

  _hotkeySystem = std::make_unique<skimlet::mac::CarbonHotkeySystem>();
  _hotkey = std::make_unique<skimlet::Hotkey>(*_hotkeySystem);
  SkimletPaletteController* palette = _palette;
  _hotkey->handler = [palette] { [palette toggle]; };
  [self registerHotkey];

  _statusItem = [NSStatusBar.systemStatusBar statusItemWithLength:NSVariableStatusItemLength];
  _statusItem.button.image = [NSImage imageWithSystemSymbolName:@"command.square" accessibilityDescription:@"Skimlet"];
  _statusItem.menu = [[NSMenu alloc] init];
  _statusItem.menu.delegate = self;
  [self menuNeedsUpdate:_statusItem.menu];

  // Without access the palette's onboarding asks for it straight away.
  if (!platform.ax.isProcessTrusted(false)) [_palette show];
}

- (void)registerHotkey {
  // A combination another application holds stays unregistered; the menu still opens the palette.
  _hotkey->registerCurrent(_session->settings());
}

// Rebuilt each time it opens, so it names the hotkey in force.
- (void)menuNeedsUpdate:(NSMenu*)menu {
  [menu removeAllItems];
  const std::string title = skimlet::HotkeySettings::current(_session->settings()).title;
  for (const skimlet::AppMenuItem& item : skimlet::appMenuItems(title)) {
    if (item.label.empty()) {
      [menu addItem:NSMenuItem.separatorItem];
      continue;
    }
    SEL action = item.action == "open"        ? @selector(openPalette:)
                 : item.action == "inspector" ? @selector(openInspector:)
                 : item.action == "settings"  ? @selector(openSettings:)
                                              : @selector(terminate:);
    NSMenuItem* entry = [[NSMenuItem alloc] initWithTitle:skimlet::mac::ns(item.label)
                                                   action:action
                                            keyEquivalent:@""];
    entry.target = item.action == "quit" ? (id)NSApp : (id)self;
    [menu addItem:entry];
  }
}

- (void)openPalette:(id)sender {
  [_palette show];
}

- (void)openInspector:(id)sender {
  [_palette hide];
  [_inspector show];
}

- (void)openSettings:(id)sender {
  [_settings show];
}

@end
