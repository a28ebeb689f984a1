// The command being typed at the terminal palette's prompt: text and a cursor that moves by
// whole characters, with the editing keys people expect of a shell prompt.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace skimlet::cli {

class LineEditor {
 public:
  const std::string& text() const { return text_; }
  // The cursor as a byte offset into text(), always at a character boundary.
  std::size_t cursor() const { return cursor_; }

  void set(std::string text);  // the cursor goes to the end
  void insert(std::string_view s);
  void backspace();
  void deleteForward();
  void left();
  void right();
  void home() { cursor_ = 0; }
  void end() { cursor_ = text_.size(); }
  void clear() { set({}); }
  // Deletes the word before the cursor and the spaces after it, as Ctrl-W does in a shell.
  void deleteWord();

 private:
  std::size_t previous(std::size_t at) const;
  std::size_t following(std::size_t at) const;

  std::string text_;
  std::size_t cursor_ = 0;
};

}  // namespace skimlet::cli
