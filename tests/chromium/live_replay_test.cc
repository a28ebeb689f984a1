// A recording made by `skimlet record` must stand in for the live page it was made from: the
// same commands answer the same outcomes on both (apart from how long the read took).
#include <gmock/gmock.h>

#include "backends/memory/backend.h"
#include "live_fixture.h"

namespace skimlet::testing {
namespace {

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
      EXPECT_THAT(shown(command(typed)), ::testing::ElementsAreArray(shown(onRecording(recording, typed))));
    }
  }
}

}  // namespace
}  // namespace skimlet::testing
