#include "platform/input_events.h"

#include <unordered_map>

namespace skimlet {

std::string InputEvents::keyName(std::uint16_t virtualKey, std::uint64_t flags) const {
  static const std::unordered_map<std::uint16_t, const char*> names = {
      {0, "A"},      {1, "S"},       {2, "D"},    {3, "F"},   {4, "H"},   {5, "G"},   {6, "Z"},       {7, "X"},
      {8, "C"},      {9, "V"},       {11, "B"},   {12, "Q"},  {13, "W"},  {14, "E"},  {15, "R"},      {16, "Y"},
      {17, "T"},     {18, "1"},      {19, "2"},   {20, "3"},  {21, "4"},  {22, "6"},  {23, "5"},      {25, "9"},
      {26, "7"},     {28, "8"},      {29, "0"},   {30, "]"},  {31, "O"},  {32, "U"},  {33, "["},      {34, "I"},
      {35, "P"},     {37, "L"},      {38, "J"},   {40, "K"},  {45, "N"},  {46, "M"},  {36, "Return"}, {48, "Tab"},
      {49, "Space"}, {51, "Delete"}, {53, "Esc"}, {123, "←"}, {124, "→"}, {125, "↓"}, {126, "↑"}};
  // The platform's own order of modifier glyphs: Control, Option, Shift, Command.
  std::string out;
  if (flags & keyflags::control) out += "⌃";
  if (flags & 0x80000) out += "⌥";
  if (flags & keyflags::shift) out += "⇧";
  if (flags & keyflags::command) out += "⌘";
  auto it = names.find(virtualKey);
  return out + (it == names.end() ? "key " + std::to_string(virtualKey) : it->second);
}

}  // namespace skimlet
