// Skimlet for macOS: a menu-bar application whose hotkey summons the command palette.
#import <AppKit/AppKit.h>

#import "app_delegate.h"

int main(int argc, const char* argv[]) {
  @autoreleasepool {
    NSApplication* app = NSApplication.sharedApplication;
    SkimletAppDelegate* delegate = [[SkimletAppDelegate alloc] init];
    app.delegate = delegate;  // the application holds its delegate weakly
    [app run];
  }
  return 0;
}
