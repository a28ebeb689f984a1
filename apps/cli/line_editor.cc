#include "line_editor.h"

namespace skimlet::cli {
namespace {

bool continuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

}  // namespace

std::size_t LineEditor::previous(std::size_t at) const {
  if (at == 0) return 0;
  --at;
  while (at > 0 && continuation(text_[at])) --at;
  return at;
}

std::size_t LineEditor::following(std::size_t at) const {
  if (at >= text_.size()) return text_.size();
  ++at;
  while (at < text_.size() && continuation(text_[at])) ++at;
  return at;
}

void LineEditor::set(std::string text) {
  text_ = std::move(text);
  cursor_ = text_.size();
}

void LineEditor::insert(std::string_view s) {
  text_.insert(cursor_, s);
  cursor_ += s.size();
}

void LineEditor::backspace() {
  const std::size_t from = previous(cursor_);
  text_.erase(from, cursor_ - from);
  cursor_ = from;
}

void LineEditor::deleteForward() { text_.erase(cursor_, following(cursor_) - cursor_); }

void LineEditor::left() { cursor_ = previous(cursor_); }

void LineEditor::right() { cursor_ = following(cursor_); }

void LineEditor::deleteWord() {
  std::size_t from = cursor_;
  while (from > 0 && text_[from - 1] == ' ') --from;
  while (from > 0 && text_[from - 1] != ' ') from = previous(from);
  text_.erase(from, cursor_ - from);
  cursor_ = from;
}

}  // namespace skimlet::cli
