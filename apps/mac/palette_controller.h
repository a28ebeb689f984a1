// The palette panel: a floating panel that takes the keyboard without activating Skimlet (so
// the browser stays the front application), over the shared PaletteViewModel. It lays out what
// paletteContent() says and passes keys through PaletteKeys; it decides nothing itself.
#pragma once

#import <AppKit/AppKit.h>

#include <memory>

#include "ai/local_ai.h"
#include "palette/palette_view_model.h"
#include "platform/platform.h"

@interface SkimletPaletteController : NSObject <NSTextFieldDelegate, NSWindowDelegate>
- (instancetype)initWithViewModel:(std::shared_ptr<skimlet::PaletteViewModel>)viewModel
                               ai:(const skimlet::LocalAI*)ai
                         platform:(skimlet::Platform)platform;
- (void)show;
- (void)hide;
- (BOOL)isVisible;
// The hotkey: shows a hidden palette, hides a shown one.
- (void)toggle;
@end
