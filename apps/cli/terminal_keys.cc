#include "terminal_keys.h"

#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace skimlet::cli {
namespace {

using T = Key::Type;

Key key(T type) { return Key{type, {}}; }

// Bytes a UTF-8 sequence led by `lead` takes; 1 for a stray continuation or invalid byte, which
// is then dropped on its own.
std::size_t sequenceLength(unsigned char lead) {
  if (lead >= 0xF0 && lead < 0xF8) return 4;
  if (lead >= 0xE0) return lead < 0xF0 ? 3 : 1;
  if (lead >= 0xC2) return 2;
  return 1;
}

// The key an escape sequence's final byte names; none for sequences Skimlet has no use for.
std::optional<T> csiKey(std::string_view params, char final) {
  switch (final) {
    case 'A': return T::up;
    case 'B': return T::down;
    case 'C': return T::right;
    case 'D': return T::left;
    case 'H': return T::home;
    case 'F': return T::end;
    case 'Z': return T::backTab;
    case '~':
      if (params == "1" || params == "7") return T::home;
      if (params == "4" || params == "8") return T::end;
      if (params == "3") return T::deleteForward;
      return std::nullopt;
    default: return std::nullopt;
  }
}

}  // namespace

std::optional<Key> KeyDecoder::next(bool moreMayFollow) {
  while (!pending_.empty()) {
    const unsigned char c = static_cast<unsigned char>(pending_[0]);
    if (c == 0x1b) {
      if (pending_.size() == 1) {
        if (moreMayFollow) return std::nullopt;
        pending_.clear();
        return key(T::escape);
      }
      const char kind = pending_[1];
      if (kind != '[' && kind != 'O') {
        // Escape followed by something else: the Escape key, then that key on its own.
        pending_.erase(0, 1);
        return key(T::escape);
      }
      // ESC [ params final, or ESC O final: the final byte is in 0x40..0x7e.
      std::size_t i = 2;
      while (i < pending_.size() && !(pending_[i] >= 0x40 && pending_[i] <= 0x7e)) ++i;
      if (i >= pending_.size()) {
        if (moreMayFollow) return std::nullopt;
        pending_.clear();  // a sequence cut off for good
        return key(T::escape);
      }
      const auto found = csiKey(std::string_view(pending_).substr(2, i - 2), pending_[i]);
      pending_.erase(0, i + 1);
      if (found) return key(*found);
      continue;  // a sequence with no meaning here (a paste marker, a function key)
    }
    if (c < 0x20 || c == 0x7f) {
      pending_.erase(0, 1);
      switch (c) {
        case '\r':
        case '\n': return key(T::enter);
        case 0x7f:
        case 0x08: return key(T::backspace);
        case '\t': return key(T::tab);
        case 0x01: return key(T::home);
        case 0x05: return key(T::end);
        case 0x02: return key(T::left);
        case 0x06: return key(T::right);
        case 0x03: return key(T::interrupt);
        case 0x04: return key(T::endOfInput);
        case 0x15: return key(T::clearLine);
        case 0x17: return key(T::deleteWord);
        case 0x19: return key(T::toggleWhy);
        case 0x0c: return key(T::redraw);
        case 0x0e: return key(T::down);
        case 0x10: return key(T::up);
        default: continue;
      }
    }
    // Printable text: as many whole characters as have arrived, up to the next control byte.
    std::size_t end = 0;
    while (end < pending_.size()) {
      const unsigned char b = static_cast<unsigned char>(pending_[end]);
      if (b < 0x20 || b == 0x7f) break;
      const std::size_t len = sequenceLength(b);
      if (len == 1 && b >= 0x80) {  // not a character at all
        if (end > 0) break;
        pending_.erase(0, 1);
        continue;
      }
      if (end + len > pending_.size()) break;
      end += len;
    }
    if (end == 0) {
      if (pending_.empty()) return std::nullopt;
      if (moreMayFollow) return std::nullopt;  // the rest of a character is on its way
      pending_.clear();
      return std::nullopt;
    }
    Key k{T::text, pending_.substr(0, end)};
    pending_.erase(0, end);
    return k;
  }
  return std::nullopt;
}

struct RawTerminal::Saved {
  termios attributes;
};

RawTerminal::RawTerminal() {
  if (!::isatty(STDIN_FILENO)) return;
  termios t;
  if (::tcgetattr(STDIN_FILENO, &t) != 0) return;
  saved_ = std::make_unique<Saved>(Saved{t});
  // Keys one at a time, unechoed, with Ctrl-C, Ctrl-Z and flow control arriving as keys. Output
  // processing stays on, so "\n" still starts a fresh line.
  t.c_lflag &= ~(ICANON | ECHO | ISIG | IEXTEN);
  t.c_iflag &= ~(IXON | ICRNL | INLCR);
  t.c_cc[VMIN] = 0;
  t.c_cc[VTIME] = 0;
  active_ = ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &t) == 0;
}

RawTerminal::~RawTerminal() {
  if (saved_) ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &saved_->attributes);
}

int RawTerminal::columns() {
  winsize w{};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &w) == 0 && w.ws_col > 0) return w.ws_col;
  return 80;
}

int RawTerminal::rows() {
  winsize w{};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &w) == 0 && w.ws_row > 0) return w.ws_row;
  return 24;
}

}  // namespace skimlet::cli
