// Writes GGUF files for tests and benchmarks: hand-made files to probe the reader, and random but
// valid models of any shape (streamed to disk, so large ones never sit in memory).
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace skimlet::testing {

// Quantizes n floats (a multiple of the block length) into blocks of `type` (F32, F16, Q8_0,
// Q4_K, Q6_K), rounding to nearest; good enough to make valid, representative blocks.
std::vector<uint8_t> quantize(uint32_t type, const float* x, int64_t n);

// The bytes of a value as a GGUF file stores it (little-endian, as on every machine we build for).
template <typename T>
std::vector<uint8_t> bytesOf(T v) {
  std::vector<uint8_t> b(sizeof(T));
  std::memcpy(b.data(), &v, sizeof(T));
  return b;
}
// F32 tensor data.
inline std::vector<uint8_t> f32Bytes(const std::vector<float>& v) {
  std::vector<uint8_t> b(v.size() * sizeof(float));
  std::memcpy(b.data(), v.data(), b.size());
  return b;
}

class GGUFWriter {
 public:
  // Metadata, in the order added. `type` is the GGUF value type id; bytes are stored as given.
  void addRaw(const std::string& key, uint32_t type, std::vector<uint8_t> payload);
  void addU32(const std::string& key, uint32_t v);
  void addI32(const std::string& key, int32_t v);
  void addU64(const std::string& key, uint64_t v);
  void addF32(const std::string& key, float v);
  void addBool(const std::string& key, bool v);
  void addString(const std::string& key, const std::string& v);
  void addStrings(const std::string& key, const std::vector<std::string>& v);
  void addF32Array(const std::string& key, const std::vector<float>& v);

  // A tensor whose bytes are given, or produced by `fill` writing exactly `bytes` to the file.
  void addTensor(const std::string& name, std::vector<int64_t> dims, uint32_t type, std::vector<uint8_t> data);
  void addTensor(const std::string& name, std::vector<int64_t> dims, uint32_t type, uint64_t bytes,
                 std::function<void(std::FILE*)> fill);

  uint32_t version = 3;
  std::set<std::string> omit;  // metadata keys and tensor names left out of the file
  uint64_t alignment = 32;     // used for padding only; add "general.alignment" to declare another

  // Writes the file; throws std::runtime_error on an I/O failure.
  void write(const std::string& path) const;
  // The file as bytes (small files only).
  std::vector<uint8_t> bytes() const;

 private:
  struct Tensor {
    std::string name;
    std::vector<int64_t> dims;
    uint32_t type;
    uint64_t bytes;
    std::function<void(std::FILE*)> fill;
  };
  std::vector<uint8_t> header() const;
  uint64_t metaCount = 0;
  std::vector<uint8_t> meta;
  std::vector<Tensor> tensors;
};

// A decoder model with random weights. Every matrix's element type comes from typeOf(role,
// layer); roles are "token_embd", "output", "attn_q", "attn_k", "attn_v", "attn_output",
// "ffn_gate", "ffn_up", "ffn_down".
struct RandomModel {
  std::string arch = "qwen2";
  int layers = 2, embd = 256, ff = 512, heads = 4, kvHeads = 2, headDim = 64;
  int vocab = 300;  // at least the byte alphabet, the merged tokens and three markers
  bool biases = true, tiedOutput = true;
  float ropeBase = 1e6f;
  int64_t contextLength = 4096;
  bool chatMarkers = true;
  float weightScale = 0.08f;
  // By default the small models use all five element types, alternating by layer.
  std::function<uint32_t(const std::string& role, int layer)> typeOf;
  // Matrices of at least this many elements are written from a pool of random blocks instead
  // of quantizing fresh random numbers (fast enough for a full-size model).
  int64_t pooledAbove = 1 << 22;
  std::set<std::string> omit;  // metadata keys or tensor names to leave out
  // Written after the model's own metadata, so they win: corrupt hyper-parameters.
  std::vector<std::pair<std::string, uint64_t>> overrides;
  int64_t embeddingRows = -1;  // -1: the vocabulary's size
  // Words that become single tokens, alone and after a space, by merges ranked after the chat
  // roles' own: English text then splits into about as many tokens as a real vocabulary makes.
  std::vector<std::string> words;
};

// The character byte b stands for in byte-level BPE vocabularies (space is "Ġ", U+0120).
std::string byteSymbol(int b);

// The merge rules and vocabulary of the random models: the 256 byte symbols, the merged tokens,
// fillers up to `vocab`, then "<|endoftext|>", "<|im_start|>", "<|im_end|>" as the last three.
std::vector<std::string> randomModelMerges(const std::vector<std::string>& words = {});
std::vector<std::string> randomModelTokens(int vocab, bool chatMarkers, const std::vector<std::string>& words = {});

void writeRandomModel(const std::string& path, const RandomModel& model, uint64_t seed);

}  // namespace skimlet::testing
