#include "backends/mac/mac_workspace.h"

#import <AppKit/AppKit.h>

#include "backends/mac/ns_text.h"

namespace skimlet::mac {

struct MacWorkspace::Observers {
  NSMutableArray<id<NSObject>>* tokens = [NSMutableArray array];
};

namespace {

RunningApp describe(NSRunningApplication* app) {
  return RunningApp{app.processIdentifier, str(app.bundleIdentifier), str(app.localizedName), str(app.bundleURL.path)};
}

}  // namespace

MacWorkspace::MacWorkspace() : observers_(std::make_unique<Observers>()) {}

MacWorkspace::~MacWorkspace() {
  NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
  for (id<NSObject> token in observers_->tokens) [center removeObserver:token];
}

std::optional<RunningApp> MacWorkspace::frontmostApplication() {
  NSRunningApplication* app = NSWorkspace.sharedWorkspace.frontmostApplication;
  if (!app) return std::nullopt;
  return describe(app);
}

std::optional<RunningApp> MacWorkspace::runningApplication(Pid pid) {
  NSRunningApplication* app = [NSRunningApplication runningApplicationWithProcessIdentifier:pid];
  if (!app) return std::nullopt;
  return describe(app);
}

bool MacWorkspace::isTerminated(Pid pid) {
  NSRunningApplication* app = [NSRunningApplication runningApplicationWithProcessIdentifier:pid];
  return !app || app.terminated;
}

bool MacWorkspace::isActive(Pid pid) {
  return [NSRunningApplication runningApplicationWithProcessIdentifier:pid].active;
}

void MacWorkspace::activate(Pid pid) {
  [[NSRunningApplication runningApplicationWithProcessIdentifier:pid] activateWithOptions:0];
}

void MacWorkspace::observeActivations(std::function<void(const RunningApp&)> handler) {
  id<NSObject> token = [NSWorkspace.sharedWorkspace.notificationCenter
      addObserverForName:NSWorkspaceDidActivateApplicationNotification
                  object:nil
                   queue:NSOperationQueue.mainQueue
              usingBlock:^(NSNotification* note) {
                NSRunningApplication* app = note.userInfo[NSWorkspaceApplicationKey];
                if (app) handler(describe(app));
              }];
  [observers_->tokens addObject:token];
}

void MacWorkspace::openURLs(const std::vector<std::string>& urls, const std::string& bundlePath) {
  if (bundlePath.empty()) return;
  NSMutableArray<NSURL*>* list = [NSMutableArray array];
  for (const std::string& u : urls) {
    if (NSURL* url = [NSURL URLWithString:ns(u)]) [list addObject:url];
  }
  if (list.count == 0) return;
  [NSWorkspace.sharedWorkspace openURLs:list
                   withApplicationAtURL:[NSURL fileURLWithPath:ns(bundlePath)]
                          configuration:[NSWorkspaceOpenConfiguration configuration]
                      completionHandler:nil];
}

bool MacWorkspace::openURL(const std::string& url) {
  NSURL* u = [NSURL URLWithString:ns(url)];
  return u && [NSWorkspace.sharedWorkspace openURL:u];
}

}  // namespace skimlet::mac
