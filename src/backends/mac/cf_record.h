// A Core Foundation value as a plain record: what kind of object the accessibility interface
// handed back and its payload. The macOS backend describes every value it reads this way (and
// nothing more), so that turning values into ax::Value, and back for the attributes Skimlet sets,
// is one piece of ordinary C++ that runs, and is tested, on every platform.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/ax.h"

namespace skimlet::mac {

struct CFRecord {
  enum class Kind {
    null,              // no object, or the kCFNull marker
    string,            // CFString
    attributedString,  // CFAttributedString; text holds its plain string
    number,            // CFNumber (integers included)
    boolean,           // CFBoolean
    point,             // AXValue of type kAXValueTypeCGPoint
    size,              // AXValue of type kAXValueTypeCGSize
    axError,           // AXValue of type kAXValueTypeAXError: one failed attribute of a multi-read
    otherAXValue,      // AXValue of another type (rect, range): nothing Skimlet reads
    url,               // CFURL; text holds its absolute string
    element,           // AXUIElement
    array,             // CFArray; items hold the entries
    other,             // dictionaries, data, dates: nothing Skimlet reads
  };

  Kind kind = Kind::null;
  std::string text;
  double number = 0;
  bool flag = false;
  Point point;
  Size size;
  int error = 0;           // the AXError code of an axError
  ax::ElementRef element;  // wraps the retained AXUIElement
  std::vector<CFRecord> items;
};

// The value Skimlet's core sees. Arrays become element lists or text lists only when every entry
// is of that kind (an empty array is an empty element list: "no children"); any other array, and
// anything Skimlet never reads, is no value.
ax::Value toValue(const CFRecord& record);

// The record to build for setting an attribute to `value`; none for values that cannot be set
// (no value, a failure marker).
std::optional<CFRecord> toRecord(const ax::Value& value);

}  // namespace skimlet::mac
