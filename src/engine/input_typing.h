// Typing text into an application by synthetic keystrokes, one user-perceived character at a
// time, the way a person at the keyboard would produce it.
#pragma once

#include <string>
#include <string_view>

#include "platform/clock.h"
#include "platform/input_events.h"

namespace skimlet::Input {

// Posts one key pair per character (carrying all its UTF-16 code units, so an emoji or an
// accented letter arrives whole), pausing 3 ms between characters so the browser keeps up.
// Blocks the calling thread for that long.
void type(InputEvents& input, Clock& clock, std::string_view text, Pid pid);

}  // namespace skimlet::Input
