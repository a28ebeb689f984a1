// How tokenizing one long word grows under a crafted vocabulary of 20,000 merges that keep
// applying: the time for words of 12,000 and 120,000 letters, and the ratio of their time per
// letter (near 1 when merging stays near-linear). Rescanning the whole word after every merge
// cost its length times the number of merges applied, seconds for the long word.
#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "llm/bpe_tokenizer.h"
#include "support/gguf_writer.h"

namespace {

using skimlet::BPETokenizer;

double secondsFor(BPETokenizer& t, const std::string& word) {
  const auto start = std::chrono::steady_clock::now();
  const size_t ids = t.encode(word).size();
  const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("  %zu letters: %.3f s, %zu tokens\n", word.size(), s, ids);
  return s;
}

}  // namespace

int main() {
  // All pairs of letters, then pairs of earlier results: merges that apply all over a random word.
  std::vector<std::string> tokens, merges, symbols;
  for (int b = 0; b < 256; ++b) tokens.push_back(skimlet::testing::byteSymbol(b));
  for (char c = 'a'; c <= 'z'; ++c) symbols.emplace_back(1, c);
  std::mt19937 rng(1);
  while (merges.size() < 20000) {
    const std::string& l = symbols[merges.size() < 676 ? merges.size() / 26 : rng() % symbols.size()];
    const std::string& r = symbols[merges.size() < 676 ? merges.size() % 26 : rng() % symbols.size()];
    if (l.size() + r.size() > 64) continue;
    merges.push_back(l + " " + r);
    tokens.push_back(l + r);
    symbols.push_back(l + r);
  }
  std::string word;
  for (int i = 0; i < 120000; ++i) word += static_cast<char>('a' + rng() % 26);
  std::printf("One word under 20,000 merges\n");
  BPETokenizer small(tokens, merges), large(tokens, merges);
  const double a = secondsFor(small, word.substr(0, 12000)) / 12000;
  const double b = secondsFor(large, word) / 120000;
  std::printf("time per letter, 120,000 vs 12,000 letters: %.2fx\n", b / a);
}
