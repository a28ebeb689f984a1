#include "palette/palette_content.h"

#include <type_traits>

namespace skimlet {

namespace {

void fillResult(PaletteContent& c, const ActionResult& r, bool showWhy) {
  c.view = PaletteContent::View::result;
  c.kind = r.kind;
  c.partial = r.isPartial;
  c.headline = lightMarkdownRuns(r.headline);
  if (r.body) c.body = lightMarkdownRuns(*r.body);
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
    c.headline = lightMarkdownRuns("Skimlet needs **Accessibility** access");
    c.body = lightMarkdownRuns(
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

}  // namespace skimlet
