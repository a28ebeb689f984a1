// "click sign in", "open the pricing link": choosing the one element the user means. A clear
// winner is pressed; near-ties go to the on-device model, then to the user.
#include <algorithm>
#include <cmath>

#include "engine/action_engine.h"
#include "match/element_matcher.h"
#include "text/text_util.h"

namespace skimlet {

namespace {
constexpr double kNearTie = 6;       // points within which another candidate competes with the best
constexpr double kConfident = 45;    // a lone best candidate below this asks the model first
constexpr size_t kMaxChoices = 6;    // options offered when candidates tie
constexpr size_t kModelOptions = 8;  // candidates shown to the model at low confidence
constexpr size_t kPoolSize = 40;     // elements offered to the model when nothing matched

// What kind of control a candidate is, as the user and the model are told: the words of an
// unnamed link are "Link", not the text run that carries them.
std::string kindOf(const Match& m, const PageSnapshot& snap) {
  return ActionEngine::roleName(ElementMatcher::pressable(m.element, snap.elements).role);
}

std::string quoted(const std::string& label, int limit) { return "“" + TextUtil::truncate(label, limit) + "”"; }

// Two matches of one label within the same 4-point cell are the same control seen twice
// (a link and its inner text, say).
std::string dedupKey(const Match& m) {
  Rect f = m.element.frame.value_or(Rect{});
  return TextUtil::norm(m.element.label()) + "|" + std::to_string(static_cast<long long>(std::trunc(f.x / 4))) + "|" +
         std::to_string(static_cast<long long>(std::trunc(f.y / 4)));
}
// "Large from size" → {"Large", "size"}; the last " from " or " in " splits, and a trailing
// "list", "menu" or "drop-down" names the kind, not the list.
std::optional<std::pair<std::string, std::string>> optionAndList(const std::string& query) {
  const std::string lowered = TextUtil::lower(query);
  std::size_t at = std::string::npos, width = 0;
  for (std::string_view word : {" from ", " in "}) {
    auto p = lowered.rfind(word);
    if (p != std::string::npos && (at == std::string::npos || p > at)) at = p, width = word.size();
  }
  if (at == std::string::npos || at == 0) return std::nullopt;
  std::vector<std::string> words = TextUtil::split(query.substr(at + width));
  if (!words.empty() && TextUtil::lower(words.front()) == "the") words.erase(words.begin());
  for (std::string_view kind : {"list", "menu", "dropdown", "drop-down"})
    if (words.size() > 1 && TextUtil::lower(words.back()) == kind) words.pop_back();
  std::string list;
  for (const auto& w : words) list += (list.empty() ? "" : " ") + w;
  if (list.empty()) return std::nullopt;
  return std::pair{query.substr(0, at), list};
}
}  // namespace

Outcome ActionEngine::clickFlow(const TargetSpec& target, MatchPurpose purpose, const PageSnapshot& snap,
                                std::vector<std::string> dbg) {
  auto found = ElementMatcher::matches(target, snap.elements, purpose);
  if (found.matches.empty() && purpose == MatchPurpose::link)
    found = ElementMatcher::matches(target, snap.elements, MatchPurpose::click);

  std::vector<Match> candidates;
  {
    std::vector<std::string> seen;
    for (auto& m : found.matches) {
      auto key = dedupKey(m);
      if (std::find(seen.begin(), seen.end(), key) != seen.end()) continue;
      seen.push_back(key);
      candidates.push_back(std::move(m));
    }
  }

  std::string line = "Candidates: ";
  if (candidates.empty()) line += "none";
  for (size_t i = 0; i < candidates.size() && i < 5; ++i) {
    line += (i ? ", " : "") + quoted(candidates[i].element.label(), 30) + " " +
            std::to_string(static_cast<long long>(candidates[i].score));
  }
  dbg.push_back(line);

  auto select = [&](const Match& m) -> Outcome {
    dbg.push_back("Selected: " + kindOf(m, snap) + " “" + m.element.label() + "” — " + m.reason + " (score " +
                  std::to_string(static_cast<long long>(m.score)) + ")");
    return press(m, snap, std::move(dbg));
  };

  if (!candidates.empty()) {
    const Match& best = candidates[0];
    if (found.ordinalApplied || candidates.size() == 1) return select(best);

    std::vector<const Match*> rivals{&best};
    for (size_t i = 1; i < candidates.size(); ++i)
      if (candidates[i].score >= best.score - kNearTie) rivals.push_back(&candidates[i]);

    if (rivals.size() == 1) {
      if (best.score >= kConfident) return select(best);
      std::vector<std::string> options;
      for (size_t i = 0; i < candidates.size() && i < kModelOptions; ++i)
        options.push_back(kindOf(candidates[i], snap) + ": " + candidates[i].element.label());
      if (auto pick = ai_.choose(target.summary(), options, stop_); pick && *pick >= 0 && *pick < int(options.size())) {
        dbg.push_back("Low confidence — on-device model picked #" + std::to_string(*pick));
        return select(candidates[*pick]);
      }
      modelNote(dbg);
      return select(best);
    }

    if (rivals.size() > kMaxChoices) rivals.resize(kMaxChoices);
    std::vector<std::string> options;
    for (const Match* m : rivals) {
      options.push_back(kindOf(*m, snap) + ": " + m->element.label() + " — " +
                        snap.sectionTitle(m->element.id).value_or(""));
    }
    if (auto pick = ai_.choose(target.summary(), options, stop_); pick && *pick >= 0 && *pick < int(options.size())) {
      const Match& chosen = *rivals[*pick];
      dbg.push_back("Ambiguous — on-device model picked “" + chosen.element.label() + "”");
      return select(chosen);
    }
    ChoiceSet choice{"Which one do you mean?", {}};
    for (const Match* m : rivals) choice.options.push_back(describe(*m, snap));
    return choice;
  }

  // "choose Large from size", "select Express in the delivery list": an option of a drop-down
  // list, whose options are not on the page until it opens.
  if (auto split = optionAndList(target.query)) {
    TargetSpec list = target;
    list.query = split->second;
    if (auto chosen = setControl(split->first, list, snap, dbg, true)) return std::move(*chosen);
  }

  // Nothing matched the words: let the model look over what can be pressed.
  std::vector<const PageElement*> pool;
  for (const auto& e : snap.elements) {
    if (pool.size() >= kPoolSize) break;
    if (e.frame && !e.frame->hasArea()) continue;
    if (!ElementMatcher::canPress(e) || e.label().empty() || !ElementMatcher::fits(e, target.role)) continue;
    pool.push_back(&e);
  }
  if (!target.query.empty() && !pool.empty()) {
    std::vector<std::string> options;
    for (const auto* e : pool) options.push_back(roleName(e->role) + ": " + e->label());
    if (auto pick = ai_.choose(target.summary(), options, stop_); pick && *pick >= 0 && *pick < int(options.size())) {
      Match m{*pool[*pick], ElementMatcher::score(*pool[*pick], target.query), "chosen by on-device model"};
      return select(m);
    }
  }
  modelNote(dbg);
  return ActionResult::failure("Couldn't find " + target.summary(),
                               "Try different wording, or ask “What buttons are available here?”", std::move(dbg));
}

}  // namespace skimlet
