// The supported browsers, by exact bundle identifier.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "browser/browser_adapter.h"

namespace skimlet::BrowserRegistry {

// Every adapter, in the order that decides which one serves an identifier. They live for the
// whole process.
const std::vector<const BrowserAdapter*>& adapters();

// The first adapter listing exactly this identifier; none for none or an unknown one.
const BrowserAdapter* adapter(std::optional<std::string_view> bundleID);

}  // namespace skimlet::BrowserRegistry
