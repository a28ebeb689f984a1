// skimlet inspect --fixture FILE: the recorded window's accessibility tree as the element
// inspector shows it, one indented line per element.
#include <algorithm>
#include <cstdio>
#include <iostream>

#include "cli.h"
#include "fixture_session.h"
#include "outcome_text.h"
#include "page/crawler.h"
#include "text/text_util.h"

namespace skimlet::cli {
namespace {

int inspectCommand(const Args& args);

const Command kInspect{"inspect", "inspect --fixture FILE",
                       "Prints a recorded window's element tree: role, subrole, label, frame and actions.",
                       inspectCommand};

// The inspector's bounds: deep enough for real pages, small enough to stay readable.
constexpr Crawler::Limits kInspectorLimits{false, 2500, 14, 6.0};

std::string frameText(const std::optional<Rect>& f) {
  if (!f) return "no frame";
  char buf[96];
  std::snprintf(buf, sizeof buf, "(%lld,%lld %lld×%lld)", static_cast<long long>(f->x), static_cast<long long>(f->y),
                static_cast<long long>(f->width), static_cast<long long>(f->height));
  return buf;
}

// AXButton/AXSubrole “Label” (x,y w×h) actions=AXPress,AXShowMenu
std::string describe(const PageElement& e) {
  std::string line = e.role.empty() ? "(no role)" : e.role;
  if (!e.subrole.empty()) line += "/" + e.subrole;
  // Long texts (a paragraph's value) are cut: the tree's shape is what the inspector shows.
  if (std::string label = e.label(); !label.empty()) line += " “" + TextUtil::truncate(label, 80) + "”";
  line += " " + frameText(e.frame);
  if (!e.actions.empty()) {
    line += " actions=";
    for (std::size_t i = 0; i < e.actions.size(); ++i) line += (i ? "," : "") + e.actions[i];
  }
  if (!e.enabled) line += " disabled";
  return line;
}

int inspectCommand(const Args& args) {
  std::string fixture;
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--fixture" && i + 1 < args.size() && fixture.empty()) fixture = args[++i];
    else if (args[i] == "--fixture") return usageError(kInspect, "--fixture needs one file");
    else return usageError(kInspect, "unexpected argument " + args[i]);
  }
  if (fixture.empty()) return usageError(kInspect, "--fixture FILE is required");

  try {
    FixtureSession session(fixture);
    const Platform& platform = session.platform();
    auto window = session.target().window(platform.ax);
    if (!window) {
      std::cerr << "skimlet inspect: " << fixture << ": the browser shows no window\n";
      return 1;
    }
    auto elements = Crawler::crawl(platform.ax, platform.clock, *window, kInspectorLimits);
    int deepest = 0;
    for (const auto& e : elements) {
      std::cout << std::string(static_cast<std::size_t>(e.depth) * 2, ' ') << OutcomeText::inert(describe(e)) << "\n";
      deepest = std::max(deepest, e.depth);
    }
    std::cout << elements.size() << " elements";
    if (static_cast<int>(elements.size()) >= kInspectorLimits.maxNodes)
      std::cout << " (stopped at " << kInspectorLimits.maxNodes << ")";
    if (deepest >= kInspectorLimits.maxDepth)
      std::cout << "; nothing below depth " << kInspectorLimits.maxDepth << " is shown";
    std::cout << "\n";
    return 0;
  } catch (const std::exception& e) {
    std::cerr << "skimlet inspect: " << e.what() << "\n";
    return 1;
  }
}

SKIMLET_COMMAND(kInspect);

}  // namespace
}  // namespace skimlet::cli
