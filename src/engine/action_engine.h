// ActionEngine carries out one understood command against the page of one browser window and
// answers with an Outcome. It is the single door through which the palette acts on a page.
//
// Threading. run() blocks: the palette calls it off the main thread, on the command's worker,
// with a std::stop_token that Escape trips; every flow runs on that worker and talks to the
// operating system only through the Platform seam. The waits that let a browser settle go through
// Platform::clock(), so tests with an instant clock pay nothing for them. Partial results while a
// model writes reach the main thread only through Platform::dispatch: the callback made by
// partialSink() may be entered from any thread; it posts one step to the main thread which locks
// a weak_ptr to the engine (nothing happens if the engine is gone) and hands the result to
// `stream` when one is set. `stream` is set, cleared and called on the main thread only.
//
// Lifetime. Engines are made by create() and held by the palette for one command and its
// follow-ups. A Confirmation's perform or a ChoiceOption's run captures the engine weakly: it
// never keeps a released engine alive, and answers a failure when the engine is gone. Follow-ups
// run on a worker, like run(), one at a time.
//
// The page is read at most once per engine (snapshot()); a fresh command needs a fresh engine.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "ai/chat_model.h"
#include "ai/local_ai.h"
#include "browser/browser_target.h"
#include "engine/outcome.h"
#include "intent/intent.h"
#include "page/page_snapshot.h"
#include "platform/platform.h"

namespace skimlet {

struct Match;
enum class MatchPurpose;

class ActionEngine : public std::enable_shared_from_this<ActionEngine> {
 public:
  // `ai` may hold no model at all; every flow then keeps its own choice or asks the user.
  static std::shared_ptr<ActionEngine> create(BrowserTarget target, const Platform& platform, LocalAI ai);

  ActionEngine(const ActionEngine&) = delete;
  ActionEngine& operator=(const ActionEngine&) = delete;

  // Carries out the intent. Blocking; see the threading note above. A command that cannot be
  // carried out answers a failure result, never an exception.
  Outcome run(const Intent& intent, std::stop_token stop = {});

  // Receives partial results on the main thread while a model writes. Main thread only.
  std::function<void(const ActionResult&)> stream;

  // --- Helpers shared by the flows -------------------------------------------------------

  const Platform& platform() const { return platform_; }
  const BrowserTarget& target() const { return target_; }
  const LocalAI& ai() const { return ai_; }
  // The stop token of the command that is running (or of the last one).
  std::stop_token stopToken() const { return stop_; }
  bool stopRequested() const { return stop_.stop_requested(); }
  // Texts this engine typed into password fields, for those who repeat the command's words.
  const std::vector<std::string>& secrets() const { return secrets_; }

  // The page, read on first use and kept for the engine's life; null when no window of the
  // browser can be read (that answer is kept too).
  const PageSnapshot* snapshot();

  // The token sink handed to a model by the answer and summary flows: each call with the text
  // so far delivers one partial result (kind info, isPartial) through `stream`.
  PartialSink partialSink(std::string headline, std::vector<FoundItem> items);
  // Appends "Local model error: …" when the local model recorded one.
  void modelNote(std::vector<std::string>& dbg) const;
  // "Element: AXButton (412,230 88×32) actions=AXPress,AXShowMenu".
  static std::string elementDebug(const PageElement& element);
  // A role as shown to the user or a model: "AXButton" → "Button".
  static std::string roleName(const std::string& role);
  // The browser as named in results: the application's localized name, else the adapter's.
  std::string browserName() const;
  // Brings an element into view and outlines it, for results that point at it. False when the
  // element could not be scrolled to (it may still be outlined).
  bool reveal(const PageElement& element);
  // Outlines an element's recorded frame for a moment; nothing when it has none.
  void highlight(const PageElement& element, double seconds = 1.5);
  // Live reads just before acting (the page may have moved since it was read). Failures give
  // the empty text, nothing, or false.
  std::string attributeText(const ax::ElementRef& element, std::string_view name);
  std::optional<Rect> currentFrame(const ax::ElementRef& element);
  bool isSettable(const ax::ElementRef& element, std::string_view name);
  // Appends the page-read line and the "Page: " line for a snapshot just read.
  static void notePage(const PageSnapshot& snap, std::vector<std::string>& dbg);
  // The failure for a browser without a readable window.
  ActionResult unreadable(std::vector<std::string> dbg) const;

  // --- Flows, each in its own file; each gets the trail so far and answers with it --------

  // click_flow.cc
  Outcome clickFlow(const TargetSpec& target, MatchPurpose purpose, const PageSnapshot& snap,
                    std::vector<std::string> dbg);
  // press.cc: the one place where an element is about to be pressed (applies Safety).
  Outcome press(const Match& match, const PageSnapshot& snap, std::vector<std::string> dbg);
  ActionResult doPress(const PageElement& element, const std::string& label, std::vector<std::string> dbg);
  ChoiceOption describe(const Match& match, const PageSnapshot& snap);
  // link_flows.cc
  Outcome openLinks(const std::string& matching, const PageSnapshot& snap, std::vector<std::string> dbg);
  Outcome openArticle(const PageSnapshot& snap, std::vector<std::string> dbg);
  // type_flow.cc
  Outcome typeFlow(const std::string& text, const std::optional<TargetSpec>& field, bool replace,
                   std::vector<std::string> dbg);
  Outcome chooseField(const std::string& text, const std::optional<TargetSpec>& field, bool replace,
                      const PageSnapshot& snap, std::vector<std::string> dbg);
  ActionResult write(const std::string& text, const ax::ElementRef& into, bool replace, bool secure,
                     const std::string& name, std::vector<std::string> dbg);
  // navigate_flow.cc
  Outcome navigate(const NavAction& action, std::vector<std::string> dbg);
  std::optional<PageElement> chromeButton(const std::vector<std::string>& names, const PageSnapshot& snap);
  Outcome switchToTab(const std::string& name, std::vector<std::string> dbg);
  // key_flow.cc
  ActionResult pressKey(KeyAction key, std::vector<std::string> dbg);
  // Activates the browser when needed, then posts one shortcut to its process.
  void sendShortcut(std::uint16_t virtualKey, std::uint64_t flags);
  // action_engine.cc
  Outcome read(const PageSnapshot& snap, std::vector<std::string> dbg);
  Outcome copyArticle(const PageSnapshot& snap, std::vector<std::string> dbg);

  // find_flow.cc, find_all_flow.cc, scroll_flow.cc, list_flow.cc
  Outcome find(const std::string& text, const PageSnapshot& snap, std::vector<std::string> dbg);
  Outcome findAll(const std::string& text, const PageSnapshot& snap, std::vector<std::string> dbg);
  Outcome scroll(const ScrollSpec& spec, const PageSnapshot& snap, std::vector<std::string> dbg);
  Outcome list(RoleHint role, const PageSnapshot& snap, std::vector<std::string> dbg);
  // answer_flow.cc, summary_flow.cc
  Outcome ask(const std::string& question, const PageSnapshot& snap, std::vector<std::string> dbg);
  Outcome summarize(const PageSnapshot& snap, std::vector<std::string> dbg);

  // A follow-up (confirmation or picked choice) bound to this engine without owning it: runs
  // `body` with the engine while it lives, else answers the "command is over" failure.
  template <class R, class F>
  std::function<R()> followUp(F body) {
    std::weak_ptr<ActionEngine> weak = weak_from_this();
    return [weak, body = std::move(body)]() mutable -> R {
      if (auto engine = weak.lock()) return body(*engine);
      return R(goneResult());
    };
  }
  // What a follow-up answers once its engine is gone.
  static ActionResult goneResult();

 private:
  ActionEngine(BrowserTarget target, const Platform& platform, LocalAI ai);

  BrowserTarget target_;
  Platform platform_;
  LocalAI ai_;
  std::optional<std::optional<PageSnapshot>> snap_;  // outer: read yet; inner: what was read
  std::stop_token stop_;
  std::vector<std::string> secrets_;
};

}  // namespace skimlet
