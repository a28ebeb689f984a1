// The Settings window: the hotkey preset, the profile the "fill my …" commands type, the own
// model's download, and whether Skimlet has accessibility access.
#pragma once

#import <AppKit/AppKit.h>

#include <functional>

#include "platform/platform.h"

@interface SkimletSettingsWindow : NSObject <NSTextFieldDelegate, NSWindowDelegate>
// `hotkeyChanged` runs after the user picks another preset (the delegate re-registers it).
- (instancetype)initWithPlatform:(skimlet::Platform)platform hotkeyChanged:(std::function<void()>)hotkeyChanged;
- (void)show;
@end
