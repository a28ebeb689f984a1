// What carrying out a command answers: a finished result, a question to confirm before acting,
// or a short list of candidates for the user to pick from.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "page/page_element.h"

namespace skimlet {

// A fresh random UUID in its canonical text form ("8-4-4-4-12" lower-case hex, version 4).
std::string newUUID();

// One line of a result that points at something on the page.
struct FoundItem {
  std::string id = newUUID();
  std::string text;
  std::optional<PageElement> element;  // what the palette can highlight or reveal
};

struct ActionResult {
  enum class Kind { success, info, failure };

  Kind kind = Kind::info;
  std::string headline;             // one line, light Markdown (**bold**)
  std::optional<std::string> body;  // the hint after a failure, or the content (page text, answer)
  std::vector<FoundItem> items;
  std::vector<std::string> debug;       // the "Why?" lines
  std::optional<std::string> copyText;  // what Copy takes instead of a truncated body
  bool isPartial = false;               // only on results streamed while a model still writes

  static ActionResult success(std::string headline, std::vector<std::string> debug = {}) {
    return make(Kind::success, std::move(headline), std::nullopt, std::move(debug));
  }
  static ActionResult info(std::string headline, std::optional<std::string> body, std::vector<std::string> debug = {}) {
    return make(Kind::info, std::move(headline), std::move(body), std::move(debug));
  }
  static ActionResult failure(std::string headline, std::optional<std::string> body = std::nullopt,
                              std::vector<std::string> debug = {}) {
    return make(Kind::failure, std::move(headline), std::move(body), std::move(debug));
  }

 private:
  static ActionResult make(Kind k, std::string h, std::optional<std::string> b, std::vector<std::string> d) {
    ActionResult r;
    r.kind = k;
    r.headline = std::move(h);
    r.body = std::move(b);
    r.debug = std::move(d);
    return r;
  }
};

struct Outcome;

// A risky action waiting for the user's yes. `perform` runs at most once, after the flow that
// made it has returned, on the command's worker like ActionEngine::run. It holds the engine
// weakly: when the engine is gone it answers a failure instead of acting.
struct Confirmation {
  std::string title;
  std::string message;
  std::string confirmLabel;
  std::vector<std::string> debug;
  std::function<ActionResult()> perform;
};

// One candidate the user can pick. `run` follows the same rules as Confirmation::perform and
// may itself answer a further confirmation.
struct ChoiceOption {
  std::string id = newUUID();
  std::string title;
  std::string subtitle;
  std::optional<PageElement> element;
  std::function<Outcome()> run;
};

struct ChoiceSet {
  std::string prompt;
  std::vector<ChoiceOption> options;
};

// result(ActionResult) | confirm(Confirmation) | choose(ChoiceSet), in that order.
struct Outcome {
  std::variant<ActionResult, Confirmation, ChoiceSet> value;

  Outcome(ActionResult r) : value(std::move(r)) {}
  Outcome(Confirmation c) : value(std::move(c)) {}
  Outcome(ChoiceSet c) : value(std::move(c)) {}

  const ActionResult* result() const { return std::get_if<ActionResult>(&value); }
  const Confirmation* confirm() const { return std::get_if<Confirmation>(&value); }
  const ChoiceSet* choose() const { return std::get_if<ChoiceSet>(&value); }
  ActionResult* result() { return std::get_if<ActionResult>(&value); }
};

}  // namespace skimlet
