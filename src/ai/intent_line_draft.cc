#include "ai/intent_line_draft.h"

#include <array>
#include <cctype>
#include <optional>
#include <vector>

#include "llm/utf8.h"
#include "text/text_util.h"

namespace skimlet {
namespace {

// The action words of the one-line prompt. Those after `firstWithoutTarget` never carry a
// target, so their line ends "||0||".
constexpr std::array<std::string_view, 27> kActions = {
    "click",      "open_link",   "find",      "scroll_to",    "ask",           "type",   "read",
    "summarize",  "scroll_down", "scroll_up", "scroll_top",   "scroll_bottom", "back",   "forward",
    "reload",     "new_tab",     "close_tab", "next_tab",     "previous_tab",  "copy",   "paste",
    "select_all", "enter",       "escape",    "list_buttons", "list_links",    "unknown"};
constexpr size_t kFirstWithoutTarget = 6;

bool takesTarget(std::string_view action) {
  for (size_t i = 0; i < kFirstWithoutTarget; ++i)
    if (kActions[i] == action) return true;
  return false;
}

// What follows a complete action word: its bar, and for actions without a target the empty
// fields up to the end; "type" usually leaves its target empty too.
std::string afterAction(std::string_view action) {
  if (action == "type") return "||0|";
  return takesTarget(action) ? "|" : "||0||";
}

std::string guessAction(std::string_view started) {
  if (started.empty()) return "";
  std::vector<std::string_view> candidates;
  for (std::string_view a : kActions) {
    if (a == started) return afterAction(a);  // "scroll_to" rather than "scroll_top"
    if (a.starts_with(started)) candidates.push_back(a);
  }
  if (candidates.empty()) return "";
  if (candidates.size() == 1) return std::string(candidates[0].substr(started.size())) + afterAction(candidates[0]);
  // Only the part every candidate shares ("scroll_" after "scroll").
  size_t common = candidates[0].size();
  for (std::string_view c : candidates) {
    size_t k = started.size();
    while (k < common && k < c.size() && c[k] == candidates[0][k]) ++k;
    common = k;
  }
  return std::string(candidates[0].substr(started.size(), common - started.size()));
}

bool isWordChar(char c) { return static_cast<unsigned char>(c) >= 0x80 || std::isalnum(static_cast<unsigned char>(c)); }

// The rest of the command after the place where it spells `field` (case-insensitively, from the
// start of a word), without closing punctuation; none when the command doesn't spell it.
std::optional<std::string> copiedOn(std::string_view command, std::string_view field) {
  const std::string lowCommand = TextUtil::lower(command), lowField = TextUtil::lower(field);
  // Lower-casing may change byte lengths outside ASCII; then positions don't carry over.
  if (lowCommand.size() != command.size() || lowField.size() != field.size()) return std::nullopt;
  for (size_t at = lowCommand.find(lowField); at != std::string::npos; at = lowCommand.find(lowField, at + 1)) {
    if (at > 0 && isWordChar(lowCommand[at - 1])) continue;
    std::string_view rest = command.substr(at + field.size());
    while (!rest.empty() && std::string_view(".!?,\"' ").find(rest.back()) != std::string_view::npos)
      rest.remove_suffix(1);
    return std::string(rest);
  }
  return std::nullopt;
}

}  // namespace

std::string draftIntentLine(std::string_view command, std::string_view sofar) {
  if (sofar.find('\n') != std::string_view::npos) return "";
  std::vector<std::string_view> fields;
  for (size_t start = 0;;) {
    const size_t bar = sofar.find('|', start);
    fields.push_back(sofar.substr(start, bar == std::string_view::npos ? std::string_view::npos : bar - start));
    if (bar == std::string_view::npos) break;
    start = bar + 1;
  }
  const std::string_view action = trimWhiteSpace(fields[0]);
  const std::string_view current = fields.back();
  const bool typing = action == "type";
  switch (fields.size()) {
    case 1: return guessAction(trimWhiteSpace(current));
    case 2:  // target
      if (current.empty()) return "";
      return copiedOn(command, current).value_or("") + "|0||";
    case 3:  // ordinal
      if (current.empty()) return typing ? "0|" : "0||";
      return typing ? "|" : "||";
    case 4:  // text
      if (current.empty()) return typing ? "" : "|";
      return copiedOn(command, current).value_or("") + "|";
    case 5:  // field
      if (current.empty()) return "";
      return copiedOn(command, current).value_or("");
    default: return "";
  }
}

ReplyDrafter intentLineDrafter(std::string command) {
  return [command = std::move(command)](std::string_view sofar) { return draftIntentLine(command, sofar); };
}

}  // namespace skimlet
