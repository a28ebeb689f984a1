#include "backends/mac/mac_highlighter.h"

#import <AppKit/AppKit.h>
#import <QuartzCore/QuartzCore.h>

#include "backends/mac/overlay_placement.h"

namespace skimlet::mac {

namespace {
constexpr double kMargin = 3;  // points between the element's edge and the outline
}

struct MacHighlighter::Window {
  NSPanel* panel = nil;
  OverlayTokens tokens;  // main thread only

  NSPanel* make() {
    if (panel) return panel;
    panel = [[NSPanel alloc] initWithContentRect:NSMakeRect(0, 0, 10, 10)
                                       styleMask:NSWindowStyleMaskBorderless | NSWindowStyleMaskNonactivatingPanel
                                         backing:NSBackingStoreBuffered
                                           defer:YES];
    panel.opaque = NO;
    panel.backgroundColor = NSColor.clearColor;
    panel.hasShadow = NO;
    panel.ignoresMouseEvents = YES;
    panel.level = NSStatusWindowLevel;
    panel.collectionBehavior = NSWindowCollectionBehaviorCanJoinAllSpaces |
                               NSWindowCollectionBehaviorFullScreenAuxiliary | NSWindowCollectionBehaviorStationary;
    NSView* outline = [[NSView alloc] initWithFrame:NSMakeRect(0, 0, 10, 10)];
    outline.wantsLayer = YES;
    outline.layer.borderColor = NSColor.systemOrangeColor.CGColor;
    outline.layer.borderWidth = 3;
    outline.layer.cornerRadius = 4;
    outline.autoresizingMask = NSViewWidthSizable | NSViewHeightSizable;
    panel.contentView = outline;
    return panel;
  }
};

MacHighlighter::MacHighlighter() : window_(std::make_shared<Window>()) {}

MacHighlighter::~MacHighlighter() {
  auto window = window_;
  dispatch_async(dispatch_get_main_queue(), ^{
    [window->panel orderOut:nil];
  });
}

void MacHighlighter::show(Rect axFrame, double seconds) {
  auto window = window_;
  dispatch_async(dispatch_get_main_queue(), ^{
    NSPanel* panel = window->make();
    // Accessibility frames are measured from the top of the screen holding the menu bar, which
    // is the first of NSScreen.screens (mainScreen is the one with the key window instead).
    NSScreen* menuBarScreen = NSScreen.screens.firstObject;
    if (!menuBarScreen) return;
    Rect r = overlayFrame(axFrame, NSMaxY(menuBarScreen.frame), kMargin);
    [panel setFrame:NSMakeRect(r.x, r.y, r.width, r.height) display:YES];
    [panel orderFrontRegardless];
    const std::uint64_t token = window->tokens.shown();
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, static_cast<int64_t>(seconds * NSEC_PER_SEC)),
                   dispatch_get_main_queue(), ^{
                     if (!window->tokens.stillCurrent(token)) return;
                     window->tokens.hidden();
                     [window->panel orderOut:nil];
                   });
  });
}

void MacHighlighter::hide() {
  auto window = window_;
  dispatch_async(dispatch_get_main_queue(), ^{
    window->tokens.hidden();
    [window->panel orderOut:nil];
  });
}

}  // namespace skimlet::mac
