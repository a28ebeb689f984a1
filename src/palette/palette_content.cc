#include "palette/palette_content.h"

#include <type_traits>

namespace skimlet {

std::vector<TextRun> markdownRuns(std::string_view s) {
  std::vector<TextRun> runs;
  std::string text;
  bool bold = false;
  auto flush = [&] {
    if (text.empty()) return;
    if (!runs.empty() && runs.back().bold == bold) {
      runs.back().text += text;
    } else {
      runs.push_back({text, bold});
    }
    text.clear();
  };
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '\\' && i + 1 < s.size()) {
      text += s[++i];
    } else if (s.substr(i, 2) == "**") {
      flush();
      bold = !bold;
      ++i;
    } else {
      text += s[i];
    }
  }
  flush();
  return runs;
}

namespace {

void fillResult(PaletteContent& c, const ActionResult& r, bool showWhy) {
  c.view = PaletteContent::View::result;
  c.kind = r.kind;
  c.partial = r.isPartial;
  c.headline = markdownRuns(r.headline);
  if (r.body) c.body = markdownRuns(*r.body);
  for (const FoundItem& item : r.items) c.items.push_back(item.text);
  if (showWhy) c.why = r.debug;
}

}  // namespace

PaletteContent paletteContent(const PaletteViewModel& vm, const std::string& modelStatus) {
  PaletteContent c;
  c.placeholder = std::string(kPalettePlaceholder);
  c.badge = modelStatus;
  if (!vm.trusted()) {
    c.view = PaletteContent::View::onboarding;
    c.headline = markdownRuns("Skimlet needs **Accessibility** access");
    c.body = markdownRuns(
        "It reads the page in your browser and acts on it the way assistive software does. Grant access, then "
        "reopen the palette.");
    c.grantLabel = "Grant Access…";
    return c;
  }
  std::visit(
      [&](const auto& phase) {
        using T = std::decay_t<decltype(phase)>;
        if constexpr (std::is_same_v<T, PaletteViewModel::Idle>) {
          c.view = PaletteContent::View::idle;
          c.preview = vm.preview();
          c.suggestions = vm.suggestions();
        } else if constexpr (std::is_same_v<T, PaletteViewModel::Working>) {
          c.view = PaletteContent::View::working;
          c.workingText = phase.text;
        } else if constexpr (std::is_same_v<T, ActionResult>) {
          fillResult(c, phase, vm.showWhy);
        } else if constexpr (std::is_same_v<T, Confirmation>) {
          c.view = PaletteContent::View::confirm;
          c.headline = {{phase.title, true}};
          c.message = phase.message;
          c.confirmLabel = phase.confirmLabel;
          if (vm.showWhy) c.why = phase.debug;
        } else if constexpr (std::is_same_v<T, ChoiceSet>) {
          c.view = PaletteContent::View::choose;
          c.headline = {{phase.prompt, true}};
          for (std::size_t i = 0; i < phase.options.size(); ++i) {
            const ChoiceOption& o = phase.options[i];
            c.options.push_back({o.title, o.subtitle, static_cast<int>(i) == vm.selected()});
          }
        }
      },
      vm.phase());
  return c;
}

PaletteKeyResult handlePaletteKey(PaletteViewModel& vm, PaletteKey key, int digit) {
  const bool choosing = std::holds_alternative<ChoiceSet>(vm.phase());
  switch (key) {
    case PaletteKey::up:
    case PaletteKey::down:
      if (!choosing) return {};
      vm.move(key == PaletteKey::down ? 1 : -1);
      return {.handled = true};
    case PaletteKey::digit:
      if (!choosing || digit < 1 || digit > 9) return {};
      vm.pick(digit - 1);
      return {.handled = true};
    case PaletteKey::enter:
      vm.submit();
      return {.handled = true};
    case PaletteKey::escape:
      return {.handled = true, .close = !vm.escape()};
  }
  return {};
}

}  // namespace skimlet
