// Keys from a terminal in raw mode. Terminals send most keys as one byte but arrows and the
// like as escape sequences, and a lone Escape key as the same byte that starts those sequences;
// the decoder tells them apart by whether more bytes followed at once.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace skimlet::cli {

struct Key {
  enum class Type {
    text,  // printable text, one or more whole characters in `text`
    enter,
    backspace,
    deleteForward,
    left,
    right,
    up,
    down,
    home,
    end,
    tab,
    backTab,
    escape,
    interrupt,   // Ctrl-C
    endOfInput,  // Ctrl-D
    clearLine,   // Ctrl-U
    deleteWord,  // Ctrl-W
    toggleWhy,   // Ctrl-Y
    redraw,      // Ctrl-L
  };
  Type type = Type::text;
  std::string text;

  bool operator==(const Key&) const = default;
};

class KeyDecoder {
 public:
  // Bytes as read from the terminal, in any pieces.
  void feed(std::string_view bytes) { pending_ += bytes; }

  // The next complete key, if any. `moreMayFollow` is false once the terminal had nothing more
  // to read for a moment: then an Escape byte standing alone is the Escape key, not the start of
  // a sequence still arriving, and a cut-off character is dropped.
  std::optional<Key> next(bool moreMayFollow);
  // Whether bytes are held back waiting for the rest of a sequence.
  bool hasPending() const { return !pending_.empty(); }

 private:
  std::string pending_;
};

// Puts the terminal on standard input into raw mode (no echo, keys one at a time, Ctrl-C as a
// key rather than a signal) for its lifetime, and restores it afterwards.
class RawTerminal {
 public:
  RawTerminal();
  ~RawTerminal();
  RawTerminal(const RawTerminal&) = delete;
  RawTerminal& operator=(const RawTerminal&) = delete;

  bool active() const { return active_; }
  // The terminal's size in columns and rows (80 by 24 when it cannot be told).
  static int columns();
  static int rows();

 private:
  bool active_ = false;
  struct Saved;
  std::unique_ptr<Saved> saved_;
};

}  // namespace skimlet::cli
