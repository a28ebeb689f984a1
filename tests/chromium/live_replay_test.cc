// A recording made by `skimlet record` must stand in for the live page it was made from: the
// same commands answer the same outcomes on both (apart from how long the read took).
#include <gmock/gmock.h>

#include <regex>

#include "backends/memory/backend.h"
#include "live_fixture.h"

namespace skimlet::testing {
namespace {

// What the user sees of an outcome, one line per part, with read times left out.
std::vector<std::string> seen(const Outcome& outcome) {
  static const std::regex readTime(R"( in \d+\.\d\ds)");
  std::vector<std::string> lines;
  auto why = [&](const std::vector<std::string>& debug) {
    for (const auto& d : debug) lines.push_back("why: " + std::regex_replace(d, readTime, " in …s"));
  };
  if (const ActionResult* r = outcome.result()) {
    lines.push_back("kind: " + std::to_string(static_cast<int>(r->kind)));
    lines.push_back("headline: " + r->headline);
    lines.push_back("body: " + r->body.value_or("(none)"));
    for (const auto& i : r->items) lines.push_back("item: " + i.text);
    why(r->debug);
  } else if (const Confirmation* c = outcome.confirm()) {
    lines.push_back("confirm: " + c->title + " / " + c->message + " / " + c->confirmLabel);
    why(c->debug);
  } else if (const ChoiceSet* set = outcome.choose()) {
    lines.push_back("choose: " + set->prompt);
    for (const auto& o : set->options) lines.push_back("option: " + o.title + " — " + o.subtitle);
  }
  return lines;
}

struct PageCommands {
  const char* page;  // under tests/site, recorded as tests/pages/recorded/<name>.json
  std::vector<const char*> commands;
};

class LiveReplay : public LiveTest {
 protected:
  Outcome onRecording(const std::string& recording, const std::string& typed) {
    const LocalAI ai(nullptr, nullptr);
    auto backend = memory::Backend::load(sourcePath("tests/pages/recorded/" + recording));
    auto engine = ActionEngine::create(*backend->target(), backend->platform(), ai);
    return engine->run(understand(typed, ai)->intent);
  }
};

TEST_F(LiveReplay, RecordedPagesAnswerLikeTheLivePages) {
  const PageCommands pages[] = {
      {"signin.html",
       {"click Sign in", "click Remember me", "type me@example.com into the email field",
        "type hunter2 into the password field", "type hello", "what fields are there", "read this page", "go back",
        "reload", "click Create account"}},
      {"article.html",
       {"read this page", "summarize this page", "When was the harbour built?", "what headings are there",
        "list the images", "find six every morning", "scroll to the harbour today", "copy this article",
        "open the boats link"}},
      {"links.html",
       {"open the article", "what links are there", "click story number", "open all links about ferries",
        "open the fish market link", "click the third link"}},
      {"settings.html",
       {"click Delete account", "click Save changes", "what checkboxes are there", "click Text messages",
        "click Dark mode", "select Pro"}},
      {"tab_one.html", {"click Open the tide table", "switch to the weather tab", "tab 1"}},
  };
  for (const PageCommands& p : pages) {
    std::string recording = std::string(p.page).replace(std::string(p.page).find(".html"), 5, ".json");
    for (const char* typed : p.commands) {
      SCOPED_TRACE(std::string(p.page) + ": " + typed);
      load(p.page);
      // Element by element, so a difference names the line where it starts.
      EXPECT_THAT(seen(command(typed)), ::testing::ElementsAreArray(seen(onRecording(recording, typed))));
    }
  }
}

}  // namespace
}  // namespace skimlet::testing
