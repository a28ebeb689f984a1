// The Element Inspector ("Skimlet Inspector"): the front browser window's accessibility tree,
// one line per element, indented by depth; choosing a line outlines that element on screen.
#pragma once

#import <AppKit/AppKit.h>

#include "browser/browser_tracker.h"
#include "platform/platform.h"

@interface SkimletInspectorWindow : NSObject <NSTableViewDataSource, NSTableViewDelegate>
- (instancetype)initWithPlatform:(skimlet::Platform)platform tracker:(skimlet::BrowserTracker*)tracker;
// Shows the window and reads the tree afresh.
- (void)show;
@end
