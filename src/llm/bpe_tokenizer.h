// Byte-level BPE: text to the model's token ids and token ids back to bytes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace skimlet {

class PreTokenizer;

class BPETokenizer {
 public:
  // `tokens[id]` is the text of token id in the byte alphabet; `merges` are "left right" rules,
  // first merged first.
  BPETokenizer(std::vector<std::string> tokens, std::vector<std::string> merges);
  ~BPETokenizer();
  BPETokenizer(const BPETokenizer&) = delete;
  BPETokenizer& operator=(const BPETokenizer&) = delete;

  // Special tokens written in the text are not recognised; they are ordinary characters here.
  std::vector<int> encode(std::string_view text);
  // The bytes token `id` stands for; empty for an id outside the vocabulary.
  std::vector<uint8_t> bytes(int id) const;
  const std::vector<std::string>& tokens() const { return tokens_; }
  // The id of a token text, or -1.
  int tokenId(const std::string& text) const;

  static constexpr size_t cacheLimit = 20000;
  size_t cacheSize() const { return cache_.size(); }

 private:
  std::vector<int> encodeChunk(std::string_view piece);

  // Merging works on symbol numbers, not texts: every text a merge rule can produce or consume
  // gets a number once, so one merge step costs a table look-up whatever the symbols' lengths.
  struct Merge {
    int rank;
    int result;  // the symbol the pair becomes
  };
  static uint64_t pairKey(int left, int right) {
    return (static_cast<uint64_t>(static_cast<uint32_t>(left)) << 32) | static_cast<uint32_t>(right);
  }
  int symbol(const std::string& text);

  std::vector<std::string> tokens_;
  std::unordered_map<std::string, int> vocab_;
  std::unordered_map<std::string, int> symbols_;  // symbol text to its number
  std::vector<int> symbolToken_;                  // symbol number to token id, or -1
  std::unordered_map<uint64_t, Merge> merges_;    // by pairKey(left, right)
  int byteSymbol_[256];
  std::string byteToChar_[256];
  std::unordered_map<uint32_t, uint8_t> charToByte_;  // code point to byte
  std::unique_ptr<PreTokenizer> preTokenizer_;
  std::unordered_map<std::string, std::vector<int>> cache_;
};

}  // namespace skimlet
