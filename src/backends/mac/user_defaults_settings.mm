#include "backends/mac/user_defaults_settings.h"

#import <Foundation/Foundation.h>

namespace skimlet::mac {

namespace {

NSString* key(std::string_view k) {
  return [[NSString alloc] initWithBytes:k.data() length:k.size() encoding:NSUTF8StringEncoding] ?: @"";
}

}  // namespace

std::optional<std::string> UserDefaultsSettings::string(std::string_view k) {
  NSString* s = [NSUserDefaults.standardUserDefaults stringForKey:key(k)];
  if (!s) return std::nullopt;
  return std::string(s.UTF8String);
}

std::optional<std::int64_t> UserDefaultsSettings::integer(std::string_view k) {
  // Only a stored number counts: integerForKey: would read a missing key, or a text, as 0.
  id value = [NSUserDefaults.standardUserDefaults objectForKey:key(k)];
  if (![value isKindOfClass:NSNumber.class]) return std::nullopt;
  return static_cast<std::int64_t>([(NSNumber*)value longLongValue]);
}

void UserDefaultsSettings::setString(std::string_view k, const std::string& value) {
  NSString* s = [NSString stringWithUTF8String:value.c_str()];
  if (s) [NSUserDefaults.standardUserDefaults setObject:s forKey:key(k)];
}

void UserDefaultsSettings::setInteger(std::string_view k, std::int64_t value) {
  [NSUserDefaults.standardUserDefaults setObject:@(value) forKey:key(k)];
}

void UserDefaultsSettings::remove(std::string_view k) {
  [NSUserDefaults.standardUserDefaults removeObjectForKey:key(k)];
}

}  // namespace skimlet::mac
