#include "ai/local_ai.h"

#include <charconv>

#include "ai/intent_line.h"
#include "ai/intent_line_draft.h"
#include "ai/intent_mapper.h"
#include "ai/prompts.h"

namespace skimlet {
namespace {

// Keeps a cancelled request from reaching the palette with text it no longer wants.
PartialSink guarded(const PartialSink& onPartial, std::stop_token stop) {
  if (!onPartial) return {};
  return [onPartial, stop](const std::string& text) {
    if (!stop.stop_requested()) onPartial(text);
  };
}

std::string chooseMessage(const std::string& query, const std::vector<std::string>& options) {
  std::string lines;
  for (size_t i = 0; i < options.size(); ++i) {
    if (i > 0) lines += "\n";
    lines += std::to_string(i) + ": " + options[i];
  }
  return "User wants: " + query + "\nOptions:\n" + lines;
}

// "Option 2." keeps "2"; "-1" keeps "-1"; a reply with no digits keeps nothing.
std::optional<int> digitsOf(const std::string& reply) {
  std::string kept;
  for (char c : reply) {
    if ((c >= '0' && c <= '9') || c == '-') kept += c;
  }
  if (kept.empty()) return std::nullopt;
  int value = 0;
  auto [end, ec] = std::from_chars(kept.data(), kept.data() + kept.size(), value);
  if (ec != std::errc() || end != kept.data() + kept.size()) return std::nullopt;
  return value;
}

// The own model's restatement of a command. The answer is one line, so the model is stopped as
// soon as the line the reader will take has ended instead of writing on to its token limit: the
// reply then reads exactly as the whole one would, sooner. Most of the line is guessed from the
// command and the format and checked in batches, so it takes few passes of the model.
std::optional<std::string> oneLineReply(ChatModel& model, const std::string& command, std::stop_token stop) {
  std::stop_source enough;
  std::stop_callback relay(stop, [&] { enough.request_stop(); });
  std::string ended;
  auto sink = [&](const std::string& sofar) {
    if (ended.empty() && intentLineEnded(sofar)) {
      ended = sofar;
      enough.request_stop();
    }
  };
  auto reply = model.generateDrafted(std::string(prompts::intentLine), command, prompts::intentMaxTokens, sink,
                                     enough.get_token(), intentLineDrafter(command));
  if (stop.stop_requested()) return std::nullopt;
  if (!ended.empty()) return ended;
  return reply;
}

bool hasText(const std::optional<std::string>& s) { return s && s->find_first_not_of(" \t\r\n") != std::string::npos; }

}  // namespace

bool LocalAI::ownModelUsable() const { return own_ && own_->installed() && !own_->lastError(); }

bool LocalAI::systemModelUsable() const { return system_ && system_->available(); }

std::string LocalAI::statusText() const {
  if (ownModelUsable()) return "Local AI: " + own_->displayName();
  if (systemModelUsable()) return "Local AI: Apple Intelligence";
  return "No local model \u2014 using built-in rules";
}

std::optional<std::string> LocalAI::lastError() const {
  if (!own_) return std::nullopt;
  return own_->lastError();
}

std::optional<Intent> LocalAI::parseIntent(const std::string& command, std::stop_token stop) const {
  if (ownModelUsable()) {
    auto reply = oneLineReply(*own_, command, stop);
    if (reply) {
      if (auto line = readIntentLine(*reply)) {
        if (auto intent = IntentMapper::map(*line, command)) return intent;
      }
    }
  }
  if (stop.stop_requested()) return std::nullopt;
  if (systemModelUsable()) {
    if (auto record = system_->parseIntent(command)) return IntentMapper::map(*record, command);
  }
  return std::nullopt;
}

std::optional<int> LocalAI::choose(const std::string& query, const std::vector<std::string>& options,
                                   std::stop_token stop) const {
  if (options.empty()) return std::nullopt;
  const int count = static_cast<int>(options.size());
  const std::string message = chooseMessage(query, options);
  if (ownModelUsable()) {
    auto reply = own_->generate(std::string(prompts::chooseLine), message, prompts::chooseMaxTokens, {}, stop);
    if (reply) {
      auto n = digitsOf(*reply);
      if (n && *n >= 0 && *n < count) return n;
      // The model said plainly that nothing matches; asking another model would second-guess it.
      if (n && *n == -1) return std::nullopt;
    }
  }
  if (stop.stop_requested()) return std::nullopt;
  if (systemModelUsable()) {
    if (auto choice = system_->choose(message); choice && choice->index >= 0 && choice->index < count) {
      return choice->index;
    }
  }
  return std::nullopt;
}

std::optional<std::string> LocalAI::summarize(const std::string& title, const std::string& text,
                                              const PartialSink& onPartial, std::stop_token stop) const {
  if (ownModelUsable()) {
    auto reply = own_->generate(std::string(prompts::summaryLocal), "Title: " + title + "\n\n" + text,
                                prompts::summaryMaxTokens, guarded(onPartial, stop), stop);
    if (stop.stop_requested()) return std::nullopt;
    if (hasText(reply)) return reply;
  }
  if (stop.stop_requested()) return std::nullopt;
  if (systemModelUsable()) {
    auto summary = system_->summarizeStreaming(title, text, guarded(onPartial, stop));
    if (hasText(summary)) return summary;
  }
  return std::nullopt;
}

}  // namespace skimlet
