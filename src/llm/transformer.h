// Skimlet's own decoder-only language model ("qwen2" and "llama" GGUF files): loading, the
// ChatML prompt and the forward pass with a key/value cache. Sampling is the caller's business.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_set>
#include <vector>

#include "llm/bpe_tokenizer.h"
#include "llm/gguf_file.h"
#include "llm/qmatrix.h"

namespace skimlet {

class Transformer {
 public:
  struct Layer {
    std::vector<float> attnNorm;
    QMatrix wq, wk, wv, wo;
    std::vector<float> bq, bk, bv;  // empty when the file has no attention biases
    std::vector<float> ffnNorm;
    QMatrix wg, wu, wd;
  };

  // Loads the model; the context is capped at `maxContext` positions. Throws GGUFError.
  Transformer(const std::string& path, int maxContext);
  ~Transformer();
  Transformer(const Transformer&) = delete;
  Transformer& operator=(const Transformer&) = delete;

  // The ChatML token ids of a system and a user turn, ending where the assistant speaks.
  std::vector<int> chatPrompt(const std::string& system, const std::string& user);

  // Runs `tokens` at positions start, start + 1, ... and returns the logits of the last one.
  // Keys and values of positions < start are kept, so a caller may reuse a cached prefix;
  // start + tokens.size() must not exceed contextSize().
  std::vector<float> forward(std::span<const int> tokens, int start);
  // The same, returning the logits of every one of the tokens (row i follows token i), which a
  // caller checking several guessed tokens at once needs.
  std::vector<float> forwardAll(std::span<const int> tokens, int start);

  int contextSize() const { return ctx; }
  int vocabSize() const { return static_cast<int>(outW.rows); }
  bool isStop(int id) const { return stopIDs.count(id) != 0; }
  BPETokenizer& tokenizer() { return *tokenizer_; }
  const std::string& architecture() const { return arch; }

  int nLayer = 0, nEmbd = 0, nFF = 0, nHead = 0, nKV = 0, hd = 0, ctx = 0;
  float eps = 1e-6f;
  std::vector<Layer> layers;
  QMatrix embd, outW;
  std::vector<float> outNorm, invFreq;
  std::unordered_set<int> stopIDs;
  int imStart = -1, imEnd = -1;

 private:
  void load(int maxContext);
  // Logits of the last `outputs` rows.
  std::vector<float> run(std::span<const int> tokens, int start, int outputs);
  void attention(int layer, int n, int start, const float* q, float* out);

  std::unique_ptr<GGUFFile> file;
  std::string arch;
  std::unique_ptr<BPETokenizer> tokenizer_;
  // Per layer, position-major: position p's keys of all key/value heads are kvDim() floats.
  std::vector<std::unique_ptr<float[]>> kCache, vCache;
  int kvDim() const { return nKV * hd; }
};

}  // namespace skimlet
