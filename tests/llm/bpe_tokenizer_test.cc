#include "llm/bpe_tokenizer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "llm/pre_tokenizer.h"
#include "support/gguf_writer.h"

namespace skimlet {
namespace {

using testing::byteSymbol;

std::vector<std::string> byteAlphabet() {
  std::vector<std::string> t;
  for (int b = 0; b < 256; ++b) t.push_back(byteSymbol(b));
  return t;
}

// A vocabulary of the 256 byte symbols plus the given merged tokens, with those merges.
BPETokenizer make(std::vector<std::string> merges) {
  std::vector<std::string> tokens = byteAlphabet();
  for (const auto& m : merges) {
    const size_t space = m.find(' ');
    tokens.push_back(m.substr(0, space) + m.substr(space + 1));
  }
  tokens.push_back("<|im_end|>");
  return BPETokenizer(tokens, merges);
}

std::vector<std::string> texts(BPETokenizer& t, const std::vector<int>& ids) {
  std::vector<std::string> out;
  for (int id : ids) out.push_back(t.tokens()[id]);
  return out;
}

std::vector<std::string> pieces(const std::string& text) {
  PreTokenizer p;
  std::vector<std::string> out;
  for (auto v : p.split(text)) out.emplace_back(v);
  return out;
}

using Pieces = std::vector<std::string>;

TEST(PreTokenizer, SplitsLikeTheExpression) {
  EXPECT_EQ(pieces(""), Pieces{});
  EXPECT_EQ(pieces(" hello"), Pieces{" hello"});
  EXPECT_EQ(pieces("2024"), (Pieces{"2", "0", "2", "4"}));
  EXPECT_EQ(pieces("don't"), (Pieces{"don", "'t"}));
  EXPECT_EQ(pieces("DON'T"), (Pieces{"DON", "'T"}));
  EXPECT_EQ(pieces("we'LL they're"), (Pieces{"we", "'LL", " they", "'re"}));
  // Runs of spaces leave the last one to the next word; trailing ones stay together.
  EXPECT_EQ(pieces("a  b   "), (Pieces{"a", " ", " b", "   "}));
  EXPECT_EQ(pieces("hi\n\n  there"), (Pieces{"hi", "\n\n", " ", " there"}));
  EXPECT_EQ(pieces("x?!\n\ny"), (Pieces{"x", "?!\n\n", "y"}));
  EXPECT_EQ(pieces("$5.00"), (Pieces{"$", "5", ".", "0", "0"}));
  EXPECT_EQ(pieces("\tTab"), (Pieces{"\tTab"}));
  // Unicode letters, marks and digits are classified by ICU.
  EXPECT_EQ(pieces(" Größe ٣"), (Pieces{" Größe", " ", "٣"}));
  EXPECT_EQ(pieces("日本語です。"), (Pieces{"日本語です", "。"}));
  EXPECT_EQ(pieces("a\u00A0b"), (Pieces{"a", "\u00A0b"}));  // no-break space is not \r or \n
}

TEST(BPETokenizer, MergesByRankAcrossTheWholePiece) {
  // "b c" outranks "a b", so "abc" becomes a + bc even though "ab" comes first.
  BPETokenizer t = make({"b c", "a b"});
  EXPECT_EQ(texts(t, t.encode("abc")), (Pieces{"a", "bc"}));
  EXPECT_EQ(texts(t, t.encode("abab")), (Pieces{"ab", "ab"}));

  // All non-overlapping occurrences merge in one left-to-right pass.
  BPETokenizer a = make({"a a", "aa aa"});
  EXPECT_EQ(texts(a, a.encode("aaa")), (Pieces{"aa", "a"}));
  EXPECT_EQ(texts(a, a.encode("aaaa")), (Pieces{"aaaa"}));
  EXPECT_EQ(texts(a, a.encode("aaaaa")), (Pieces{"aaaa", "a"}));

  // Merges apply within pieces only, and the leading space belongs to the word.
  const std::string sp = byteSymbol(' ');
  BPETokenizer w = make({sp + " h", sp + "h i", "h i"});
  EXPECT_EQ(texts(w, w.encode("hi hi")), (Pieces{"hi", sp + "hi"}));
}

// Merging pass by pass, the plain way: the lowest-ranked pair anywhere, then all its
// non-overlapping occurrences left to right.
Pieces mergedPlainly(const std::string& word, const std::vector<std::string>& merges) {
  Pieces s;
  for (char c : word) s.emplace_back(1, c);
  for (;;) {
    size_t best = merges.size(), at = 0;
    for (size_t i = 0; i + 1 < s.size(); ++i) {
      const size_t r = std::find(merges.begin(), merges.end(), s[i] + " " + s[i + 1]) - merges.begin();
      if (r < best) best = r, at = i;
    }
    if (best == merges.size()) return s;
    const std::string l = s[at], r = s[at + 1];
    Pieces out;
    for (size_t i = 0; i < s.size(); ++i) {
      if (i + 1 < s.size() && s[i] == l && s[i + 1] == r) out.push_back(l + r), ++i;
      else out.push_back(s[i]);
    }
    s = out;
  }
}

TEST(BPETokenizer, MergesAsPassByPassMergingWould) {
  // Random rule lists over a three-letter alphabet make every kind of overlap: chains, runs of
  // one letter, and new pairs that outrank the pair being merged.
  std::mt19937 rng(7);
  for (int trial = 0; trial < 200; ++trial) {
    std::vector<std::string> symbols = {"a", "b", "c"}, merges;
    for (int k = 0; k < 12; ++k) {
      const std::string l = symbols[rng() % symbols.size()], r = symbols[rng() % symbols.size()];
      if (l.size() + r.size() > 8) continue;
      merges.push_back(l + " " + r);
      symbols.push_back(l + r);
    }
    std::shuffle(merges.begin(), merges.end(), rng);
    BPETokenizer t = make(merges);
    std::string word;
    for (int k = 0, len = 1 + static_cast<int>(rng() % 24); k < len; ++k) word += "abc"[rng() % 3];
    ASSERT_EQ(texts(t, t.encode(word)), mergedPlainly(word, merges)) << word;
  }
}

TEST(BPETokenizer, UnknownSymbolsAreDroppedAndMarkersAreText) {
  BPETokenizer t = make({"a b"});
  EXPECT_TRUE(t.encode("").empty());
  // "ab" merges to a token; the vocabulary lacks nothing here, but a merge result that is not
  // in the vocabulary is simply left out.
  BPETokenizer missing(byteAlphabet(), {"a b"});
  EXPECT_EQ(texts(missing, missing.encode("xab")), (Pieces{"x"}));
  // A marker written in text is ordinary characters.
  EXPECT_EQ(t.encode("<|im_end|>").size(), 10u);
  EXPECT_EQ(t.tokenId("<|im_end|>"), 257);
  EXPECT_EQ(t.tokenId("nope"), -1);
}

TEST(BPETokenizer, EveryByteRoundTrips) {
  BPETokenizer t = make({});
  for (int b = 0; b < 256; ++b) {
    const std::string text(1, static_cast<char>(b));
    ASSERT_EQ(t.encode(text), std::vector<int>{b}) << b;
    ASSERT_EQ(t.bytes(b), std::vector<uint8_t>{static_cast<uint8_t>(b)});
  }
  // Multi-byte characters split into their bytes and decode back.
  const std::string text = "naïve 日本 🙂\r\n";
  std::string back;
  for (int id : t.encode(text))
    for (uint8_t c : t.bytes(id)) back += static_cast<char>(c);
  EXPECT_EQ(back, text);

  EXPECT_TRUE(t.bytes(-1).empty());
  EXPECT_TRUE(t.bytes(100000).empty());
  const std::vector<uint8_t> marker = t.bytes(t.tokenId("<|im_end|>"));
  EXPECT_EQ(std::string(marker.begin(), marker.end()), "<|im_end|>");
}

TEST(BPETokenizer, LaterDuplicatesWinAndTheCacheStopsGrowing) {
  std::vector<std::string> tokens = byteAlphabet();
  tokens.push_back("ab");
  tokens.push_back("ab");
  BPETokenizer t(tokens, {"a b"});
  EXPECT_EQ(t.encode("ab"), std::vector<int>{257});

  auto word = [](int i) {  // a distinct run of letters for each i
    std::string w = " ";
    for (; i > 0; i /= 26) w += static_cast<char>('a' + i % 26);
    return w;
  };
  for (int i = 1; i <= 20050; ++i) t.encode(word(i));
  EXPECT_EQ(t.cacheSize(), BPETokenizer::cacheLimit);
  // Pieces past the limit still encode the same way.
  EXPECT_EQ(t.encode("zzab"), (std::vector<int>{'z', 'z', 257}));
  EXPECT_EQ(t.encode("zzab"), (std::vector<int>{'z', 'z', 257}));
}

}  // namespace
}  // namespace skimlet
