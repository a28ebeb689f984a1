// Screen geometry in the accessibility interface's convention: points, origin at the top left
// of the main screen.
#pragma once

namespace skimlet {

struct Point {
  double x = 0, y = 0;
  bool operator==(const Point&) const = default;
};

struct Size {
  double width = 0, height = 0;
  bool operator==(const Size&) const = default;
};

struct Rect {
  double x = 0, y = 0, width = 0, height = 0;
  bool operator==(const Rect&) const = default;
  double midX() const { return x + width / 2; }
  double midY() const { return y + height / 2; }
  // Whether both sides are positive, which is what "visible on screen" means everywhere.
  bool hasArea() const { return width > 0 && height > 0; }
};

}  // namespace skimlet
