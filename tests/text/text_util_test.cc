#include "text/text_util.h"
#include "text/unicode.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace skimlet {
namespace {

using Strings = std::vector<std::string>;

TEST(TextUtilWhitespace, UnicodeWhitespaceSeparatesWords) {
  EXPECT_EQ(TextUtil::clean("  a \t\n b\r\n  c  "), "a b c");
  // No-break space, ideographic space, line separator and NEL all separate words.
  const std::string mixed = "one\u00A0two\u3000three\u2028four\u0085five";
  EXPECT_EQ(TextUtil::clean(mixed), "one two three four five");
  EXPECT_EQ(TextUtil::split(mixed), (Strings{"one", "two", "three", "four", "five"}));
  EXPECT_EQ(TextUtil::words(mixed), 5);
  // A zero-width space is not white space.
  EXPECT_EQ(TextUtil::words("a\u200Bb"), 1);
  EXPECT_EQ(TextUtil::clean(""), "");
  EXPECT_EQ(TextUtil::clean(" \n\t "), "");
  EXPECT_EQ(TextUtil::words("   "), 0);
  EXPECT_TRUE(TextUtil::split("").empty());
}

TEST(TextUtilNorm, FoldsToPlainLowerCaseWords) {
  // Decomposed input folds as precomposed does; letters of other scripts and non-ASCII digits
  // are kept; emoji are separators, and so are ZWJ sequences as a whole.
  const std::pair<const char*, const char*> cases[] = {{"  Hello,   World!! ", "hello world"},
                                                       {"--", ""},
                                                       {"", ""},
                                                       {"Café-au-lait 2.0", "cafe au lait 2 0"},
                                                       {"Éclair", "eclair"},
                                                       {"E\u0301CLAIR", "eclair"},
                                                       {"Straße", "strasse"},
                                                       {"İstanbul", "istanbul"},
                                                       {"Ünïcödé — “quotes” ‘and’ …dots", "unicode quotes and dots"},
                                                       {"Привет, МИР", "привет мир"},
                                                       {"日本語のテキスト", "日本語のテキスト"},
                                                       {"x ٣ ½", "x ٣ ½"},
                                                       {"go 👍 now 👨‍👩‍👧 ok", "go now ok"}};
  for (const auto& [text, norm] : cases) EXPECT_EQ(TextUtil::norm(text), norm) << text;
  // Lower-casing alone is full Unicode too.
  EXPECT_EQ(TextUtil::lower("Sign IN"), "sign in");
  EXPECT_EQ(TextUtil::lower("ÉCLAIR ΣΟΦΟΣ"), "éclair σοφος");
  EXPECT_EQ(TextUtil::lower("LIN\u212A"), "link");  // Kelvin sign
}

TEST(TextUtilNorm, AsciiFastPathMatchesTheFullPath) {
  // A trailing non-ASCII separator forces the full path; it must not change the ASCII part.
  const std::vector<std::string> samples{"Sign in",
                                         "  Hello,   World!! ",
                                         "a\r\nb\tc",
                                         "PRICE: $19.99/mo (billed yearly)",
                                         "x_y-z",
                                         "\x01\x1f\x7f",
                                         "42",
                                         "C++ & Rust",
                                         "e-mail@example.com"};
  for (const auto& s : samples) EXPECT_EQ(TextUtil::norm(s), TextUtil::norm(s + " —")) << s;
}

TEST(TextUtilStem, SuffixRulesInOrder) {
  // Counts are in characters: ‘café’ + "s" keeps four characters.
  const std::pair<const char*, const char*> cases[] = {{"cats", "cat"},        {"is", "is"},
                                                       {"boxes", "box"},       {"used", "used"},
                                                       {"made", "mad"},        {"ties", "tie"},
                                                       {"policies", "policy"}, {"pricing", "pric"},
                                                       {"price", "pric"},      {"shipping", "shipp"},
                                                       {"require", "requir"},  {"requirement", "requirement"},
                                                       {"listings", "list"},   {"", ""},
                                                       {"cafés", "café"},      {"ééés", "ééé"},
                                                       {"éés", "éés"}};
  for (const auto& [word, stem] : cases) EXPECT_EQ(TextUtil::stem(word), stem) << word;
}

TEST(TextUtilTokens, WordsBecomeStemmedTokens) {
  EXPECT_EQ(TextUtil::tokens("The cats' boxes, the CATS"), (Strings{"the", "cat", "box", "the", "cat"}));
  EXPECT_EQ(TextUtil::contentTokens("What is the price of this page?"), (Strings{"pric"}));
  EXPECT_TRUE(TextUtil::contentTokens("Where is it? Tell me!").empty());
  // Stop words are tested before stemming: "links" is not the stop word "link".
  EXPECT_EQ(TextUtil::contentTokens("the links"), (Strings{"link"}));
  EXPECT_EQ(TextUtil::synonyms("contact"), (Strings{"email", "phon", "support", "addres", "reach"}));
  EXPECT_EQ(TextUtil::synonyms("fre"), (Strings{"trial", "no", "cost"}));
  EXPECT_EQ(TextUtil::synonyms("shipp"), (Strings{"delivery", "deliver"}));
  EXPECT_EQ(TextUtil::synonyms("pric"), (Strings{"cost", "pric", "fee", "plan", "subscription"}));
  EXPECT_TRUE(TextUtil::synonyms("contact us").empty());
  EXPECT_TRUE(TextUtil::synonyms("zebra").empty());
}

TEST(TextUtilMarkdown, EscapesExactlyTheSpecialCharacters) {
  EXPECT_EQ(TextUtil::md("a*b_[c]"), "a\\*b\\_\\[c\\]");
  EXPECT_EQ(TextUtil::md("x-y.z"), "x-y.z");
  const std::string specials = "\\`*_{}[]()#+!<>|~";
  std::string expected;
  for (char c : specials) expected += std::string("\\") + c;
  EXPECT_EQ(TextUtil::md(specials), expected);
  EXPECT_EQ(TextUtil::md("“café” *"), "“café” \\*");
  EXPECT_EQ(TextUtil::md("$%&'\",/:;=?@^"), "$%&'\",/:;=?@^");
}

TEST(TextUtilSentences, SplitsAtSentenceEnds) {
  EXPECT_TRUE(TextUtil::sentences("").empty());
  EXPECT_TRUE(TextUtil::sentences(" \n\t ").empty());
  EXPECT_EQ(TextUtil::sentences("First one.  Second\t one! Third? "), (Strings{"First one.", "Second one!", "Third?"}));
  // Decimal points and lower-case continuations do not end a sentence.
  EXPECT_EQ(TextUtil::sentences("It costs 3.50 a month. see below. Next"),
            (Strings{"It costs 3.50 a month. see below.", "Next"}));
  EXPECT_EQ(TextUtil::sentences("No end mark"), (Strings{"No end mark"}));
  EXPECT_EQ(TextUtil::sentences("Paragraph one\n\nParagraph two"), (Strings{"Paragraph one", "Paragraph two"}));
}

TEST(TextUtilCharacters, LengthsCountGraphemeClusters) {
  const std::string family = "👨‍👩‍👧";  // one character, several code points
  const std::string accented = "e\u0301";           // one character, two code points
  EXPECT_EQ(TextUtil::length(""), 0);
  EXPECT_EQ(TextUtil::length("abc"), 3);
  EXPECT_EQ(TextUtil::length("a\r\nb"), 3);
  EXPECT_EQ(TextUtil::length(family + accented + "x"), 3);
  EXPECT_EQ(TextUtil::graphemes(family + accented), (Strings{family, accented}));

  EXPECT_EQ(TextUtil::prefix(family + accented + "x", 2), family + accented);
  EXPECT_EQ(TextUtil::prefix("abc", 10), "abc");
  EXPECT_EQ(TextUtil::prefix("abc", 0), "");

  EXPECT_EQ(TextUtil::truncate("abcd", 4), "abcd");
  EXPECT_EQ(TextUtil::truncate("abcde", 4), "abc…");
  EXPECT_EQ(TextUtil::truncate(family + family + family, 2), family + "…");
  EXPECT_EQ(TextUtil::truncate("ab", 1), "…");
  EXPECT_EQ(TextUtil::truncate("", 0), "");
}

TEST(TextUtilBadInput, InvalidUtf8BecomesReplacementCharacters) {
  const std::string bad = "ab\xff\xfe cd\xc3";
  EXPECT_EQ(TextUtil::clean(bad), "ab\uFFFD\uFFFD cd\uFFFD");
  EXPECT_EQ(TextUtil::norm(bad), "ab cd");
  EXPECT_EQ(TextUtil::length(bad), 8);
  EXPECT_EQ(TextUtil::words(bad), 2);
  EXPECT_EQ(TextUtil::md("*\xff"), "\\*\uFFFD");
  EXPECT_EQ(TextUtil::truncate(bad, 3), "ab…");
  EXPECT_EQ(TextUtil::stem("\xff\xff\xffs"), "\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(TextUtil::sentences("Hi.\xff Bye."), (Strings{"Hi.", "\uFFFD Bye."}));
  // Between UTF-8 and the platform's UTF-16 (typed text, key events), in both directions.
  EXPECT_EQ(unicode::toUtf16("a\xFF"
                             "b"),
            u"a\uFFFDb");
  EXPECT_EQ(unicode::toUtf16("\xE2\x82"), u"\uFFFD");  // a cut-off sequence is one character
  EXPECT_EQ(unicode::toUtf16("€😀"), u"€😀");
  EXPECT_EQ(unicode::fromUtf16(u"€😀"), "€😀");
  EXPECT_EQ(unicode::fromUtf16(std::u16string(1, char16_t(0xD83D)) + u"a"), "\uFFFDa");  // a lone surrogate
}

}  // namespace
}  // namespace skimlet
