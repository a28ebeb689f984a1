#include "llm/bpe_tokenizer.h"

#include <queue>

#include "llm/pre_tokenizer.h"
#include "llm/utf8.h"

namespace skimlet {

namespace {

std::string encodeCodePoint(uint32_t cp) {
  std::string s;
  if (cp < 0x80) {
    s += static_cast<char>(cp);
  } else if (cp < 0x800) {
    s += static_cast<char>(0xC0 | (cp >> 6));
    s += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    s += static_cast<char>(0xE0 | (cp >> 12));
    s += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    s += static_cast<char>(0x80 | (cp & 0x3F));
  }
  return s;
}

// Decodes one code point at s[i] and advances i; a malformed byte decodes as itself.
uint32_t nextCodePoint(const std::string& s, size_t& i) {
  const auto c = static_cast<unsigned char>(s[i]);
  const int len = utf8Length(c);
  if (len == 1 || i + len > s.size()) {
    ++i;
    return c;
  }
  uint32_t cp = c & (0xFF >> (len + 1));
  for (int k = 1; k < len; ++k) cp = (cp << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3F);
  i += len;
  return cp;
}

bool printable(int b) { return (b >= 33 && b <= 126) || (b >= 161 && b <= 172) || (b >= 174 && b <= 255); }

}  // namespace

BPETokenizer::BPETokenizer(std::vector<std::string> tokens, std::vector<std::string> merges)
    : tokens_(std::move(tokens)), preTokenizer_(std::make_unique<PreTokenizer>()) {
  vocab_.reserve(tokens_.size());
  for (size_t id = 0; id < tokens_.size(); ++id) vocab_[tokens_[id]] = static_cast<int>(id);
  // Bytes without a visible character of their own borrow code points from U+0100 upwards.
  uint32_t next = 256;
  for (int b = 0; b < 256; ++b) {
    const uint32_t cp = printable(b) ? static_cast<uint32_t>(b) : next++;
    byteToChar_[b] = encodeCodePoint(cp);
    charToByte_[cp] = static_cast<uint8_t>(b);
    byteSymbol_[b] = symbol(byteToChar_[b]);
  }
  symbols_.reserve(merges.size() * 2 + 256);
  merges_.reserve(merges.size());
  for (size_t r = 0; r < merges.size(); ++r) {
    // No symbol holds a plain space (the space byte has a character of its own), so a rule
    // with other than exactly one space can never apply.
    const std::string& rule = merges[r];
    const size_t space = rule.find(' ');
    if (space == std::string::npos || rule.find(' ', space + 1) != std::string::npos) continue;
    const std::string left = rule.substr(0, space), right = rule.substr(space + 1);
    const int l = symbol(left), rt = symbol(right);
    // The first rule for a pair keeps its rank.
    if (merges_.count(pairKey(l, rt))) continue;
    merges_.emplace(pairKey(l, rt), Merge{static_cast<int>(r), symbol(left + right)});
  }
  symbolToken_.resize(symbols_.size(), -1);
  for (const auto& [text, number] : symbols_) {
    if (auto it = vocab_.find(text); it != vocab_.end()) symbolToken_[number] = it->second;
  }
  // Only merging needs the texts; their numbers are all that is kept.
  symbols_ = {};
}

int BPETokenizer::symbol(const std::string& text) {
  return symbols_.try_emplace(text, static_cast<int>(symbols_.size())).first->second;
}

BPETokenizer::~BPETokenizer() = default;

int BPETokenizer::tokenId(const std::string& text) const {
  auto it = vocab_.find(text);
  return it == vocab_.end() ? -1 : it->second;
}

std::vector<int> BPETokenizer::encode(std::string_view text) {
  std::vector<int> ids;
  for (std::string_view piece : preTokenizer_->split(text)) {
    const std::vector<int>& chunk = encodeChunk(piece);
    ids.insert(ids.end(), chunk.begin(), chunk.end());
  }
  return ids;
}

std::vector<int> BPETokenizer::encodeChunk(std::string_view piece) {
  // Long pieces are rare and would make the cache's memory unbounded, so only short ones stay.
  constexpr size_t kCachedPieceLength = 256;
  const bool cacheable = piece.size() <= kCachedPieceLength;
  std::string key;
  if (cacheable) {
    key.assign(piece);
    if (auto it = cache_.find(key); it != cache_.end()) return it->second;
  }
  // The symbols form a linked list; candidate merges wait in a heap ordered by rank, then
  // position. Each round takes every candidate of the lowest rank and merges them left to
  // right, and only then looks at the pairs those merges made, as merging the whole word pass
  // by pass would. Stale candidates (a side already merged into something else) are skipped.
  // About n log n for a word of n bytes, where rescanning the word after every merge was n².
  const int n = static_cast<int>(piece.size());
  std::vector<int> sym(n), prev(n), next(n);
  for (int i = 0; i < n; ++i) {
    sym[i] = byteSymbol_[static_cast<unsigned char>(piece[i])];
    prev[i] = i - 1;
    next[i] = i + 1 < n ? i + 1 : -1;
  }
  struct Candidate {
    int rank, left, leftSym, rightSym;
    bool operator>(const Candidate& o) const { return rank != o.rank ? rank > o.rank : left > o.left; }
  };
  std::priority_queue<Candidate, std::vector<Candidate>, std::greater<Candidate>> heap;
  auto consider = [&](int left) {
    if (left < 0 || next[left] < 0) return;
    const int right = next[left];
    if (auto it = merges_.find(pairKey(sym[left], sym[right])); it != merges_.end())
      heap.push({it->second.rank, left, sym[left], sym[right]});
  };
  for (int i = 0; i + 1 < n; ++i) consider(i);
  std::vector<Candidate> round;
  while (!heap.empty()) {
    const int rank = heap.top().rank;
    round.clear();
    while (!heap.empty() && heap.top().rank == rank) {
      round.push_back(heap.top());
      heap.pop();
    }
    for (const Candidate& c : round) {
      const int right = next[c.left];
      // A merged-away node has sym -1, so it never matches.
      if (sym[c.left] != c.leftSym || right < 0 || sym[right] != c.rightSym) continue;
      sym[c.left] = merges_.at(pairKey(c.leftSym, c.rightSym)).result;
      sym[right] = -1;
      next[c.left] = next[right];
      if (next[right] >= 0) prev[next[right]] = c.left;
      consider(prev[c.left]);
      consider(c.left);
    }
  }
  std::vector<int> ids;
  for (int i = n > 0 ? 0 : -1; i >= 0; i = next[i]) {
    if (const int id = symbolToken_[sym[i]]; id >= 0) ids.push_back(id);
  }
  if (cacheable && cache_.size() < cacheLimit) cache_.emplace(std::move(key), ids);
  return ids;
}

std::vector<uint8_t> BPETokenizer::bytes(int id) const {
  std::vector<uint8_t> out;
  if (id < 0 || static_cast<size_t>(id) >= tokens_.size()) return out;
  const std::string& s = tokens_[id];
  for (size_t i = 0; i < s.size();) {
    auto it = charToByte_.find(nextCodePoint(s, i));
    if (it != charToByte_.end()) out.push_back(it->second);
  }
  return out;
}

}  // namespace skimlet
