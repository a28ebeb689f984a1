#import "palette_controller.h"

#include "backends/mac/ns_text.h"
#include "page/ax_helpers.h"
#include "palette/palette_content.h"
#include "palette/palette_keys.h"

using skimlet::PaletteContent;
using skimlet::PaletteKey;
using skimlet::mac::ns;

namespace {
constexpr CGFloat kWidth = 640;
constexpr CGFloat kPadding = 14;


NSAttributedString* styled(const std::vector<skimlet::TextRun>& runs, CGFloat size) {
  NSMutableAttributedString* out = [[NSMutableAttributedString alloc] init];
  for (const auto& run : runs) {
    NSFont* font = run.bold ? [NSFont boldSystemFontOfSize:size] : [NSFont systemFontOfSize:size];
    [out appendAttributedString:[[NSAttributedString alloc] initWithString:ns(run.text)
                                                                attributes:@{NSFontAttributeName : font}]];
  }
  return out;
}

NSTextField* label(NSAttributedString* text) {
  NSTextField* field = [NSTextField wrappingLabelWithString:@""];
  field.attributedStringValue = text;
  field.preferredMaxLayoutWidth = kWidth - 2 * kPadding;
  return field;
}

NSTextField* plain(const std::string& text, CGFloat size, NSColor* color) {
  NSTextField* field = [NSTextField wrappingLabelWithString:ns(text)];
  field.font = [NSFont systemFontOfSize:size];
  field.textColor = color;
  field.preferredMaxLayoutWidth = kWidth - 2 * kPadding;
  return field;
}
}  // namespace

// A borderless panel may become key only when it says so.
@interface SkimletPalettePanel : NSPanel
@end
@implementation SkimletPalettePanel
- (BOOL)canBecomeKeyWindow {
  return YES;
}
@end

@implementation SkimletPaletteController {
  std::shared_ptr<skimlet::PaletteViewModel> _vm;
  std::unique_ptr<skimlet::PaletteKeys> _keys;
  const skimlet::LocalAI* _ai;
  std::optional<skimlet::Platform> _platform;
  SkimletPalettePanel* _panel;
  NSTextField* _field;
  NSStackView* _stack;
}

- (instancetype)initWithViewModel:(std::shared_ptr<skimlet::PaletteViewModel>)viewModel
                               ai:(const skimlet::LocalAI*)ai
                         platform:(skimlet::Platform)platform {
  if (!(self = [super init])) return nil;
  _vm = std::move(viewModel);
  _keys = std::make_unique<skimlet::PaletteKeys>(*_vm);
  _ai = ai;
  _platform.emplace(platform);
  [self buildPanel];
  __weak SkimletPaletteController* weakSelf = self;
  _vm->onDismiss = [weakSelf] { [weakSelf hide]; };
  _vm->observe([weakSelf] { [weakSelf render]; });
  return self;
}

- (void)buildPanel {
  _panel = [[SkimletPalettePanel alloc]
      initWithContentRect:NSMakeRect(0, 0, kWidth, 120)
                styleMask:NSWindowStyleMaskBorderless | NSWindowStyleMaskNonactivatingPanel
                  backing:NSBackingStoreBuffered
                    defer:YES];
  _panel.floatingPanel = YES;
  _panel.level = NSFloatingWindowLevel;
  _panel.hidesOnDeactivate = NO;
  _panel.becomesKeyOnlyIfNeeded = NO;
  _panel.collectionBehavior = NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorFullScreenAuxiliary;
  _panel.delegate = self;
  _panel.backgroundColor = NSColor.clearColor;
  _panel.opaque = NO;
  _panel.hasShadow = YES;

  NSVisualEffectView* background = [[NSVisualEffectView alloc] init];
  background.material = NSVisualEffectMaterialPopover;
  background.state = NSVisualEffectStateActive;
  background.wantsLayer = YES;
  background.layer.cornerRadius = 12;
  background.layer.masksToBounds = YES;
  _panel.contentView = background;

  _field = [NSTextField textFieldWithString:@""];
  _field.placeholderString = ns(std::string(skimlet::kPalettePlaceholder));
  _field.font = [NSFont systemFontOfSize:20];
  _field.bezeled = NO;
  _field.drawsBackground = NO;
  _field.focusRingType = NSFocusRingTypeNone;
  _field.delegate = self;

  _stack = [NSStackView stackViewWithViews:@[]];
  _stack.orientation = NSUserInterfaceLayoutOrientationVertical;
  _stack.alignment = NSLayoutAttributeLeading;
  _stack.spacing = 6;

  NSStackView* column = [NSStackView stackViewWithViews:@[ _field, _stack ]];
  column.orientation = NSUserInterfaceLayoutOrientationVertical;
  column.alignment = NSLayoutAttributeLeading;
  column.edgeInsets = NSEdgeInsetsMake(kPadding, kPadding, kPadding, kPadding);
  column.translatesAutoresizingMaskIntoConstraints = NO;
  [background addSubview:column];
  [NSLayoutConstraint activateConstraints:@[
    [column.leadingAnchor constraintEqualToAnchor:background.leadingAnchor],
    [column.trailingAnchor constraintEqualToAnchor:background.trailingAnchor],
    [column.topAnchor constraintEqualToAnchor:background.topAnchor],
    [column.bottomAnchor constraintEqualToAnchor:background.bottomAnchor],
    [column.widthAnchor constraintEqualToConstant:kWidth],
    [_field.widthAnchor constraintEqualToConstant:kWidth - 2 * kPadding],
  ]];
}

- (BOOL)isVisible {
  return _panel.visible;
}

- (void)toggle {
  if (self.isVisible) {
    [self hide];
  } else {
    [self show];
  }
}

- (void)show {
  _vm->input.clear();
  _field.stringValue = @"";
  _keys->reset();
  _vm->reset();
  _vm->refreshContext();
  [self render];
  // Centred a fifth of the way down the screen the user is working on.
  NSScreen* screen = NSScreen.mainScreen ?: NSScreen.screens.firstObject;
  NSRect visible = screen.visibleFrame;
  NSRect frame = _panel.frame;
  [_panel setFrameTopLeftPoint:NSMakePoint(NSMidX(visible) - frame.size.width / 2,
                                           NSMaxY(visible) - visible.size.height / 5)];
  [_panel makeKeyAndOrderFront:nil];
  [_panel makeFirstResponder:_field];
}

- (void)hide {
  [_panel orderOut:nil];
}

// Like Spotlight, the palette goes away when the user clicks elsewhere, but not while a command
// runs: acting on the browser may bring it forward (keyboard shortcuts do), and the palette
// must stay to show what happened.
- (void)windowDidResignKey:(NSNotification*)notification {
  if (!_vm->busy()) [self hide];
}

#pragma mark Keys

// Typing, pasting and digits picking a choice all arrive as the field's new text.
- (void)controlTextDidChange:(NSNotification*)notification {
  [self apply:_keys->edited(skimlet::mac::str(_field.stringValue))];
  [self render];
}

- (BOOL)control:(NSControl*)control textView:(NSTextView*)textView doCommandBySelector:(SEL)command {
  std::optional<PaletteKey> key;
  if (command == @selector(moveUp:)) key = PaletteKey::up;
  if (command == @selector(moveDown:)) key = PaletteKey::down;
  if (command == @selector(insertTab:)) key = PaletteKey::tab;
  if (command == @selector(insertBacktab:)) key = PaletteKey::backTab;
  if (command == @selector(insertNewline:)) key = PaletteKey::enter;
  if (command == @selector(cancelOperation:)) key = PaletteKey::escape;
  if (!key) return NO;
  BOOL handled = [self apply:_keys->press(*key)];
  [self render];  // a walked suggestion or a revealed item is the keys' state, not the model's
  return handled;
}

- (BOOL)apply:(const skimlet::PaletteKeys::Answer&)answer {
  if (answer.field) _field.stringValue = ns(*answer.field);
  if (answer.close) [self hide];
  return answer.handled;
}

#pragma mark Layout

- (void)render {
  PaletteContent c = skimlet::paletteContent(*_vm, _ai->statusText());
  for (NSView* view in _stack.arrangedSubviews) {
    [_stack removeArrangedSubview:view];
    [view removeFromSuperview];
  }
  NSColor* secondary = NSColor.secondaryLabelColor;
  using View = PaletteContent::View;
  switch (c.view) {
    case View::onboarding:
      [_stack addArrangedSubview:label(styled(c.headline, 15))];
      [_stack addArrangedSubview:label(styled(c.body, 13))];
      [_stack addArrangedSubview:[self button:c.grantLabel action:@selector(grant:) tag:0]];
      break;
    case View::idle:
      if (c.preview) [_stack addArrangedSubview:plain(*c.preview, 13, secondary)];
      if (!_keys->showsSuggestions()) break;
      for (size_t i = 0; i < c.suggestions.size(); ++i) {
        NSButton* suggestion = [self button:c.suggestions[i].title action:@selector(suggest:) tag:i];
        if (static_cast<int>(i) == _keys->suggestion()) suggestion.font = [NSFont boldSystemFontOfSize:13];
        [_stack addArrangedSubview:suggestion];
      }
      break;
    case View::working: {
      NSProgressIndicator* spinner = [[NSProgressIndicator alloc] init];
      spinner.style = NSProgressIndicatorStyleSpinning;
      spinner.controlSize = NSControlSizeSmall;
      [spinner startAnimation:nil];
      NSStackView* row = [NSStackView stackViewWithViews:@[ spinner, plain(c.workingText, 13, secondary) ]];
      [_stack addArrangedSubview:row];
      break;
    }
    case View::result: {
      NSString* mark = c.kind == skimlet::ActionResult::Kind::success   ? @"✓ "
                       : c.kind == skimlet::ActionResult::Kind::failure ? @"✗ "
                                                                         : @"";
      NSMutableAttributedString* headline = [[NSMutableAttributedString alloc] initWithString:mark];
      [headline appendAttributedString:styled(c.headline, 15)];
      [_stack addArrangedSubview:label(headline)];
      if (!c.body.empty()) [_stack addArrangedSubview:label(styled(c.body, 13))];
      for (size_t i = 0; i < c.items.size(); ++i) {
        NSButton* item = [self button:std::to_string(i + 1) + ". " + c.items[i] action:@selector(reveal:) tag:i];
        if (static_cast<int>(i) == _keys->item()) item.font = [NSFont boldSystemFontOfSize:13];
        [_stack addArrangedSubview:item];
      }
      [_stack addArrangedSubview:[self button:_vm->showWhy ? "Hide why" : "Why?" action:@selector(why:) tag:0]];
      for (const std::string& line : c.why) [_stack addArrangedSubview:plain(line, 11, secondary)];
      break;
    }
    case View::confirm:
      [_stack addArrangedSubview:label(styled(c.headline, 15))];
      [_stack addArrangedSubview:plain(c.message, 13, secondary)];
      [_stack addArrangedSubview:[NSStackView stackViewWithViews:@[
                [self button:c.confirmLabel action:@selector(accept:) tag:0],
                [self button:"Cancel" action:@selector(dismiss:) tag:0]
              ]]];
      for (const std::string& line : c.why) [_stack addArrangedSubview:plain(line, 11, secondary)];
      break;
    case View::choose:
      [_stack addArrangedSubview:label(styled(c.headline, 15))];
      for (size_t i = 0; i < c.options.size(); ++i) {
        const auto& o = c.options[i];
        std::string text = (o.selected ? "› " : "  ") + std::to_string(i + 1) + ". " + o.title +
                           (o.subtitle.empty() ? "" : " — " + o.subtitle);
        NSButton* option = [self button:text action:@selector(pick:) tag:i];
        option.font = o.selected ? [NSFont boldSystemFontOfSize:13] : [NSFont systemFontOfSize:13];
        [_stack addArrangedSubview:option];
      }
      break;
  }
  [_stack addArrangedSubview:plain(c.badge, 11, NSColor.tertiaryLabelColor)];
  [self fitPanel];
}

- (NSButton*)button:(const std::string&)title action:(SEL)action tag:(size_t)tag {
  NSButton* button = [NSButton buttonWithTitle:ns(title) target:self action:action];
  button.tag = static_cast<NSInteger>(tag);
  return button;
}

// Grows or shrinks the panel to its content, keeping its top edge where it is.
- (void)fitPanel {
  NSRect frame = _panel.frame;
  CGFloat top = NSMaxY(frame);
  frame.size = _panel.contentView.fittingSize;
  frame.origin.y = top - frame.size.height;
  [_panel setFrame:frame display:YES];
}

#pragma mark Actions

- (void)grant:(id)sender {
  _platform->ax.isProcessTrusted(true);
  skimlet::AX::openPrivacySettings(_platform->workspace);
}

- (void)suggest:(NSButton*)sender {
  [self apply:_keys->use(static_cast<int>(sender.tag))];
  [_panel makeFirstResponder:_field];
  [self render];
}

- (void)reveal:(NSButton*)sender {
  if (auto* r = std::get_if<skimlet::ActionResult>(&_vm->phase())) {
    auto i = static_cast<size_t>(sender.tag);
    if (i < r->items.size()) _vm->reveal(r->items[i]);
  }
}

- (void)why:(id)sender {
  _vm->showWhy = !_vm->showWhy;
  [self render];
}

- (void)accept:(id)sender {
  _vm->submit();  // Return on a confirmation runs it
}

- (void)dismiss:(id)sender {
  _vm->escape();
}

- (void)pick:(NSButton*)sender {
  _vm->pick(static_cast<int>(sender.tag));
}

@end
