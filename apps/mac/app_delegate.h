// Skimlet's application delegate: starts the menu-bar application and wires the macOS session,
// the browser tracker, the models, the hotkey and the windows together. It decides nothing of a
// command's handling.
#pragma once

#import <AppKit/AppKit.h>

@interface SkimletAppDelegate : NSObject <NSApplicationDelegate, NSMenuDelegate>
@end
