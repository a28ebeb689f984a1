// Scrolling: to a section by its heading, to the top or bottom, or by one page. Accessibility
// actions come first because they act on the page itself wherever the focus is; only when the
// browser refuses them does Skimlet send a key, and when even that cannot be posted, a
// scroll-wheel event over the page.
#include <algorithm>

#include "engine/action_engine.h"
#include "match/page_search.h"
#include "text/text_util.h"

namespace skimlet {

namespace {
// Enough lines to cross a page, and enough to reach either end of any page.
constexpr int wheelPage = 12, wheelEnd = 100000;

bool visible(const PageElement& e) { return e.frame && e.frame->hasArea() && e.role != "AXWebArea"; }
}  // namespace

Outcome ActionEngine::scroll(const ScrollSpec& request, const PageSnapshot& snap, std::vector<std::string> dbg) {
  using Kind = ScrollSpec::Kind;
  const Pid pid = target().app.pid;

  // The key, then the wheel: what is left when the page refuses accessibility scrolling.
  auto fallBack = [&](std::uint16_t key, const char* keyNote, int wheelLines) {
    if (!platform().workspace.isActive(pid)) platform().workspace.activate(pid);
    if (platform().input.postKey(pid, key, keyflags::none)) {
      dbg.push_back(keyNote);
      return true;
    }
    std::optional<Rect> area = snap.webArea ? snap.webArea->frame : std::nullopt;
    if (area && area->hasArea() && platform().input.postScrollWheel({area->midX(), area->midY()}, wheelLines)) {
      dbg.push_back("Posted scroll-wheel event over the page");
      return true;
    }
    return false;
  };
  auto cannot = [&] {
    return ActionResult::failure("Couldn't scroll the page", "Click into the page once, then try again.",
                                 std::move(dbg));
  };

  if (request.kind == Kind::section) {
    const std::string about = TextUtil::clean(request.section);
    const std::vector<PageHit> hits = PageSearch::sections(snap, about);
    const PageElement* heading = hits.empty() ? nullptr : PageSearch::element(snap, hits.front().elementID);
    if (!heading)
      return ActionResult::failure("Couldn't find a section about “" + about + "”",
                                   "Try the heading as it reads on the page, or “find …”.", std::move(dbg));
    const PageHit& hit = hits.front();
    dbg.push_back("Best match: heading “" + TextUtil::truncate(hit.text, 80) + "” (score " +
                  std::to_string(static_cast<long long>(hit.score)) + ")");
    dbg.push_back(elementDebug(*heading));
    if (!reveal(*heading)) {
      dbg.push_back("AXScrollToVisible failed");
      return ActionResult::failure("Couldn't scroll to **" + TextUtil::md(hit.text) + "**",
                                   "The browser didn't move the page. Try “scroll down”.", std::move(dbg));
    }
    dbg.push_back("AXScrollToVisible succeeded");
    return ActionResult::success("Scrolled to the **" + TextUtil::md(TextUtil::truncate(hit.text, 60)) + "** section",
                                 std::move(dbg));
  }

  if (request.kind == Kind::top || request.kind == Kind::bottom) {
    const bool top = request.kind == Kind::top;
    const PageElement* end = nullptr;
    if (top) {
      for (auto it = snap.elements.begin(); !end && it != snap.elements.end(); ++it)
        if (visible(*it)) end = &*it;
    } else {
      for (auto it = snap.elements.rbegin(); !end && it != snap.elements.rend(); ++it)
        if (visible(*it)) end = &*it;
    }
    const std::string word = top ? "top" : "bottom";
    if (end && platform().ax.performAction(end->element, "AXScrollToVisible") == ax::Error::success) {
      dbg.push_back("AXScrollToVisible on the " + std::string(top ? "first" : "last") + " element of the page");
    } else {
      dbg.push_back(end ? "AXScrollToVisible failed" : "No visible element to scroll to");
      if (!fallBack(top ? keycode::home : keycode::end, "Fell back to Home / End key", top ? -wheelEnd : wheelEnd))
        return cannot();
    }
    return ActionResult::success("Scrolled to the **" + word + "**", std::move(dbg));
  }

  // One page down or up: the web area, or the scroll area that holds it.
  const bool down = request.kind == Kind::down;
  const char* action = down ? "AXScrollDownByPage" : "AXScrollUpByPage";
  std::vector<std::pair<const PageElement*, std::string>> scrollers;
  if (snap.webArea) {
    scrollers.emplace_back(&*snap.webArea, "web area");
    std::optional<int> up = snap.webArea->parent;
    for (int guard = 0; up && guard < 64; ++guard) {
      auto it = std::find_if(snap.chrome.begin(), snap.chrome.end(), [&](const PageElement& e) { return e.id == *up; });
      if (it == snap.chrome.end()) break;
      if (it->role == "AXScrollArea") {
        scrollers.emplace_back(&*it, "scroll area");
        break;
      }
      up = it->parent;
    }
  }
  bool done = false;
  for (const auto& [element, what] : scrollers) {
    if (platform().ax.performAction(element->element, action) == ax::Error::success) {
      dbg.push_back(std::string(action) + " on the " + what);
      done = true;
      break;
    }
    dbg.push_back(std::string(action) + " failed on the " + what);
  }
  if (!done && !fallBack(down ? keycode::pageDown : keycode::pageUp, "Fell back to Page Down / Page Up key",
                         down ? wheelPage : -wheelPage))
    return cannot();
  return ActionResult::success(std::string("Scrolled **") + (down ? "down" : "up") + "** one page", std::move(dbg));
}

}  // namespace skimlet
