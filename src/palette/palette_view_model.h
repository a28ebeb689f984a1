// The state behind the command palette: the typed command, what the palette is showing (idle,
// working, a result, a confirmation or a choice), the browser it acts on and the running command.
//
// Threading. The view model lives on the main thread and every member is called there. A
// submitted command runs on its own worker thread (understanding, then the engine), which never
// touches the view model: each step it reaches is posted back through Platform::dispatch and
// applied only if the view model still exists and the command is still the current one. So a
// closed palette is not kept alive by its command, and a cancelled command changes nothing more.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "ai/local_ai.h"
#include "browser/browser_target.h"
#include "engine/action_engine.h"
#include "engine/outcome.h"
#include "palette/suggestion.h"
#include "platform/platform.h"

namespace skimlet {

class BrowserTracker;

class PaletteViewModel : public std::enable_shared_from_this<PaletteViewModel> {
 public:
  struct Working {
    std::string text;  // shown next to the progress indicator
  };
  struct Idle {};
  // working, result, confirm, choose, idle.
  using Phase = std::variant<Working, ActionResult, Confirmation, ChoiceSet, Idle>;

  // The tracker and everything in `platform` must outlive the view model.
  static std::shared_ptr<PaletteViewModel> create(const Platform& platform, BrowserTracker& tracker, LocalAI ai);
  // What a command gets when no supported browser is in front; the tool's replay of a recorded
  // non-browser answers the same.
  static ActionResult noBrowserResult();
  ~PaletteViewModel();
  PaletteViewModel(const PaletteViewModel&) = delete;
  PaletteViewModel& operator=(const PaletteViewModel&) = delete;

  // The command field's contents; the view writes it and then calls inputChanged().
  std::string input;
  // Whether the "Why?" lines of a result are shown.
  bool showWhy = false;
  // Closes the palette.
  std::function<void()> onDismiss;

  const Phase& phase() const { return phase_; }
  int selected() const { return selected_; }
  bool trusted() const { return trusted_; }
  const std::optional<BrowserTarget>& target() const { return target_; }
  // Replaced whenever the command field should take keyboard focus again.
  const std::string& focusToken() const { return focusToken_; }
  // The engine of the current command, kept for its confirmations and choices.
  const std::shared_ptr<ActionEngine>& engine() const { return engine_; }
  // Whether a command, follow-up or page reveal is still running on its worker; a stopped
  // command counts until it has ended. A worker that ends wakes the main thread.
  bool busy() const;

  // Called on the main thread after what the views show has changed. A step of a running
  // command is seen at its end; changes made by the view's own calls are seen on the main
  // thread's next turn, once, in their final state (typing over a result and pressing Return
  // shows the new command at work, not a flash of the empty palette in between).
  void observe(std::function<void()> onChange);

  // Return in the command field.
  void submit();
  // Runs option `index` of the choice on screen; anything else is ignored.
  void pick(int index);
  // Moves the choice selection by +1 or -1, wrapping at both ends.
  void move(int delta);
  // False when there was nothing to undo, so the palette should close.
  bool escape();
  // Stops whatever runs and returns to idle.
  void cancel();
  // Runs a confirmed action.
  void confirm(const Confirmation& confirmation);
  // The command text changed: a shown answer no longer applies.
  void inputChanged();
  // What the current text would do, by the rules alone (never a model).
  std::optional<std::string> preview() const;
  std::vector<Suggestion> suggestions() const;
  void use(const Suggestion& suggestion);
  // Brings a found item of the shown result into view on the page.
  void reveal(const FoundItem& item);
  // The palette was shown: back to a clean idle state.
  void reset();
  // Reads which supported browser is in front and whether Skimlet may read it.
  void refreshContext();

 private:
  PaletteViewModel(const Platform& platform, BrowserTracker& tracker, LocalAI ai);

  void setPhase(Phase phase);
  void apply(Outcome outcome);
  void highlightSelected();
  void removeHighlight();
  void changed();
  // Tells the observers now, when something changed since they were last told.
  void flush();
  void newFocusToken();
  // Starts `body` on a fresh worker as the current task; the previous one is stopped first.
  // `body` gets a poster that applies a step on the main thread while this task is current.
  using Post = std::function<void(std::function<void(PaletteViewModel&)>)>;
  void startTask(std::function<void(std::stop_token, const Post&)> body);
  void stopTask();

  Platform platform_;
  BrowserTracker& tracker_;
  LocalAI ai_;

  Phase phase_ = Idle{};
  int selected_ = 0;
  bool trusted_ = false;
  std::optional<BrowserTarget> target_;
  std::string focusToken_;
  std::shared_ptr<ActionEngine> engine_;
  std::vector<std::function<void()>> observers_;
  bool dirty_ = false;        // changed since the observers were last told
  bool flushPosted_ = false;  // a flush is queued for the main thread's next turn
  bool inStep_ = false;       // applying a step of a running command; it flushes at its end

  // The task whose steps are still applied; older ones are stopped and only awaited.
  struct Worker {
    std::jthread thread;
    std::shared_ptr<std::atomic<bool>> done;
  };
  std::uint64_t taskId_ = 0;
  Worker task_;
  // Stopped tasks and page reveals still finishing; joined once done, or at destruction.
  std::vector<Worker> others_;
  Worker spawn(std::function<void(std::stop_token)> body);
  void reap();
};

}  // namespace skimlet
