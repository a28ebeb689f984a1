// The terminal palette's pieces that decide anything: which key a run of bytes is, how the
// command line is edited, and what the live region shows for each phase.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "line_editor.h"
#include "palette_screen.h"
#include "terminal_keys.h"

namespace skimlet::cli {
namespace {

using T = Key::Type;

std::vector<Key> decode(KeyDecoder& d, const std::string& bytes, bool moreMayFollow) {
  d.feed(bytes);
  std::vector<Key> keys;
  while (auto k = d.next(moreMayFollow)) keys.push_back(*k);
  return keys;
}

Key key(T t, std::string text = {}) { return Key{t, std::move(text)}; }

TEST(KeyDecoder, DecodesEveryKindOfInput) {
  struct Case {
    std::string bytes;
    std::vector<Key> keys;
  };
  const Case cases[] = {
      {"\x1b[A\x1b[B\x1b[C\x1b[D", {key(T::up), key(T::down), key(T::right), key(T::left)}},
      {"\x1bOA\x1b[H\x1b[4~\x1b[3~\x1b[Z",
       {key(T::up), key(T::home), key(T::end), key(T::deleteForward), key(T::backTab)}},
      {"\r\n\x7f\x08\t", {key(T::enter), key(T::enter), key(T::backspace), key(T::backspace), key(T::tab)}},
      {"\x03\x04\x15\x17\x19\x0c",
       {key(T::interrupt), key(T::endOfInput), key(T::clearLine), key(T::deleteWord), key(T::toggleWhy),
        key(T::redraw)}},
      // Text comes in runs up to the next control byte; unknown sequences (a paste marker) vanish.
      {"click \xe2\x80\x9cOK\xe2\x80\x9d\r", {key(T::text, "click “OK”"), key(T::enter)}},
      {"\x1b[200~go\x1b[201~", {key(T::text, "go")}},
      // Escape followed at once by something that starts no sequence: Escape, then that key.
      {"\x1bx", {key(T::escape), key(T::text, "x")}},
  };
  for (const Case& c : cases) {
    KeyDecoder d;
    EXPECT_EQ(decode(d, c.bytes, true), c.keys) << c.bytes;
    EXPECT_FALSE(d.hasPending()) << c.bytes;
  }
}

TEST(KeyDecoder, HalfArrivedInputWaitsUntilTheTerminalFallsQuiet) {
  KeyDecoder d;
  // A lone Escape may be the start of an arrow key still on its way...
  EXPECT_TRUE(decode(d, "\x1b", true).empty());
  EXPECT_EQ(decode(d, "[A", true), std::vector<Key>{key(T::up)});
  // ...and is the Escape key once nothing more came.
  EXPECT_TRUE(decode(d, "\x1b", true).empty());
  EXPECT_EQ(decode(d, "", false), std::vector<Key>{key(T::escape)});

  // A character split between two reads is not cut in half.
  EXPECT_EQ(decode(d, "caf\xc3", true), std::vector<Key>{key(T::text, "caf")});
  EXPECT_EQ(decode(d, "\xa9", true), std::vector<Key>{key(T::text, "é")});
  // Bytes that are no character at all are dropped rather than shown.
  EXPECT_EQ(decode(d,
                   "a\xff"
                   "b",
                   false),
            (std::vector<Key>{key(T::text, "a"), key(T::text, "b")}));
}

TEST(LineEditor, EditsByWholeCharacters) {
  LineEditor e;
  e.insert("café");
  e.backspace();
  EXPECT_EQ(e.text(), "caf");
  e.insert("é au lait");
  e.home();
  e.right();
  e.insert("h");
  EXPECT_EQ(e.text(), "chafé au lait");
  e.end();
  e.left();
  e.left();
  e.deleteForward();
  EXPECT_EQ(e.text(), "chafé au lat");
  EXPECT_EQ(e.cursor(), e.text().size() - 1);

  e.set("type hello   ");
  e.deleteWord();  // the word before the cursor and the spaces after it
  EXPECT_EQ(e.text(), "type ");
  e.deleteWord();
  EXPECT_EQ(e.text(), "");
  e.backspace();  // nothing left: nothing happens
  e.left();
  EXPECT_EQ(e.cursor(), 0u);
}

TEST(TerminalWidth, CountsColumnsAsShown) {
  EXPECT_EQ(displayWidth("\x1b[1mSign in\x1b[22m"), 7);
  EXPECT_EQ(displayWidth("日本語"), 6);
  EXPECT_EQ(displayWidth("e\xcc\x81"), 1);  // e and a combining accent
  EXPECT_EQ(fitColumns("Pricing and plans", 8), "Pricing…");
  EXPECT_EQ(fitColumns("short", 8), "short");
  EXPECT_EQ(fitColumns("日本語テキスト", 5), "日本…");
  // A cut inside styled text resets the style so it does not leak into the next line.
  EXPECT_EQ(fitColumns("\x1b[2mabcdefgh", 4), "\x1b[2mabc…\x1b[0m");
}

class PaletteScreen : public ::testing::Test {
 protected:
  std::vector<std::string> lines(PaletteViewModel::Phase phase, std::string input = {}, int width = 80) {
    phase_ = std::move(phase);
    input_ = std::move(input);
    state.phase = &phase_;
    state.input = input_;
    state.cursor = input_.size();
    last = layoutPalette(state, OutcomeText(false), width, 24);
    return last.lines;
  }

  PaletteScreenState state;
  ScreenLines last;

 private:
  PaletteViewModel::Phase phase_;
  std::string input_;
};

TEST_F(PaletteScreen, IdleShowsThePreviewOrSuggestionsUnderThePrompt) {
  state.suggestions = suggestionsFor("");
  state.suggestion = 1;
  auto shown = lines(PaletteViewModel::Idle{});
  ASSERT_EQ(shown.size(), 3u);
  EXPECT_EQ(shown[0], "› ");
  EXPECT_EQ(shown[1], "Tab:  Read page  [Summarize]  Find…  Click…  Scroll…");

  state.suggestions.clear();
  state.preview = "Click “sign in”";
  EXPECT_EQ(lines(PaletteViewModel::Idle{}, "click sign in"),
            (std::vector<std::string>{"› click sign in", "↵ Click “sign in”"}));
  EXPECT_EQ(last.cursorLine, 0);
  EXPECT_EQ(last.cursorColumn, 2 + 13);

  state.preview.reset();
  EXPECT_EQ(lines(PaletteViewModel::Idle{}, "something new").at(1),
            "↵ no rule matches: Return asks the model, else searches the page");
}

TEST_F(PaletteScreen, ALongCommandScrollsSoTheCursorStaysInView) {
  std::string input(100, 'x');
  auto shown = lines(PaletteViewModel::Idle{}, input + "yz", 40);
  EXPECT_EQ(displayWidth(shown[0]), last.cursorColumn);
  EXPECT_LE(last.cursorColumn, 39);
  EXPECT_EQ(shown[0].substr(0, std::string("› …").size()), "› …");
  EXPECT_EQ(shown[0].substr(shown[0].size() - 2), "yz");
}

TEST_F(PaletteScreen, QuestionsShowTheirKeys) {
  ChoiceSet choice{"Which one do you mean?", {ChoiceOption(), ChoiceOption()}};
  choice.options[0].title = "Member pricing", choice.options[1].title = "Student pricing";
  choice.options[0].subtitle = choice.options[1].subtitle = "Link";
  state.selected = 1;
  EXPECT_EQ(lines(choice), (std::vector<std::string>{"› ", "? Which one do you mean?", "  1. Member pricing — Link",
                                                     "❯ [2. Student pricing] — Link",
                                                     "  ↑↓ move · Return or 1–2 picks · Esc cancels"}));

  Confirmation c{"Click “Delete account”?", "This may delete content or cancel something.", "Click", {}, {}};
  EXPECT_EQ(lines(c), (std::vector<std::string>{"› ", "? Click “Delete account”?",
                                                "  This may delete content or cancel something.",
                                                "  Return or y: Click · Esc or n: cancel"}));
}

TEST_F(PaletteScreen, AStreamingAnswerShowsItsNewestLines) {
  ActionResult partial = ActionResult::info("**What does shipping cost?**", std::string());
  partial.isPartial = true;
  for (int i = 1; i <= 40; ++i) *partial.body += "Line " + std::to_string(i) + "\n";
  auto shown = lines(partial);
  // The prompt, the headline, and as many of the newest lines as 24 rows leave room for.
  EXPECT_EQ(shown[1].substr(shown[1].find(' ') + 1), "What does shipping cost?");
  EXPECT_EQ(shown.back(), "  ");  // the body ends in a line break
  EXPECT_EQ(shown[shown.size() - 2], "  Line 40");
  EXPECT_LE(shown.size(), 24u);

  // Finished results are printed above; under the prompt only the keys that act on them.
  ActionResult done = ActionResult::info("Found 3", std::string("…"));
  done.items.push_back(FoundItem{.text = "Member pricing"});
  EXPECT_EQ(lines(done),
            (std::vector<std::string>{"› ", "Tab shows the items on the page · Ctrl-Y why · Esc dismisses"}));
}

}  // namespace
}  // namespace skimlet::cli
