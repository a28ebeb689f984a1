#include "llm/bpe_tokenizer.h"

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
  ranks_.reserve(merges.size());
  for (size_t r = 0; r < merges.size(); ++r) ranks_.emplace(std::move(merges[r]), static_cast<int>(r));
  // Bytes without a visible character of their own borrow code points from U+0100 upwards.
  uint32_t next = 256;
  for (int b = 0; b < 256; ++b) {
    const uint32_t cp = printable(b) ? static_cast<uint32_t>(b) : next++;
    byteToChar_[b] = encodeCodePoint(cp);
    charToByte_[cp] = static_cast<uint8_t>(b);
  }
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
  std::string key(piece);
  if (auto it = cache_.find(key); it != cache_.end()) return it->second;
  std::vector<std::string> symbols;
  symbols.reserve(piece.size());
  for (unsigned char c : piece) symbols.push_back(byteToChar_[c]);
  std::string pair;
  std::vector<std::string> merged;
  while (symbols.size() >= 2) {
    int bestRank = -1;
    size_t best = 0;
    for (size_t i = 0; i + 1 < symbols.size(); ++i) {
      pair.assign(symbols[i]).append(" ").append(symbols[i + 1]);
      auto it = ranks_.find(pair);
      if (it != ranks_.end() && (bestRank < 0 || it->second < bestRank)) {
        bestRank = it->second;
        best = i;
      }
    }
    if (bestRank < 0) break;
    const std::string left = symbols[best], right = symbols[best + 1];
    merged.clear();
    for (size_t i = 0; i < symbols.size();) {
      if (i + 1 < symbols.size() && symbols[i] == left && symbols[i + 1] == right) {
        merged.push_back(left + right);
        i += 2;
      } else {
        merged.push_back(std::move(symbols[i]));
        i += 1;
      }
    }
    symbols.swap(merged);
  }
  std::vector<int> ids;
  ids.reserve(symbols.size());
  for (const std::string& s : symbols) {
    if (auto it = vocab_.find(s); it != vocab_.end()) ids.push_back(it->second);
  }
  if (cache_.size() < cacheLimit) cache_.emplace(std::move(key), ids);
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
