// Core Foundation objects to and from their portable description (cf_record.h). Only the calls
// that look inside a CF object live here; what a description means is decided in cf_record.cc.
#pragma once

#include <string>
#include <string_view>

#include <ApplicationServices/ApplicationServices.h>

#include "backends/mac/cf_record.h"

namespace skimlet::mac {

// Describes any object the accessibility interface returns (NULL included).
CFRecord describe(CFTypeRef value);
// A new object (+1, the caller releases it) for a record; NULL for kinds that cannot be built.
CFTypeRef create(const CFRecord& record);

std::string utf8(CFStringRef s);
// A new CFString (+1) from UTF-8.
CFStringRef cfString(std::string_view s);

}  // namespace skimlet::mac
