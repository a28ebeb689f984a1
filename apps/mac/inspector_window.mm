#import "inspector_window.h"

#include <memory>

#include "backends/mac/ns_text.h"
#include "backends/mac/overlay_placement.h"
#include "inspector/inspector_tree.h"

using skimlet::mac::ns;

namespace {
constexpr const char* kTitle = "Skimlet Inspector";
}  // namespace

@implementation SkimletInspectorWindow {
  std::optional<skimlet::Platform> _platform;
  skimlet::BrowserTracker* _tracker;
  std::vector<skimlet::PageElement> _elements;
  NSWindow* _window;
  NSTableView* _table;
  NSTextField* _status;
  id _pickMonitor;  // while picking: the global mouse-down monitor
}

- (instancetype)initWithPlatform:(skimlet::Platform)platform tracker:(skimlet::BrowserTracker*)tracker {
  if (!(self = [super init])) return nil;
  _platform.emplace(platform);
  _tracker = tracker;
  _window = [[NSWindow alloc] initWithContentRect:NSMakeRect(0, 0, 760, 560)
                                        styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskClosable |
                                                  NSWindowStyleMaskResizable
                                          backing:NSBackingStoreBuffered
                                            defer:YES];
  _window.title = ns(kTitle);
  _window.releasedWhenClosed = NO;

  _table = [[NSTableView alloc] init];
  NSTableColumn* column = [[NSTableColumn alloc] initWithIdentifier:@"element"];
  column.title = @"Element";
  column.width = 740;
  [_table addTableColumn:column];
  _table.headerView = nil;
  _table.dataSource = self;
  _table.delegate = self;
  NSScrollView* scroll = [[NSScrollView alloc] init];
  scroll.documentView = _table;
  scroll.hasVerticalScroller = YES;

  _status = [NSTextField labelWithString:@""];
  NSButton* refresh = [NSButton buttonWithTitle:@"Refresh" target:self action:@selector(refresh:)];
  NSButton* pick = [NSButton buttonWithTitle:@"Pick in Browser" target:self action:@selector(pick:)];
  NSStackView* bar = [NSStackView stackViewWithViews:@[ refresh, pick, _status ]];
  NSStackView* column2 = [NSStackView stackViewWithViews:@[ bar, scroll ]];
  column2.orientation = NSUserInterfaceLayoutOrientationVertical;
  column2.edgeInsets = NSEdgeInsetsMake(10, 10, 10, 10);
  _window.contentView = column2;
  return self;
}

- (void)show {
  [NSApp activateIgnoringOtherApps:YES];
  [_window center];
  [_window makeKeyAndOrderFront:nil];
  [self refresh:nil];
}

- (void)refresh:(id)sender {
  auto target = _tracker->current();
  if (!target) {
    _status.stringValue = @"No supported browser in front";
    _elements.clear();
    [_table reloadData];
    return;
  }
  _status.stringValue = @"Reading…";
  // Accessibility reads block on the browser, so they run off the main thread.
  skimlet::Platform platform = *_platform;
  __weak SkimletInspectorWindow* weakSelf = self;
  dispatch_async(dispatch_get_global_queue(QOS_CLASS_USER_INITIATED, 0), ^{
    auto elements = std::make_shared<std::vector<skimlet::PageElement>>(
        skimlet::InspectorTree::read(platform.ax, platform.clock, *target));
    dispatch_async(dispatch_get_main_queue(), ^{
      [weakSelf showElements:elements browser:target->browserName()];
    });
  });
}

- (void)showElements:(std::shared_ptr<std::vector<skimlet::PageElement>>)elements browser:(std::string)browser {
  _elements = std::move(*elements);
  _status.stringValue = ns(std::to_string(_elements.size()) + " elements in " + browser);
  [_table reloadData];
}

// The next click anywhere (in the browser, normally) selects the element under it. A global
// monitor sees clicks in other applications without taking them away from them.
- (void)pick:(id)sender {
  if (_pickMonitor || _elements.empty()) return;
  _status.stringValue = @"Click an element in the browser…";
  __weak SkimletInspectorWindow* weakSelf = self;
  _pickMonitor = [NSEvent addGlobalMonitorForEventsMatchingMask:NSEventMaskLeftMouseDown
                                                        handler:^(NSEvent* event) {
                                                          [weakSelf picked:NSEvent.mouseLocation];
                                                        }];
}

- (void)picked:(NSPoint)location {
  [NSEvent removeMonitor:_pickMonitor];
  _pickMonitor = nil;
  NSScreen* menuBarScreen = NSScreen.screens.firstObject;
  skimlet::Point at = skimlet::mac::axPoint({location.x, location.y}, NSMaxY(menuBarScreen.frame));
  auto row = skimlet::InspectorTree::elementAt(_elements, at);
  if (!row) {
    _status.stringValue = @"No element of the tree shown is there; try Refresh";
    return;
  }
  [_table selectRowIndexes:[NSIndexSet indexSetWithIndex:static_cast<NSUInteger>(*row)] byExtendingSelection:NO];
  [_table scrollRowToVisible:*row];
}

- (NSInteger)numberOfRowsInTableView:(NSTableView*)tableView {
  return static_cast<NSInteger>(_elements.size());
}

- (NSView*)tableView:(NSTableView*)tableView viewForTableColumn:(NSTableColumn*)column row:(NSInteger)row {
  const skimlet::PageElement& e = _elements[static_cast<size_t>(row)];
  const skimlet::InspectorTree::Row r = skimlet::InspectorTree::row(e);
  std::string text = std::string(static_cast<size_t>(e.depth) * 2, ' ') + r.role;
  for (const std::string* part : {&r.subrole, &r.label, &r.frame, &r.actions})
    if (!part->empty()) text += "  " + *part;
  NSTextField* cell = [NSTextField labelWithString:ns(text)];
  cell.font = [NSFont monospacedSystemFontOfSize:11 weight:NSFontWeightRegular];
  cell.lineBreakMode = NSLineBreakByTruncatingTail;
  return cell;
}

- (void)tableViewSelectionDidChange:(NSNotification*)notification {
  NSInteger row = _table.selectedRow;
  if (row < 0 || static_cast<size_t>(row) >= _elements.size()) return;
  if (const auto& frame = _elements[static_cast<size_t>(row)].frame) _platform->highlighter.show(*frame, 3.0);
}

@end
