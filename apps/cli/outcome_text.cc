#include "outcome_text.h"

namespace skimlet::cli {

std::string OutcomeText::inert(std::string_view s) {
  static const std::string replacement = "\uFFFD";
  std::string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size(); ++i) {
    const auto c = static_cast<unsigned char>(s[i]);
    if (c == '\r' && i + 1 < s.size() && s[i + 1] == '\n') continue;  // a Windows line break is a line break
    if ((c < 0x20 && c != '\n' && c != '\t') || c == 0x7F) {
      out += replacement;
    } else if (c == 0xC2 && i + 1 < s.size() && static_cast<unsigned char>(s[i + 1]) < 0xA0 &&
               static_cast<unsigned char>(s[i + 1]) >= 0x80) {
      out += replacement;  // U+0080 to U+009F: the 8-bit controls, CSI among them
      ++i;
    } else {
      out += s[i];
    }
  }
  return out;
}

std::string OutcomeText::markdown(const std::string& text) const {
  const std::string s = inert(text);
  std::string out;
  bool bold = false;
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '\\' && i + 1 < s.size()) {
      out += s[++i];  // an escaped character stands for itself
    } else if (s.compare(i, 2, "**") == 0) {
      bold = !bold;
      if (styled_) out += bold ? "\x1b[1m" : "\x1b[22m";
      ++i;
    } else {
      out += s[i];
    }
  }
  if (bold && styled_) out += "\x1b[22m";
  return out;
}

std::string OutcomeText::oneLine(std::string_view text) {
  const std::string s = inert(text);
  std::string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size();) {
    std::size_t end = i;
    bool lineBreak = false;
    while (end < s.size() && (s[end] == ' ' || s[end] == '\t' || s[end] == '\n' || s[end] == '\r')) {
      lineBreak = lineBreak || s[end] == '\n' || s[end] == '\r';
      ++end;
    }
    if (end == i) {
      out += s[i++];
    } else if (!lineBreak) {
      out.append(s, i, end - i);
      i = end;
    } else {
      if (i > 0 && end < s.size()) out += ' ';  // a break at either end just goes
      i = end;
    }
  }
  return out;
}

void OutcomeText::printWhy(std::ostream& out, const std::vector<std::string>& debug) const {
  if (debug.empty()) return;
  out << dim("Why?") << "\n";
  for (const auto& line : debug) out << dim("  " + line) << "\n";
}

void OutcomeText::printResult(std::ostream& out, const ActionResult& r, bool why) const {
  const char* mark = r.kind == ActionResult::Kind::success ? "✓ " : r.kind == ActionResult::Kind::failure ? "✗ " : "";
  out << mark << markdown(r.headline) << "\n";
  if (r.body && !r.body->empty()) out << markdown(*r.body) << "\n";
  for (std::size_t i = 0; i < r.items.size(); ++i) out << "  " << i + 1 << ". " << oneLine(r.items[i].text) << "\n";
  if (why) printWhy(out, r.debug);
}

void OutcomeText::print(std::ostream& out, const Outcome& outcome) const {
  if (const ActionResult* r = outcome.result()) {
    printResult(out, *r, true);
  } else if (const Confirmation* c = outcome.confirm()) {
    out << "? " << inert(c->title) << "\n" << inert(c->message) << "\n";
    out << "[" << c->confirmLabel << "] " << dim("— add --confirm to accept") << "\n";
    printWhy(out, c->debug);
  } else if (const ChoiceSet* choice = outcome.choose()) {
    out << "? " << inert(choice->prompt) << "\n";
    for (std::size_t i = 0; i < choice->options.size(); ++i) {
      const ChoiceOption& o = choice->options[i];
      out << "  " << i + 1 << ". " << oneLine(o.title);
      if (!o.subtitle.empty()) out << dim(" — " + oneLine(o.subtitle));
      out << "\n";
    }
    out << dim("Add --pick N to choose one.") << "\n";
  }
}

void OutcomeText::printEvents(std::ostream& out, const std::vector<Event>& events) const {
  if (events.empty()) return;
  out << dim("Done to the page:") << "\n";
  for (const auto& e : events) out << dim("  " + describe(e)) << "\n";
}

}  // namespace skimlet::cli
