#include "backends/mac/mac_pasteboard.h"

#import <AppKit/AppKit.h>

namespace skimlet::mac {

void MacPasteboard::clear() { [NSPasteboard.generalPasteboard clearContents]; }

bool MacPasteboard::setString(const std::string& text) {
  NSString* s = [NSString stringWithUTF8String:text.c_str()];
  if (!s) return false;
  // Writing requires owning the pasteboard first, which clearing does.
  [NSPasteboard.generalPasteboard clearContents];
  return [NSPasteboard.generalPasteboard setString:s forType:NSPasteboardTypeString];
}

std::optional<std::string> MacPasteboard::string() {
  NSString* s = [NSPasteboard.generalPasteboard stringForType:NSPasteboardTypeString];
  if (!s) return std::nullopt;
  return std::string(s.UTF8String);
}

}  // namespace skimlet::mac
