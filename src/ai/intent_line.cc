#include "ai/intent_line.h"

#include <charconv>
#include <string>
#include <vector>

#include "llm/utf8.h"

namespace skimlet {
namespace {

std::string_view trim(std::string_view s) { return trimWhiteSpace(s); }

// Models like to wrap the line in backticks as if it were code.
std::string_view unquote(std::string_view s) {
  s = trim(s);
  while (!s.empty() && s.front() == '`') s.remove_prefix(1);
  while (!s.empty() && s.back() == '`') s.remove_suffix(1);
  return trim(s);
}

std::vector<std::string_view> lines(std::string_view s) {
  std::vector<std::string_view> out;
  size_t start = 0;
  while (start <= s.size()) {
    size_t end = s.find('\n', start);
    if (end == std::string_view::npos) end = s.size();
    std::string_view line = unquote(s.substr(start, end - start));
    if (!line.empty()) out.push_back(line);
    start = end + 1;
  }
  return out;
}

int readOrdinal(std::string_view s) {
  s = trim(s);
  if (!s.empty() && s.front() == '+') s.remove_prefix(1);
  int value = 0;
  auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), value);
  if (ec != std::errc() || end != s.data() + s.size()) return 0;
  return value;
}

}  // namespace

std::optional<LLMIntent> readIntentLine(std::string_view reply) {
  auto all = lines(reply);
  if (all.empty()) return std::nullopt;
  std::string_view line = all.front();
  for (auto l : all) {
    if (l.find('|') != std::string_view::npos) {
      line = l;
      break;
    }
  }
  // "take me back -> back||0||": the model echoed the examples' arrow before its answer.
  size_t bar = line.find('|');
  size_t arrow = line.substr(0, bar).rfind("->");
  if (arrow != std::string_view::npos) line = trim(line.substr(arrow + 2));

  std::vector<std::string_view> fields;
  size_t start = 0;
  while (true) {
    size_t end = line.find('|', start);
    fields.push_back(trim(line.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start)));
    if (end == std::string_view::npos) break;
    start = end + 1;
  }
  fields.resize(5);
  LLMIntent out;
  out.action = std::string(fields[0]);
  out.target = std::string(fields[1]);
  out.ordinal = readOrdinal(fields[2]);
  out.text = std::string(fields[3]);
  out.field = std::string(fields[4]);
  return out;
}

bool intentLineEnded(std::string_view sofar) {
  const size_t bar = sofar.find('|');
  return bar != std::string_view::npos && sofar.find('\n', bar) != std::string_view::npos;
}

}  // namespace skimlet
