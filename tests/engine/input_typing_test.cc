// Synthetic typing: one key pair per user-perceived character, paced by the clock.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/input_typing.h"

namespace skimlet {
namespace {

struct Posted : InputEvents {
  std::vector<std::u16string> texts;
  bool postKey(Pid, std::uint16_t, std::uint64_t) override { return true; }
  bool postText(Pid, std::u16string_view units) override {
    texts.emplace_back(units);
    return true;
  }
  bool postMouseClick(Point) override { return true; }
  bool postScrollWheel(Point, int) override { return true; }
};

struct CountingClock : Clock {
  double t = 0;
  int sleeps = 0;
  double now() override { return t; }
  void sleep(double s) override {
    t += s;
    ++sleeps;
  }
};

TEST(InputTyping, OneKeyPairPerCharacterKeepsClustersWhole) {
  Posted input;
  CountingClock clock;
  // An emoji needs two UTF-16 units; "é" written as e + combining accent is one character.
  Input::type(input, clock, "a😀e\xCC\x81z", 42);
  const std::vector<std::u16string> characters = {u"a", u"\U0001F600", u"e\u0301", u"z"};
  EXPECT_EQ(input.texts, characters);
  // Paced 3 ms between characters, never after the last.
  EXPECT_EQ(clock.sleeps, 3);
  EXPECT_NEAR(clock.t, 0.009, 1e-12);

  Input::type(input, clock, "", 42);  // nothing to post, nothing to wait for
  EXPECT_EQ(input.texts, characters);
  EXPECT_EQ(clock.sleeps, 3);
}

}  // namespace
}  // namespace skimlet
