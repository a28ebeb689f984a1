// Text between std::string (UTF-8) and NSString, for the Objective-C++ files.
#pragma once

#import <Foundation/Foundation.h>

#include <string>

namespace skimlet::mac {

// Never nil, so it can go where a string is required: text that is not UTF-8 becomes empty.
inline NSString* ns(const std::string& s) { return [NSString stringWithUTF8String:s.c_str()] ?: @""; }

// Empty for nil.
inline std::string str(NSString* s) { return s ? std::string(s.UTF8String) : std::string(); }

}  // namespace skimlet::mac
