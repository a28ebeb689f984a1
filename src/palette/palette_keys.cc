#include "palette/palette_keys.h"

#include <algorithm>

#include "text/text_util.h"

namespace skimlet {

namespace {

bool allDigits(const std::string& s) {
  return !s.empty() && s.size() <= 3 && std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

bool PaletteKeys::showsSuggestions() const {
  if (!std::holds_alternative<PaletteViewModel::Idle>(vm_.phase())) return false;
  return TextUtil::clean(vm_.input).empty() || beginsScroll(vm_.input);
}

void PaletteKeys::reset() {
  suggestion_ = -1;
  item_ = -1;
}

PaletteKeys::Answer PaletteKeys::press(PaletteKey key) {
  const auto& phase = vm_.phase();
  const bool working = std::holds_alternative<PaletteViewModel::Working>(phase);
  const bool choosing = std::holds_alternative<ChoiceSet>(phase);
  switch (key) {
    case PaletteKey::escape: {
      const bool stay = vm_.escape();
      item_ = -1;
      return Answer{.close = !stay};
    }
    case PaletteKey::enter:
      if (working) return {};
      if (std::holds_alternative<Confirmation>(phase) || choosing) {
        vm_.submit();  // confirms, or picks the selected option
        return {};
      }
      if (suggestion_ >= 0 && showsSuggestions()) return use(suggestion_);
      vm_.submit();
      item_ = -1;
      return {};
    case PaletteKey::up:
    case PaletteKey::down: {
      const int delta = key == PaletteKey::down ? 1 : -1;
      if (choosing) {
        vm_.move(delta);
        return {};
      }
      if (showsSuggestions()) return walkSuggestions(delta);
      return Answer{.handled = false};
    }
    case PaletteKey::tab:
    case PaletteKey::backTab: {
      const int delta = key == PaletteKey::tab ? 1 : -1;
      if (std::holds_alternative<ActionResult>(phase)) return revealNext(delta);
      if (showsSuggestions()) return walkSuggestions(delta);
      return {};  // focus stays in the field
    }
  }
  return {};
}

PaletteKeys::Answer PaletteKeys::edited(const std::string& text) {
  if (std::holds_alternative<ChoiceSet>(vm_.phase()) && allDigits(text)) {
    const int n = std::stoi(text);
    const auto& options = std::get<ChoiceSet>(vm_.phase()).options;
    // A digit that names no option is dropped, so the choice stays on screen.
    if (n >= 1 && n <= static_cast<int>(options.size())) vm_.pick(n - 1);
    return Answer{.field = std::string()};
  }
  if (text == vm_.input) return {};
  vm_.input = text;
  vm_.inputChanged();  // typing over an answer puts it away; while working it changes nothing
  suggestion_ = -1;
  item_ = -1;
  return {};
}

PaletteKeys::Answer PaletteKeys::use(int index) {
  const auto list = vm_.suggestions();
  if (index < 0 || index >= static_cast<int>(list.size())) return {};
  const Suggestion s = list[static_cast<std::size_t>(index)];
  suggestion_ = -1;
  vm_.use(s);
  return Answer{.field = s.fill};
}

PaletteKeys::Answer PaletteKeys::walkSuggestions(int delta) {
  const int count = static_cast<int>(vm_.suggestions().size());
  if (count == 0) return {};
  // From none, Down starts at the first and Up at the last.
  suggestion_ = suggestion_ < 0 ? (delta > 0 ? 0 : count - 1) : (suggestion_ + delta + count) % count;
  return {};
}

PaletteKeys::Answer PaletteKeys::revealNext(int delta) {
  const auto& items = std::get<ActionResult>(vm_.phase()).items;
  const int count = static_cast<int>(items.size());
  if (count == 0) return {};
  item_ = item_ < 0 ? (delta > 0 ? 0 : count - 1) : (item_ + delta + count) % count;
  vm_.reveal(items[static_cast<std::size_t>(item_)]);
  return {};
}

}  // namespace skimlet
