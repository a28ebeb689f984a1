#include "palette/palette_view_model.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include "browser/browser_tracker.h"
#include "engine/secrets.h"
#include "engine/understand.h"
#include "intent/intent_parser.h"
#include "text/text_util.h"

namespace skimlet {
namespace {

// The outline on the highlighted option stays while the user makes up their mind; moving the
// selection, picking, typing or Escape replace or remove it long before this runs out.
constexpr double kChoiceHighlightSeconds = 30;

const std::string kUnderstanding = "Understanding\u2026";
const std::string kWorking = "Working\u2026";

}  // namespace

std::shared_ptr<PaletteViewModel> PaletteViewModel::create(const Platform& platform, BrowserTracker& tracker,
                                                           LocalAI ai) {
  return std::shared_ptr<PaletteViewModel>(new PaletteViewModel(platform, tracker, ai));
}

PaletteViewModel::PaletteViewModel(const Platform& platform, BrowserTracker& tracker, LocalAI ai)
    : platform_(platform), tracker_(tracker), ai_(ai), focusToken_(newUUID()) {}

PaletteViewModel::~PaletteViewModel() {
  // Ask every worker to stop before the first join, so they wind down together; what they still
  // post finds no view model. The threads are joined as the members are destroyed.
  if (task_.thread.joinable()) task_.thread.request_stop();
  for (auto& worker : others_) worker.thread.request_stop();
}

bool PaletteViewModel::busy() const {
  // A stopped command counts until it has really ended: it may still be between two steps of
  // acting on the page, and the page should be left alone until it is over.
  auto running = [](const Worker& w) { return w.done && !w.done->load(); };
  return running(task_) || std::any_of(others_.begin(), others_.end(), running);
}

void PaletteViewModel::observe(std::function<void()> onChange) { observers_.push_back(std::move(onChange)); }

void PaletteViewModel::changed() {
  dirty_ = true;
  if (inStep_ || flushPosted_) return;
  flushPosted_ = true;
  platform_.dispatch.toMain([weak = weak_from_this()] {
    if (auto self = weak.lock()) {
      self->flushPosted_ = false;
      self->flush();
    }
  });
}

void PaletteViewModel::flush() {
  if (!dirty_) return;
  dirty_ = false;
  // By index: an observer may add another one.
  for (size_t i = 0; i < observers_.size(); ++i) observers_[i]();
}

void PaletteViewModel::newFocusToken() {
  focusToken_ = newUUID();
  changed();
}

void PaletteViewModel::setPhase(Phase phase) {
  phase_ = std::move(phase);
  changed();
}

void PaletteViewModel::submit() {
  // While a question is on screen, Return answers it; the field's text is not a new command.
  if (const auto* confirmation = std::get_if<Confirmation>(&phase_)) {
    confirm(*confirmation);
    return;
  }
  if (std::holds_alternative<ChoiceSet>(phase_)) {
    pick(selected_);
    return;
  }
  if (TextUtil::split(input).empty()) return;
  const std::string command = input;

  refreshContext();
  if (!target_) {
    stopTask();
    removeHighlight();
    engine_.reset();
    setPhase(ActionResult::failure("No supported browser in front",
                                   "Open Safari, Chrome, Firefox, Arc, Brave or Edge, then press the hotkey again."));
    return;
  }

  // A fresh engine reads the page afresh; the previous command's follow-ups end with it.
  auto engine = ActionEngine::create(*target_, platform_, ai_);
  setPhase(Working{"Reading " + target_->browserName() + "\u2026"});

  startTask([engine, ai = ai_, command](std::stop_token stop, const Post& post) {
    bool understandingShown = false;
    auto showUnderstanding = [&] {
      understandingShown = true;
      post([](PaletteViewModel& vm) { vm.setPhase(Working{kUnderstanding}); });
    };
    auto understanding = understand(command, ai, showUnderstanding, stop);
    if (!understanding || stop.stop_requested()) return;
    // Without a usable model the fallback is immediate, but the user still learns that the rules
    // did not know the command before it is treated as a search or a question.
    if (understanding->stage != Understanding::Stage::rules && !understandingShown) showUnderstanding();

    const Intent intent = std::move(understanding->intent);
    post([text = Secrets::workingTitle(intent)](PaletteViewModel& vm) { vm.setPhase(Working{text}); });
    Outcome outcome = engine->run(intent, stop);
    if (stop.stop_requested()) return;
    post([outcome = std::move(outcome)](PaletteViewModel& vm) { vm.apply(outcome); });
  });

  // Partial answers arrive through the engine's own posts to the main thread, so this is set in
  // time although the worker is already running: nothing can reach it before submit returns.
  engine->stream = [weak = weak_from_this(), id = taskId_](const ActionResult& partial) {
    auto self = weak.lock();
    if (!self || self->taskId_ != id) return;
    self->inStep_ = true;
    self->setPhase(partial);
    self->inStep_ = false;
    self->flush();
  };
  engine_ = std::move(engine);
}

void PaletteViewModel::apply(Outcome outcome) {
  std::visit(
      [this](auto&& value) {
        using T = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<T, ChoiceSet>) {
          selected_ = 0;
          setPhase(std::move(value));
          highlightSelected();
        } else {
          setPhase(std::move(value));
        }
      },
      std::move(outcome.value));
}

void PaletteViewModel::pick(int index) {
  const auto* set = std::get_if<ChoiceSet>(&phase_);
  if (!set || index < 0 || index >= static_cast<int>(set->options.size())) return;
  // Copied out first: the choice set goes away with the phase.
  auto run = set->options[static_cast<size_t>(index)].run;
  if (!run) return;
  setPhase(Working{kWorking});
  startTask([run = std::move(run)](std::stop_token stop, const Post& post) {
    Outcome outcome = run();
    if (stop.stop_requested()) return;
    post([outcome = std::move(outcome)](PaletteViewModel& vm) { vm.apply(outcome); });
  });
}

void PaletteViewModel::confirm(const Confirmation& confirmation) {
  // `confirmation` is usually the one on screen, which the next phase replaces.
  auto perform = confirmation.perform;
  if (!perform) return;
  setPhase(Working{kWorking});
  startTask([perform = std::move(perform)](std::stop_token stop, const Post& post) {
    ActionResult result = perform();
    if (stop.stop_requested()) return;
    post([result = std::move(result)](PaletteViewModel& vm) { vm.apply(result); });
  });
}

void PaletteViewModel::move(int delta) {
  const auto* set = std::get_if<ChoiceSet>(&phase_);
  if (!set || set->options.empty()) return;
  const int count = static_cast<int>(set->options.size());
  selected_ = ((selected_ + delta) % count + count) % count;
  changed();
  highlightSelected();
}

void PaletteViewModel::highlightSelected() {
  const auto* set = std::get_if<ChoiceSet>(&phase_);
  if (!set || selected_ < 0 || selected_ >= static_cast<int>(set->options.size())) return;
  const auto& element = set->options[static_cast<size_t>(selected_)].element;
  if (element && element->frame) {
    platform_.highlighter.show(*element->frame, kChoiceHighlightSeconds);
  } else {
    // Leaving the previous option outlined would point at the wrong thing.
    platform_.highlighter.hide();
  }
}

void PaletteViewModel::removeHighlight() { platform_.highlighter.hide(); }

bool PaletteViewModel::escape() {
  if (std::holds_alternative<Idle>(phase_)) {
    const bool running = task_.done && !task_.done->load();
    if (!running) return false;
  }
  cancel();
  return true;
}

void PaletteViewModel::cancel() {
  stopTask();
  removeHighlight();
  // Nothing on screen can reach the engine's confirmations or choices any more; letting it go
  // also lets go of the page it read.
  engine_.reset();
  selected_ = 0;
  setPhase(Idle{});
  newFocusToken();
}

void PaletteViewModel::inputChanged() {
  // A command still being understood or carried out is what the user asked for; only an answer
  // already on screen is stale once the text changes. The caret stays where the user types, so
  // the focus token is left alone.
  if (std::holds_alternative<Working>(phase_) || std::holds_alternative<Idle>(phase_)) return;
  stopTask();  // a streaming answer would otherwise come back
  removeHighlight();
  engine_.reset();
  selected_ = 0;
  setPhase(Idle{});
}

std::optional<std::string> PaletteViewModel::preview() const {
  if (TextUtil::split(input).empty()) return std::nullopt;
  if (auto intent = IntentParser::parse(input)) return title(*intent);
  return std::nullopt;
}

std::vector<Suggestion> PaletteViewModel::suggestions() const { return suggestionsFor(input); }

void PaletteViewModel::use(const Suggestion& suggestion) {
  input = suggestion.fill;
  // The new text discards an answer on screen first, so a suggestion that runs is submitted as a
  // command and never taken for a Return on a confirmation or a choice.
  inputChanged();
  newFocusToken();
  if (suggestion.runs) submit();
}

void PaletteViewModel::reveal(const FoundItem& item) {
  if (!engine_ || !item.element) return;
  // Scrolling reads and acts on the page, which blocks; the main thread must not wait for it.
  reap();
  others_.push_back(spawn([engine = engine_, element = *item.element](std::stop_token) { engine->reveal(element); }));
}

void PaletteViewModel::reset() {
  stopTask();
  removeHighlight();
  engine_.reset();
  input.clear();
  selected_ = 0;
  setPhase(Idle{});
  newFocusToken();
}

void PaletteViewModel::refreshContext() {
  trusted_ = platform_.ax.isProcessTrusted(false);
  target_ = tracker_.current();
  changed();
}

void PaletteViewModel::startTask(std::function<void(std::stop_token, const Post&)> body) {
  stopTask();
  const std::uint64_t id = ++taskId_;
  Post post = [weak = weak_from_this(), id,
               dispatch = &platform_.dispatch](std::function<void(PaletteViewModel&)> step) {
    dispatch->toMain([weak, id, step = std::move(step)] {
      auto self = weak.lock();
      if (!self || self->taskId_ != id) return;
      // Each step is seen by the observers as it lands, so none is lost to the next one.
      self->inStep_ = true;
      step(*self);
      self->inStep_ = false;
      self->flush();
    });
  };
  task_ = spawn([body = std::move(body), post = std::move(post)](std::stop_token stop) { body(stop, post); });
}

void PaletteViewModel::stopTask() {
  reap();
  ++taskId_;  // whatever the old task still posts, or has posted and not yet applied, is dropped
  if (!task_.thread.joinable()) return;
  if (task_.done->load()) {
    // Joined rather than stopped: the engine keeps the command's stop token, and its
    // confirmations and choices must not find it tripped.
    task_.thread.join();
  } else {
    task_.thread.request_stop();
    others_.push_back(std::move(task_));
  }
  task_ = Worker{};
}

PaletteViewModel::Worker PaletteViewModel::spawn(std::function<void(std::stop_token)> body) {
  Worker worker;
  worker.done = std::make_shared<std::atomic<bool>>(false);
  // `done` is set after the body's last post, so a main thread that sees it set finds every step
  // already queued. A stopped command posts nothing more, so its end is posted on its own: a main
  // loop waiting for the palette to go quiet wakes up to see it, and the thread is joined.
  worker.thread = std::jthread([body = std::move(body), done = worker.done, weak = weak_from_this(),
                                dispatch = &platform_.dispatch](std::stop_token stop) {
    body(stop);
    done->store(true);
    dispatch->toMain([weak] {
      if (auto self = weak.lock()) self->reap();
    });
  });
  return worker;
}

void PaletteViewModel::reap() {
  std::vector<Worker> running;
  for (auto& worker : others_) {
    if (worker.done->load()) {
      worker.thread.join();
    } else {
      running.push_back(std::move(worker));
    }
  }
  others_ = std::move(running);
}

}  // namespace skimlet
