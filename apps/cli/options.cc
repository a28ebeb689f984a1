#include "options.h"

#include <charconv>

namespace skimlet::cli {

bool isOption(std::string_view a) { return a == "-h" || (a.size() > 2 && a.starts_with("--")); }

bool asksForHelp(const Args& args) {
  for (const auto& a : args) {
    if (a == "--") return false;
    if (a == "--help" || a == "-h") return true;
  }
  return false;
}

bool OptionReader::more() {
  if (!problem_.empty()) return false;
  if (!wordsOnly_ && next_ < args_.size() && args_[next_] == "--") {
    wordsOnly_ = true;
    ++next_;
  }
  return next_ < args_.size();
}

std::string_view OptionReader::name() const {
  if (wordsOnly_ || next_ >= args_.size() || !isOption(args_[next_])) return {};
  std::string_view a = args_[next_];
  return a.substr(0, a.find('='));
}

std::optional<std::string> OptionReader::joinedValue() const {
  const std::string& a = args_[next_];
  auto eq = a.find('=');
  if (eq == std::string::npos) return std::nullopt;
  return a.substr(eq + 1);
}

bool OptionReader::flag(std::string_view wanted) {
  if (!more() || name() != wanted) return false;
  if (joinedValue()) fail(std::string(wanted) + " takes no value");
  ++next_;
  return true;
}

bool OptionReader::value(std::string_view wanted, std::string& value) {
  if (!more() || name() != wanted) return false;
  if (auto joined = joinedValue()) {
    value = *joined;
    ++next_;
  } else if (next_ + 1 < args_.size() && !isOption(args_[next_ + 1]) && args_[next_ + 1] != "--") {
    value = args_[next_ + 1];
    next_ += 2;
  } else {
    ++next_;
    fail(std::string(wanted) + " needs a value");
    return true;
  }
  if (value.empty()) fail(std::string(wanted) + " needs a value");
  return true;
}

bool OptionReader::number(std::string_view wanted, int& out, int least) {
  std::string text;
  if (!value(wanted, text)) return false;
  if (!problem_.empty()) return true;
  int n = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), n);
  if (ec != std::errc() || end != text.data() + text.size() || n < least)
    fail(std::string(wanted) + " needs a whole number of at least " + std::to_string(least));
  else out = n;
  return true;
}

std::optional<std::string> OptionReader::word() {
  if (!more()) return std::nullopt;
  if (!wordsOnly_ && isOption(args_[next_])) {
    fail("unknown option " + args_[next_]);
    return std::nullopt;
  }
  return args_[next_++];
}

}  // namespace skimlet::cli
