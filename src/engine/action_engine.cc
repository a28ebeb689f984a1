#include "engine/action_engine.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "browser/snapshot_capture.h"
#include "engine/profile.h"
#include "match/element_matcher.h"
#include "text/text_util.h"

namespace skimlet {

std::string newUUID() {
  thread_local std::mt19937_64 rng{std::random_device{}()};
  std::uint64_t hi = rng(), lo = rng();
  hi = (hi & 0xFFFFFFFFFFFF0FFFULL) | 0x0000000000004000ULL;  // version 4
  lo = (lo & 0x3FFFFFFFFFFFFFFFULL) | 0x8000000000000000ULL;  // RFC 4122 variant
  char buf[37];
  std::snprintf(buf, sizeof buf, "%08x-%04x-%04x-%04x-%012llx", unsigned(hi >> 32), unsigned((hi >> 16) & 0xFFFF),
                unsigned(hi & 0xFFFF), unsigned(lo >> 48), (unsigned long long)(lo & 0xFFFFFFFFFFFFULL));
  return buf;
}

std::shared_ptr<ActionEngine> ActionEngine::create(BrowserTarget target, const Platform& platform, LocalAI ai) {
  return std::shared_ptr<ActionEngine>(new ActionEngine(std::move(target), platform, ai));
}

ActionEngine::ActionEngine(BrowserTarget target, const Platform& platform, LocalAI ai)
    : target_(std::move(target)), platform_(platform), ai_(ai) {}

std::string ActionEngine::browserName() const {
  if (!target_.app.localizedName.empty()) return target_.app.localizedName;
  return target_.adapter ? target_.adapter->name() : std::string();
}

const PageSnapshot* ActionEngine::snapshot() {
  // Already on the command's worker, so the blocking capture runs right here.
  if (!snap_) snap_ = captureSnapshot(target_, platform_);
  return *snap_ ? &**snap_ : nullptr;
}

void ActionEngine::notePage(const PageSnapshot& snap, std::vector<std::string>& dbg) {
  char buf[128];
  std::snprintf(buf, sizeof buf, "Read %d elements, %d text lines in %.2fs", int(snap.elements.size()),
                int(snap.lines.size()), snap.captureTime);
  dbg.push_back(std::string(buf) + (snap.webArea ? "" : " (no web area found — using whole window)"));
  if (!snap.pageTitle.empty()) dbg.push_back("Page: " + snap.pageTitle);
  else if (!snap.windowTitle.empty()) dbg.push_back("Page: " + snap.windowTitle);
}

ActionResult ActionEngine::unreadable(std::vector<std::string> dbg) const {
  auto name = browserName();
  return ActionResult::failure("Couldn't read " + name,
                               "No window is accessible. Make sure " + name + " has an open window and try again.",
                               std::move(dbg));
}

Outcome ActionEngine::run(const Intent& intent, std::stop_token stop) {
  stop_ = stop;
  std::string adapterName = target_.adapter ? target_.adapter->name() : std::string();
  std::vector<std::string> dbg{"Intent: " + title(intent),
                               "Browser: " + browserName() + " (" + adapterName + " adapter)"};

  // These act on the browser directly, without reading the page first.
  if (auto* t = std::get_if<intents::Type>(&intent)) return typeFlow(t->text, t->field, t->replace, std::move(dbg));
  if (auto* p = std::get_if<intents::FillProfile>(&intent)) {
    std::string field(rawValue(p->profile));
    std::string value = Profile::value(platform_.settings, p->profile);
    if (value.empty()) {
      return ActionResult::failure("No " + field + " saved",
                                   "Skimlet never invents personal details. Add your " + field +
                                       " in Settings, or say “Enter …” with the exact text.",
                                   std::move(dbg));
    }
    dbg.push_back("Using saved profile " + field);
    return typeFlow(value, p->field, true, std::move(dbg));
  }
  if (auto* k = std::get_if<intents::Key>(&intent)) return pressKey(k->key, std::move(dbg));
  if (auto* n = std::get_if<intents::Navigate>(&intent)) return navigate(n->action, std::move(dbg));

  const PageSnapshot* snap = snapshot();
  if (!snap) return unreadable(std::move(dbg));
  notePage(*snap, dbg);

  if (auto* c = std::get_if<intents::Click>(&intent))
    return clickFlow(c->target, MatchPurpose::click, *snap, std::move(dbg));
  if (auto* l = std::get_if<intents::OpenLink>(&intent))
    return clickFlow(l->target, MatchPurpose::link, *snap, std::move(dbg));
  if (auto* l = std::get_if<intents::OpenLinks>(&intent)) return openLinks(l->matching, *snap, std::move(dbg));
  if (auto* a = std::get_if<intents::Ask>(&intent)) return ask(a->question, *snap, std::move(dbg));
  if (auto* f = std::get_if<intents::Find>(&intent)) return find(f->text, *snap, std::move(dbg));
  if (auto* f = std::get_if<intents::FindAll>(&intent)) return findAll(f->text, *snap, std::move(dbg));
  if (auto* s = std::get_if<intents::Scroll>(&intent)) return scroll(s->spec, *snap, std::move(dbg));
  if (auto* l = std::get_if<intents::List>(&intent)) return list(l->role, *snap, std::move(dbg));
  if (std::holds_alternative<intents::OpenArticle>(intent)) return openArticle(*snap, std::move(dbg));
  if (std::holds_alternative<intents::Read>(intent)) return read(*snap, std::move(dbg));
  if (std::holds_alternative<intents::Summarize>(intent)) return summarize(*snap, std::move(dbg));
  if (std::holds_alternative<intents::CopyArticle>(intent)) return copyArticle(*snap, std::move(dbg));
  if (auto* c = std::get_if<intents::SetChecked>(&intent)) return setChecked(c->target, c->on, *snap, std::move(dbg));
  ActionResult r = ActionResult::failure("Unsupported command", std::nullopt, std::move(dbg));
  return r;
}

Outcome ActionEngine::read(const PageSnapshot& snap, std::vector<std::string> dbg) {
  std::string text = snap.text();
  if (text.empty()) return ActionResult::failure("Nothing readable on this page", std::nullopt, std::move(dbg));
  std::string title = !snap.pageTitle.empty() ? snap.pageTitle : !snap.windowTitle.empty() ? snap.windowTitle : "page";
  title = TextUtil::truncate(title, 60);
  ActionResult r =
      ActionResult::info("Read **" + TextUtil::md(title) + "** — " + std::to_string(TextUtil::words(text)) + " words",
                         std::nullopt, std::move(dbg));
  constexpr int kShown = 8000;
  if (TextUtil::length(text) > kShown)
    r.body = TextUtil::prefix(text, kShown) + "\n…(truncated here; Copy gets everything)";
  else r.body = text;
  r.copyText = std::move(text);
  return r;
}

Outcome ActionEngine::copyArticle(const PageSnapshot& snap, std::vector<std::string> dbg) {
  std::string text = snap.text();
  if (text.empty()) return ActionResult::failure("Nothing to copy", std::nullopt, std::move(dbg));
  platform_.pasteboard.clear();
  platform_.pasteboard.setString(text);
  return ActionResult::success("Copied **" + std::to_string(TextUtil::words(text)) + "** words to the clipboard",
                               std::move(dbg));
}

PartialSink ActionEngine::partialSink(std::string headline, std::vector<FoundItem> items) {
  std::weak_ptr<ActionEngine> weak = weak_from_this();
  Dispatch* dispatch = &platform_.dispatch;
  return [weak, dispatch, headline = std::move(headline), items = std::move(items)](const std::string& text) {
    dispatch->toMain([weak, headline, items, text] {
      auto engine = weak.lock();
      if (!engine || !engine->stream) return;
      ActionResult r;
      r.kind = ActionResult::Kind::info;
      r.headline = headline;
      r.body = text;
      r.items = items;
      r.isPartial = true;
      engine->stream(r);
    });
  };
}

void ActionEngine::modelNote(std::vector<std::string>& dbg) const {
  if (auto error = ai_.lastError()) dbg.push_back("Local model error: " + *error);
}

static long long wholeNumber(double v) {
  // A non-finite coordinate can only come from a broken backend; carrying on would print nonsense.
  if (!std::isfinite(v)) std::abort();
  return static_cast<long long>(std::trunc(v));
}

std::string ActionEngine::elementDebug(const PageElement& e) {
  std::string s = "Element: " + e.role;
  if (!e.subrole.empty()) s += "/" + e.subrole;
  s += " ";
  if (!e.frame) {
    s += "no frame";
  } else {
    s += "(" + std::to_string(wholeNumber(e.frame->x)) + "," + std::to_string(wholeNumber(e.frame->y)) + " " +
         std::to_string(wholeNumber(e.frame->width)) + "×" + std::to_string(wholeNumber(e.frame->height)) + ")";
  }
  s += " actions=";
  for (size_t i = 0; i < e.actions.size(); ++i) s += (i ? "," : "") + e.actions[i];
  return s;
}

std::string ActionEngine::roleName(const std::string& role) { return role.rfind("AX", 0) == 0 ? role.substr(2) : role; }

ActionResult ActionEngine::goneResult() {
  return ActionResult::failure("That command has ended", "Run it again from the palette.");
}

void ActionEngine::highlight(const PageElement& element, double seconds) {
  if (element.frame) platform_.highlighter.show(*element.frame, seconds);
}

bool ActionEngine::reveal(const PageElement& element) {
  bool scrolled = platform_.ax.performAction(element.element, "AXScrollToVisible") == ax::Error::success;
  if (auto frame = currentFrame(element.element); frame && frame->hasArea()) platform_.highlighter.show(*frame, 1.5);
  else highlight(element);
  return scrolled;
}

std::string ActionEngine::attributeText(const ax::ElementRef& element, std::string_view name) {
  ax::Value v;
  if (platform_.ax.copyAttributeValue(element, name, v) != ax::Error::success) return {};
  if (auto* s = std::get_if<std::string>(&v)) return *s;
  if (auto* d = std::get_if<double>(&v)) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g", *d);
    return buf;
  }
  if (auto* u = std::get_if<ax::Url>(&v)) return u->absolute;
  return {};
}

std::optional<Rect> ActionEngine::currentFrame(const ax::ElementRef& element) {
  ax::Value pos, size;
  if (platform_.ax.copyAttributeValue(element, "AXPosition", pos) != ax::Error::success) return std::nullopt;
  if (platform_.ax.copyAttributeValue(element, "AXSize", size) != ax::Error::success) return std::nullopt;
  auto* p = std::get_if<Point>(&pos);
  auto* s = std::get_if<Size>(&size);
  if (!p || !s) return std::nullopt;
  return Rect{p->x, p->y, s->width, s->height};
}

bool ActionEngine::isSettable(const ax::ElementRef& element, std::string_view name) {
  bool settable = false;
  return platform_.ax.isAttributeSettable(element, name, settable) == ax::Error::success && settable;
}

}  // namespace skimlet
