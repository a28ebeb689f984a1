#include "support/gguf_writer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>

#include "llm/f16.h"
#include "llm/ggml_type.h"

namespace skimlet::testing {

namespace {

template <typename T>
void put(std::vector<uint8_t>& out, T v) {
  uint8_t b[sizeof(T)];
  std::memcpy(b, &v, sizeof(T));
  out.insert(out.end(), b, b + sizeof(T));
}

void putString(std::vector<uint8_t>& out, const std::string& s) {
  put<uint64_t>(out, s.size());
  out.insert(out.end(), s.begin(), s.end());
}

void putHalf(uint8_t* p, float f) {
  uint16_t h = floatToHalf(f);
  std::memcpy(p, &h, 2);
}

int nearest(float v) { return static_cast<int>(std::lround(v)); }

void quantizeQ8_0(const float* x, uint8_t* out) {
  float amax = 0;
  for (int i = 0; i < 32; ++i) amax = std::max(amax, std::fabs(x[i]));
  putHalf(out, amax / 127);
  const float d = readHalf(out);
  for (int i = 0; i < 32; ++i)
    out[2 + i] = static_cast<uint8_t>(static_cast<int8_t>(d > 0 ? std::clamp(nearest(x[i] / d), -127, 127) : 0));
}

// The twelve Q4_K scale bytes holding six-bit scales sc[8] and minimums m[8].
void packQ4KScales(const uint8_t sc[8], const uint8_t m[8], uint8_t s[12]) {
  for (int j = 0; j < 4; ++j) {
    s[j] = static_cast<uint8_t>((sc[j] & 63) | ((sc[j + 4] >> 4) << 6));
    s[j + 4] = static_cast<uint8_t>((m[j] & 63) | ((m[j + 4] >> 4) << 6));
    s[j + 8] = static_cast<uint8_t>((sc[j + 4] & 15) | ((m[j + 4] & 15) << 4));
  }
}

void quantizeQ4K(const float* x, uint8_t* out) {
  float scale[8], minimum[8];
  for (int j = 0; j < 8; ++j) {
    float lo = 0, hi = 0;
    for (int l = 0; l < 32; ++l) {
      lo = std::min(lo, x[32 * j + l]);
      hi = std::max(hi, x[32 * j + l]);
    }
    scale[j] = (hi - lo) / 15;
    minimum[j] = -lo;
  }
  putHalf(out, *std::max_element(scale, scale + 8) / 63);
  putHalf(out + 2, *std::max_element(minimum, minimum + 8) / 63);
  const float d = readHalf(out), dmin = readHalf(out + 2);
  uint8_t sc[8], m[8];
  for (int j = 0; j < 8; ++j) {
    sc[j] = static_cast<uint8_t>(d > 0 ? std::clamp(nearest(scale[j] / d), 0, 63) : 0);
    m[j] = static_cast<uint8_t>(dmin > 0 ? std::clamp(nearest(minimum[j] / dmin), 0, 63) : 0);
  }
  packQ4KScales(sc, m, out + 4);
  uint8_t q[256];
  for (int j = 0; j < 8; ++j) {
    const float step = d * sc[j], offset = dmin * m[j];
    for (int l = 0; l < 32; ++l)
      q[32 * j + l] = static_cast<uint8_t>(step > 0 ? std::clamp(nearest((x[32 * j + l] + offset) / step), 0, 15) : 0);
  }
  for (int p = 0; p < 4; ++p)
    for (int l = 0; l < 32; ++l) out[16 + 32 * p + l] = static_cast<uint8_t>(q[64 * p + l] | (q[64 * p + 32 + l] << 4));
}

void quantizeQ6K(const float* x, uint8_t* out) {
  float scale[16];
  for (int r = 0; r < 16; ++r) {
    float amax = 0;
    for (int l = 0; l < 16; ++l) amax = std::max(amax, std::fabs(x[16 * r + l]));
    // Some runs get a negative scale so that signed scales are exercised.
    scale[r] = (r % 3 == 1 ? -amax : amax) / 31;
  }
  float maxScale = 0;
  for (float s : scale) maxScale = std::max(maxScale, std::fabs(s));
  putHalf(out + 208, maxScale / 127);
  const float d = readHalf(out + 208);
  int8_t sc[16];
  for (int r = 0; r < 16; ++r) sc[r] = static_cast<int8_t>(d > 0 ? std::clamp(nearest(scale[r] / d), -127, 127) : 0);
  std::memcpy(out + 192, sc, 16);
  uint8_t q[256];
  for (int e = 0; e < 256; ++e) {
    const float step = d * sc[e / 16];
    q[e] = static_cast<uint8_t>((step != 0 ? std::clamp(nearest(x[e] / step), -32, 31) : 0) + 32);
  }
  std::memset(out, 0, 192);
  for (int h = 0; h < 2; ++h)
    for (int k = 0; k < 4; ++k)
      for (int l = 0; l < 32; ++l) {
        const uint8_t v = q[128 * h + 32 * k + l];
        uint8_t& ql = out[64 * h + 32 * (k & 1) + l];
        ql |= (k < 2 ? (v & 15) : (v & 15) << 4);
        out[128 + 32 * h + l] |= static_cast<uint8_t>((v >> 4) << (2 * k));
      }
}

}  // namespace

std::vector<uint8_t> quantize(uint32_t type, const float* x, int64_t n) {
  auto traits = GGMLType::traits(type);
  if (!traits) throw std::invalid_argument("unsupported type");
  const int64_t blocks = n / traits->blockLength;
  std::vector<uint8_t> out(static_cast<size_t>(blocks * traits->blockSize));
  for (int64_t b = 0; b < blocks; ++b) {
    const float* src = x + b * traits->blockLength;
    uint8_t* dst = out.data() + b * traits->blockSize;
    switch (type) {
      case GGMLType::f32: std::memcpy(dst, src, 4); break;
      case GGMLType::f16: putHalf(dst, *src); break;
      case GGMLType::q8_0: quantizeQ8_0(src, dst); break;
      case GGMLType::q4K: quantizeQ4K(src, dst); break;
      case GGMLType::q6K: quantizeQ6K(src, dst); break;
    }
  }
  return out;
}

void GGUFWriter::addRaw(const std::string& key, uint32_t type, std::vector<uint8_t> payload) {
  if (omit.count(key)) return;
  putString(meta, key);
  put<uint32_t>(meta, type);
  meta.insert(meta.end(), payload.begin(), payload.end());
  ++metaCount;
}

void GGUFWriter::addU32(const std::string& key, uint32_t v) { addRaw(key, 4, bytesOf(v)); }
void GGUFWriter::addI32(const std::string& key, int32_t v) { addRaw(key, 5, bytesOf(v)); }
void GGUFWriter::addU64(const std::string& key, uint64_t v) { addRaw(key, 10, bytesOf(v)); }
void GGUFWriter::addF32(const std::string& key, float v) { addRaw(key, 6, bytesOf(v)); }
void GGUFWriter::addBool(const std::string& key, bool v) { addRaw(key, 7, {static_cast<uint8_t>(v)}); }

void GGUFWriter::addString(const std::string& key, const std::string& v) {
  std::vector<uint8_t> p;
  putString(p, v);
  addRaw(key, 8, p);
}

void GGUFWriter::addStrings(const std::string& key, const std::vector<std::string>& v) {
  std::vector<uint8_t> p;
  put<uint32_t>(p, 8);
  put<uint64_t>(p, v.size());
  for (const auto& s : v) putString(p, s);
  addRaw(key, 9, p);
}

void GGUFWriter::addF32Array(const std::string& key, const std::vector<float>& v) {
  std::vector<uint8_t> p;
  put<uint32_t>(p, 6);
  put<uint64_t>(p, v.size());
  for (float f : v) put(p, f);
  addRaw(key, 9, p);
}

void GGUFWriter::addTensor(const std::string& name, std::vector<int64_t> dims, uint32_t type,
                           std::vector<uint8_t> data) {
  auto shared = std::make_shared<std::vector<uint8_t>>(std::move(data));
  const uint64_t bytes = shared->size();
  addTensor(name, std::move(dims), type, bytes,
            [shared](std::FILE* f) { std::fwrite(shared->data(), 1, shared->size(), f); });
}

void GGUFWriter::addTensor(const std::string& name, std::vector<int64_t> dims, uint32_t type, uint64_t bytes,
                           std::function<void(std::FILE*)> fill) {
  if (omit.count(name)) return;
  tensors.push_back({name, std::move(dims), type, bytes, std::move(fill)});
}

std::vector<uint8_t> GGUFWriter::header() const {
  std::vector<uint8_t> out;
  put<uint32_t>(out, 0x46554747);
  put<uint32_t>(out, version);
  put<uint64_t>(out, tensors.size());
  put<uint64_t>(out, metaCount);
  out.insert(out.end(), meta.begin(), meta.end());
  uint64_t offset = 0;
  for (const Tensor& t : tensors) {
    putString(out, t.name);
    put<uint32_t>(out, static_cast<uint32_t>(t.dims.size()));
    for (int64_t d : t.dims) put<int64_t>(out, d);
    put<uint32_t>(out, t.type);
    put<uint64_t>(out, offset);
    offset += (t.bytes + alignment - 1) / alignment * alignment;
  }
  out.resize((out.size() + alignment - 1) / alignment * alignment, 0);
  return out;
}

void GGUFWriter::write(const std::string& path) const {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) throw std::runtime_error("can't write " + path);
  const std::vector<uint8_t> head = header();
  std::fwrite(head.data(), 1, head.size(), f);
  static const uint8_t zeros[256] = {};
  for (const Tensor& t : tensors) {
    const long before = std::ftell(f);
    t.fill(f);
    if (static_cast<uint64_t>(std::ftell(f) - before) != t.bytes) {
      std::fclose(f);
      throw std::runtime_error("tensor " + t.name + " wrote the wrong number of bytes");
    }
    const uint64_t pad = (alignment - t.bytes % alignment) % alignment;
    std::fwrite(zeros, 1, pad, f);
  }
  // Tiny hand-made files still need the reader's minimum size.
  const long size = std::ftell(f);
  for (long s = size; s < 1100; ++s) std::fputc(0, f);
  if (std::fclose(f) != 0) throw std::runtime_error("can't write " + path);
}

std::vector<uint8_t> GGUFWriter::bytes() const {
  std::vector<uint8_t> out = header();
  for (const Tensor& t : tensors) {
    char* buf = nullptr;
    size_t len = 0;
    std::FILE* mem = open_memstream(&buf, &len);
    t.fill(mem);
    std::fclose(mem);
    out.insert(out.end(), buf, buf + len);
    std::free(buf);
    out.resize((out.size() + alignment - 1) / alignment * alignment, 0);
  }
  return out;
}

std::string byteSymbol(int b) {
  static const auto table = [] {
    std::vector<std::string> t(256);
    int next = 256;
    for (int c = 0; c < 256; ++c) {
      const bool printable = (c >= 33 && c <= 126) || (c >= 161 && c <= 172) || (c >= 174 && c <= 255);
      const int cp = printable ? c : next++;
      std::string s;
      if (cp < 0x80) {
        s += static_cast<char>(cp);
      } else {
        s += static_cast<char>(0xC0 | (cp >> 6));
        s += static_cast<char>(0x80 | (cp & 0x3F));
      }
      t[c] = s;
    }
    return t;
  }();
  return table[b];
}

std::vector<std::string> randomModelMerges(const std::vector<std::string>& words) {
  const std::string sp = byteSymbol(' '), nl = byteSymbol('\n');
  // A few words the tests use, and the chat roles, whole, as a trained vocabulary has them.
  std::vector<std::string> merges = {
      "h e",     "l l",       "he ll",  "hell o", sp + " w", "o r",        sp + "w or", "l d",       sp + "wor ld",
      "s y",     "s t",       "e m",    "sy st",  "syst em", "u s",        "e r",       "us er",     "a s",
      "i s",     "as s",      "ass is", "a n",    "t a",     "n t",        "assis t",   "assist an", "assistan t",
      sp + " t", sp + "t he", "t h",    "th e",   sp + " a", nl + " " + nl};
  std::map<std::string, size_t> rank;
  for (size_t i = 0; i < merges.size(); ++i) rank.emplace(merges[i], i);
  // Each word becomes one token: the merges so far split it into pieces, as the tokenizer will,
  // and new merges, ranked after them, join the pieces from the left. Words after a space come
  // first, as they are the more frequent in running text.
  auto makeWhole = [&](const std::string& word) {
    std::vector<std::string> pieces;
    for (unsigned char c : word) pieces.push_back(byteSymbol(c));
    for (;;) {
      size_t best = SIZE_MAX, at = 0;
      for (size_t i = 0; i + 1 < pieces.size(); ++i)
        if (auto r = rank.find(pieces[i] + " " + pieces[i + 1]); r != rank.end() && r->second < best) {
          best = r->second;
          at = i;
        }
      if (best == SIZE_MAX) break;
      pieces[at] += pieces[at + 1];
      pieces.erase(pieces.begin() + static_cast<std::ptrdiff_t>(at) + 1);
    }
    for (size_t i = 1; i < pieces.size(); ++i) {
      std::string rule = pieces[0] + " " + pieces[i];
      if (rank.emplace(rule, merges.size()).second) merges.push_back(rule);
      pieces[0] += pieces[i];
    }
  };
  for (const char* role : {"system", "user", "assistant"}) makeWhole(role);
  for (const std::string& w : words) makeWhole(" " + w);
  for (const std::string& w : words) makeWhole(w);
  return merges;
}

std::vector<std::string> randomModelTokens(int vocab, bool chatMarkers, const std::vector<std::string>& words) {
  std::vector<std::string> tokens;
  for (int b = 0; b < 256; ++b) tokens.push_back(byteSymbol(b));
  for (const std::string& rule : randomModelMerges(words)) {
    const size_t space = rule.find(' ');
    std::string merged = rule.substr(0, space) + rule.substr(space + 1);
    if (std::find(tokens.begin(), tokens.end(), merged) == tokens.end()) tokens.push_back(merged);
  }
  const int markers = 3;
  int filler = 0;
  while (static_cast<int>(tokens.size()) < vocab - markers)
    tokens.push_back("<filler_" + std::to_string(filler++) + ">");
  tokens.push_back("<|endoftext|>");
  tokens.push_back(chatMarkers ? "<|im_start|>" : "<|start|>");
  tokens.push_back(chatMarkers ? "<|im_end|>" : "<|end|>");
  return tokens;
}

namespace {

uint32_t defaultType(const std::string& role, int layer) {
  using namespace GGMLType;
  const bool even = layer % 2 == 0;
  if (role == "token_embd") return q8_0;
  if (role == "output") return f16;
  if (role == "attn_q") return even ? q4K : q8_0;
  if (role == "attn_k") return f16;
  if (role == "attn_v") return q6K;
  if (role == "attn_output") return even ? q8_0 : q4K;
  if (role == "ffn_gate") return q4K;
  if (role == "ffn_up") return even ? f32 : q6K;
  return even ? q6K : q4K;  // ffn_down
}

// Matrices too large to quantize number by number are assembled from a pool of valid blocks.
struct BlockPool {
  std::vector<uint8_t> blocks;
  int count = 0, size = 0;
};

const BlockPool& poolFor(uint32_t type, float scale) {
  static std::map<std::pair<uint32_t, float>, BlockPool> pools;
  auto [it, fresh] = pools.try_emplace({type, scale});
  if (!fresh) return it->second;
  auto traits = GGMLType::traits(type);
  const int count = 4096;
  std::mt19937_64 rng(type * 7919 + 1);
  std::normal_distribution<float> normal(0.0f, scale);
  std::vector<float> x(static_cast<size_t>(count) * traits->blockLength);
  for (float& v : x) v = normal(rng);
  it->second = BlockPool{quantize(type, x.data(), static_cast<int64_t>(x.size())), count, traits->blockSize};
  return it->second;
}

}  // namespace

void writeRandomModel(const std::string& path, const RandomModel& model, uint64_t seed) {
  std::mt19937_64 rng(seed);
  auto typeOf = model.typeOf ? model.typeOf : defaultType;
  GGUFWriter w;
  w.omit = model.omit;
  const std::string a = model.arch;
  const std::vector<std::string> tokens = randomModelTokens(model.vocab, model.chatMarkers, model.words);
  w.addString("general.architecture", a);
  w.addString("general.name", "random " + a);
  w.addU32(a + ".block_count", model.layers);
  w.addU32(a + ".context_length", static_cast<uint32_t>(model.contextLength));
  w.addU32(a + ".embedding_length", model.embd);
  w.addU32(a + ".feed_forward_length", model.ff);
  w.addU32(a + ".attention.head_count", model.heads);
  w.addU32(a + ".attention.head_count_kv", model.kvHeads);
  if (model.headDim != model.embd / model.heads) w.addU32(a + ".attention.key_length", model.headDim);
  w.addF32(a + ".rope.freq_base", model.ropeBase);
  w.addF32(a + ".attention.layer_norm_rms_epsilon", 1e-6f);
  w.addString("tokenizer.ggml.model", "gpt2");
  w.addStrings("tokenizer.ggml.tokens", tokens);
  std::vector<uint8_t> types;  // token types: skipped by the reader, but must be skippable
  put<uint32_t>(types, 5);
  put<uint64_t>(types, tokens.size());
  for (size_t i = 0; i < tokens.size(); ++i) put<int32_t>(types, i + 3 >= tokens.size() ? 3 : 1);
  w.addRaw("tokenizer.ggml.token_type", 9, types);
  w.addStrings("tokenizer.ggml.merges", randomModelMerges(model.words));
  w.addU32("tokenizer.ggml.eos_token_id", static_cast<uint32_t>(tokens.size() - 3));
  for (const auto& [key, value] : model.overrides) w.addU64(key, value);

  auto matrix = [&](const std::string& name, const std::string& role, int layer, int64_t cols, int64_t rows) {
    const uint32_t type = typeOf(role, layer);
    const int64_t n = cols * rows;
    if (n >= model.pooledAbove && type != GGMLType::f32 && type != GGMLType::f16) {
      const BlockPool& pool = poolFor(type, model.weightScale);
      const int64_t blocks = n / GGMLType::traits(type)->blockLength;
      const uint64_t start = rng();
      w.addTensor(name, {cols, rows}, type, static_cast<uint64_t>(blocks) * pool.size,
                  [&pool, blocks, start](std::FILE* f) {
                    uint64_t s = start | 1;
                    std::vector<uint8_t> buf;
                    buf.reserve(1 << 20);
                    for (int64_t b = 0; b < blocks; ++b) {
                      s ^= s << 13, s ^= s >> 7, s ^= s << 17;
                      const uint8_t* blk = pool.blocks.data() + (s % pool.count) * pool.size;
                      buf.insert(buf.end(), blk, blk + pool.size);
                      if (buf.size() >= (1 << 20) - 256) {
                        std::fwrite(buf.data(), 1, buf.size(), f);
                        buf.clear();
                      }
                    }
                    std::fwrite(buf.data(), 1, buf.size(), f);
                  });
      return;
    }
    std::normal_distribution<float> normal(0.0f, model.weightScale);
    std::vector<float> x(static_cast<size_t>(n));
    for (float& v : x) v = normal(rng);
    w.addTensor(name, {cols, rows}, type, quantize(type, x.data(), n));
  };
  auto vector = [&](const std::string& name, int64_t size, float mean, float spread) {
    std::normal_distribution<float> normal(mean, spread);
    std::vector<float> x(static_cast<size_t>(size));
    for (float& v : x) v = normal(rng);
    w.addTensor(name, {size}, GGMLType::f32, quantize(GGMLType::f32, x.data(), size));
  };
  const int q = model.heads * model.headDim, kv = model.kvHeads * model.headDim;
  matrix("token_embd.weight", "token_embd", -1, model.embd,
         model.embeddingRows < 0 ? model.vocab : model.embeddingRows);
  vector("output_norm.weight", model.embd, 1.0f, 0.1f);
  if (!model.tiedOutput) matrix("output.weight", "output", -1, model.embd, model.vocab);
  for (int l = 0; l < model.layers; ++l) {
    const std::string p = "blk." + std::to_string(l) + ".";
    vector(p + "attn_norm.weight", model.embd, 1.0f, 0.1f);
    matrix(p + "attn_q.weight", "attn_q", l, model.embd, q);
    matrix(p + "attn_k.weight", "attn_k", l, model.embd, kv);
    matrix(p + "attn_v.weight", "attn_v", l, model.embd, kv);
    if (model.biases) {
      vector(p + "attn_q.bias", q, 0.0f, 0.2f);
      vector(p + "attn_k.bias", kv, 0.0f, 0.2f);
      vector(p + "attn_v.bias", kv, 0.0f, 0.2f);
    }
    matrix(p + "attn_output.weight", "attn_output", l, q, model.embd);
    vector(p + "ffn_norm.weight", model.embd, 1.0f, 0.1f);
    matrix(p + "ffn_gate.weight", "ffn_gate", l, model.embd, model.ff);
    matrix(p + "ffn_up.weight", "ffn_up", l, model.embd, model.ff);
    matrix(p + "ffn_down.weight", "ffn_down", l, model.ff, model.embd);
  }
  w.write(path);
}

}  // namespace skimlet::testing
