#import "settings_window.h"

#include "backends/mac/ns_text.h"
#include "engine/profile.h"
#include "llm/model_store.h"
#include "page/ax_helpers.h"
#include "palette/hotkey_settings.h"
#include "palette/model_status.h"

using skimlet::mac::ns;

namespace {
const skimlet::ProfileField kFields[] = {skimlet::ProfileField::name, skimlet::ProfileField::email,
                                         skimlet::ProfileField::phone};
}  // namespace

@implementation SkimletSettingsWindow {
  std::optional<skimlet::Platform> _platform;
  std::function<void()> _hotkeyChanged;
  NSWindow* _window;
  NSPopUpButton* _hotkey;
  NSTextField* _profile[3];
  NSTextField* _modelText;
  NSProgressIndicator* _progress;
  NSButton *_download, *_cancel, *_remove;
  NSTextField* _access;
}

- (instancetype)initWithPlatform:(skimlet::Platform)platform hotkeyChanged:(std::function<void()>)hotkeyChanged {
  if (!(self = [super init])) return nil;
  _platform.emplace(platform);
  _hotkeyChanged = std::move(hotkeyChanged);
  [self build];
  // The store reports from its download thread; the window changes on the main thread.
  __weak SkimletSettingsWindow* weakSelf = self;
  skimlet::ModelStore::shared().setObserver([weakSelf](const skimlet::ModelStore::State&) {
    dispatch_async(dispatch_get_main_queue(), ^{
      [weakSelf refreshModel];
    });
  });
  return self;
}

- (NSTextField*)labelled:(NSString*)title into:(NSMutableArray*)rows {
  NSTextField* field = [NSTextField textFieldWithString:@""];
  field.delegate = self;
  [field.widthAnchor constraintEqualToConstant:260].active = YES;
  [rows addObject:@[ [NSTextField labelWithString:title], field ]];
  return field;
}

- (void)build {
  NSMutableArray* rows = [NSMutableArray array];

  _hotkey = [[NSPopUpButton alloc] init];
  for (const auto& preset : skimlet::HotkeySettings::presets()) [_hotkey addItemWithTitle:ns(preset.title)];
  _hotkey.target = self;
  _hotkey.action = @selector(pickHotkey:);
  [rows addObject:@[ [NSTextField labelWithString:@"Hotkey:"], _hotkey ]];

  NSString* titles[] = {@"Name:", @"E-mail:", @"Phone:"};
  for (int i = 0; i < 3; ++i) _profile[i] = [self labelled:titles[i] into:rows];

  _modelText = [NSTextField labelWithString:@""];
  _progress = [[NSProgressIndicator alloc] init];
  _progress.indeterminate = NO;
  _progress.minValue = 0;
  _progress.maxValue = 1;
  _download = [NSButton buttonWithTitle:@"Download" target:self action:@selector(download:)];
  _cancel = [NSButton buttonWithTitle:@"Cancel" target:self action:@selector(cancelDownload:)];
  _remove = [NSButton buttonWithTitle:@"Remove" target:self action:@selector(removeModel:)];
  NSStackView* model = [NSStackView stackViewWithViews:@[
    _modelText, _progress, [NSStackView stackViewWithViews:@[ _download, _cancel, _remove ]]
  ]];
  model.orientation = NSUserInterfaceLayoutOrientationVertical;
  model.alignment = NSLayoutAttributeLeading;
  [rows addObject:@[ [NSTextField labelWithString:@"Model:"], model ]];

  _access = [NSTextField labelWithString:@""];
  NSStackView* access = [NSStackView stackViewWithViews:@[
    _access, [NSButton buttonWithTitle:@"Open Privacy Settings…" target:self action:@selector(openPrivacy:)]
  ]];
  access.orientation = NSUserInterfaceLayoutOrientationVertical;
  access.alignment = NSLayoutAttributeLeading;
  [rows addObject:@[ [NSTextField labelWithString:@"Accessibility:"], access ]];

  NSGridView* grid = [NSGridView gridViewWithViews:rows];
  grid.rowSpacing = 12;
  grid.translatesAutoresizingMaskIntoConstraints = NO;
  [grid columnAtIndex:0].xPlacement = NSGridCellPlacementTrailing;

  _window = [[NSWindow alloc] initWithContentRect:NSMakeRect(0, 0, 460, 360)
                                        styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskClosable
                                          backing:NSBackingStoreBuffered
                                            defer:YES];
  _window.title = @"Skimlet Settings";
  _window.releasedWhenClosed = NO;
  _window.delegate = self;
  [_window.contentView addSubview:grid];
  [NSLayoutConstraint activateConstraints:@[
    [grid.leadingAnchor constraintEqualToAnchor:_window.contentView.leadingAnchor constant:20],
    [grid.trailingAnchor constraintEqualToAnchor:_window.contentView.trailingAnchor constant:-20],
    [grid.topAnchor constraintEqualToAnchor:_window.contentView.topAnchor constant:20],
    [grid.bottomAnchor constraintEqualToAnchor:_window.contentView.bottomAnchor constant:-20],
  ]];
}

- (void)show {
  skimlet::Settings& settings = _platform->settings;
  [_hotkey selectItemAtIndex:skimlet::HotkeySettings::current(settings).id];
  for (int i = 0; i < 3; ++i)
    _profile[i].stringValue = ns(settings.string(skimlet::Profile::key(kFields[i])).value_or(""));
  _access.stringValue = _platform->ax.isProcessTrusted(false) ? @"Granted" : @"Not granted";
  [self refreshModel];
  // An accessory application must come forward itself for its window to take the keyboard.
  [NSApp activateIgnoringOtherApps:YES];
  [_window center];
  [_window makeKeyAndOrderFront:nil];
}

- (void)refreshModel {
  skimlet::ModelStatus status = skimlet::modelStatus(skimlet::ModelStore::shared().state());
  _modelText.stringValue = ns(status.text);
  _progress.hidden = !status.progress;
  _progress.doubleValue = status.progress.value_or(0);
  _download.enabled = status.canDownload;
  _cancel.enabled = status.canCancel;
  _remove.enabled = status.canRemove;
}

- (void)pickHotkey:(NSPopUpButton*)sender {
  const auto& presets = skimlet::HotkeySettings::presets();
  auto i = static_cast<size_t>(sender.indexOfSelectedItem);
  if (i >= presets.size()) return;
  _platform->settings.setInteger(skimlet::HotkeySettings::settingsKey, presets[i].id);
  if (_hotkeyChanged) _hotkeyChanged();
}

// Each keystroke is saved at once, so an open palette types the new value.
- (void)controlTextDidChange:(NSNotification*)notification {
  for (int i = 0; i < 3; ++i) {
    if (notification.object == _profile[i])
      _platform->settings.setString(skimlet::Profile::key(kFields[i]), skimlet::mac::str(_profile[i].stringValue));
  }
}

- (void)download:(id)sender {
  skimlet::ModelStore::shared().download();
}

- (void)cancelDownload:(id)sender {
  skimlet::ModelStore::shared().cancel();
}

- (void)removeModel:(id)sender {
  try {
    skimlet::ModelStore::shared().remove();
  } catch (const std::exception& e) {
    NSAlert* alert = [[NSAlert alloc] init];
    alert.messageText = @"Couldn't remove the model";
    alert.informativeText = ns(e.what());
    [alert runModal];
  }
  [self refreshModel];
}

- (void)openPrivacy:(id)sender {
  _platform->ax.isProcessTrusted(true);
  skimlet::AX::openPrivacySettings(_platform->workspace);
}

@end
