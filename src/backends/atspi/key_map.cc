#include "backends/atspi/key_map.h"

#include <X11/keysym.h>

#include <unordered_map>

#include "platform/input_events.h"

namespace skimlet::atspi {

namespace {

constexpr std::uint64_t kOption = 0x80000;

struct Key {
  unsigned long sym;
  const char* name;
};

const std::unordered_map<std::uint16_t, Key>& keys() {
  static const std::unordered_map<std::uint16_t, Key> table = {
      {0, {XK_a, "A"}},
      {1, {XK_s, "S"}},
      {2, {XK_d, "D"}},
      {3, {XK_f, "F"}},
      {4, {XK_h, "H"}},
      {5, {XK_g, "G"}},
      {6, {XK_z, "Z"}},
      {7, {XK_x, "X"}},
      {8, {XK_c, "C"}},
      {9, {XK_v, "V"}},
      {11, {XK_b, "B"}},
      {12, {XK_q, "Q"}},
      {13, {XK_w, "W"}},
      {14, {XK_e, "E"}},
      {15, {XK_r, "R"}},
      {16, {XK_y, "Y"}},
      {17, {XK_t, "T"}},
      {18, {XK_1, "1"}},
      {19, {XK_2, "2"}},
      {20, {XK_3, "3"}},
      {21, {XK_4, "4"}},
      {22, {XK_6, "6"}},
      {23, {XK_5, "5"}},
      {24, {XK_equal, "="}},
      {25, {XK_9, "9"}},
      {26, {XK_7, "7"}},
      {27, {XK_minus, "-"}},
      {28, {XK_8, "8"}},
      {29, {XK_0, "0"}},
      {30, {XK_bracketright, "]"}},
      {31, {XK_o, "O"}},
      {32, {XK_u, "U"}},
      {33, {XK_bracketleft, "["}},
      {34, {XK_i, "I"}},
      {35, {XK_p, "P"}},
      {37, {XK_l, "L"}},
      {38, {XK_j, "J"}},
      {39, {XK_apostrophe, "'"}},
      {40, {XK_k, "K"}},
      {41, {XK_semicolon, ";"}},
      {42, {XK_backslash, "\\"}},
      {43, {XK_comma, ","}},
      {44, {XK_slash, "/"}},
      {45, {XK_n, "N"}},
      {46, {XK_m, "M"}},
      {47, {XK_period, "."}},
      {50, {XK_grave, "`"}},
      {49, {XK_space, "Space"}},
      {36, {XK_Return, "Enter"}},
      {76, {XK_Return, "Enter"}},
      {48, {XK_Tab, "Tab"}},
      {51, {XK_BackSpace, "Backspace"}},
      {53, {XK_Escape, "Esc"}},
      {117, {XK_Delete, "Delete"}},
      {123, {XK_Left, "Left"}},
      {124, {XK_Right, "Right"}},
      {125, {XK_Down, "Down"}},
      {126, {XK_Up, "Up"}},
      {115, {XK_Home, "Home"}},
      {119, {XK_End, "End"}},
      {116, {XK_Page_Up, "Page Up"}},
      {121, {XK_Page_Down, "Page Down"}},
  };
  return table;
}

bool isDigitKey(std::uint16_t code) {
  for (std::uint16_t d : {18, 19, 20, 21, 23, 22, 26, 28, 25})
    if (d == code) return true;
  return false;
}

}  // namespace

std::optional<KeyStroke> linuxKeyFor(std::uint16_t virtualKey, std::uint64_t flags) {
  auto it = keys().find(virtualKey);
  if (it == keys().end()) return std::nullopt;
  Key key = it->second;
  bool control = flags & keyflags::control, alt = flags & kOption, shift = flags & keyflags::shift;
  if (flags & keyflags::command) {
    // History and tab numbers are Alt shortcuts in Linux browsers; the rest Control ones.
    if (virtualKey == 33 && !shift) key = {XK_Left, "Left"}, alt = true;
    else if (virtualKey == 30 && !shift) key = {XK_Right, "Right"}, alt = true;
    else if (isDigitKey(virtualKey)) alt = true;
    else control = true;
  }
  KeyStroke stroke;
  stroke.key = key.sym;
  if (control) {
    stroke.modifiers.push_back(XK_Control_L);
    stroke.name += "Ctrl+";
  }
  if (alt) {
    stroke.modifiers.push_back(XK_Alt_L);
    stroke.name += "Alt+";
  }
  if (shift) {
    stroke.modifiers.push_back(XK_Shift_L);
    stroke.name += "Shift+";
  }
  stroke.name += key.name;
  return stroke;
}

}  // namespace skimlet::atspi
