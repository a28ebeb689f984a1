#include "llm/transformer.h"

#if defined(__APPLE__)
#include <Accelerate/Accelerate.h>
#else
#include <cblas.h>
#endif

#include <algorithm>
#include <cmath>

#include "llm/dequant.h"
#include "llm/matmul.h"
#include "llm/quant_dot.h"
#include "llm/softmax.h"
#include "llm/thread_pool.h"

namespace skimlet {

namespace {

void rmsNorm(const float* x, const std::vector<float>& w, int n, int dim, float eps, float* out) {
  for (int i = 0; i < n; ++i) {
    const float* xi = x + static_cast<size_t>(i) * dim;
    float* oi = out + static_cast<size_t>(i) * dim;
    float ss = 0;
    for (int k = 0; k < dim; ++k) ss += xi[k] * xi[k];
    const float scale = 1.0f / std::sqrt(ss / dim + eps);
    for (int k = 0; k < dim; ++k) oi[k] = xi[k] * scale * w[k];
  }
}

void addRows(float* x, const float* y, size_t count) {
  for (size_t k = 0; k < count; ++k) x[k] += y[k];
}

void addBias(float* y, const std::vector<float>& bias, int n, size_t stride) {
  if (bias.empty()) return;
  for (int i = 0; i < n; ++i)
    for (size_t k = 0; k < bias.size(); ++k) y[i * stride + k] += bias[k];
}

// Rotates the two halves of every head of one row against each other.
void rotate(float* row, int heads, int hd, const float* cosines, const float* sines) {
  const int half = hd / 2;
  for (int h = 0; h < heads; ++h) {
    float* a = row + static_cast<size_t>(h) * hd;
    float* b = a + half;
    for (int j = 0; j < half; ++j) {
      const float x = a[j], y = b[j];
      a[j] = x * cosines[j] - y * sines[j];
      b[j] = x * sines[j] + y * cosines[j];
    }
  }
}

}  // namespace

Transformer::Transformer(const std::string& path, int maxContext) : file(std::make_unique<GGUFFile>(path)) {
  load(maxContext);
  file->readAhead();
}

Transformer::~Transformer() = default;

void Transformer::load(int maxContext) {
  const GGUFFile& f = *file;
  arch = f.stringValue("general.architecture").value_or("");
  if (arch != "qwen2" && arch != "llama") throw GGUFError("Unsupported model architecture \u201C" + arch + "\u201D");
  // Hyper-parameters are read wide and bounded before anything is sized by them: a corrupt
  // file must fail with a message, not allocate gigabytes or wrap around to a plausible value.
  // The bounds are several times the largest open models'.
  auto bounded = [&](const std::string& name, std::optional<int64_t> v, int64_t most) {
    if (!v) throw GGUFError("Missing metadata " + arch + "." + name);
    if (*v < 1 || *v > most) throw GGUFError("Unsupported model shape");
    return static_cast<int>(*v);
  };
  auto key = [&](const std::string& name) { return f.intValue(arch + "." + name); };
  nLayer = bounded("block_count", key("block_count"), 4096);
  nEmbd = bounded("embedding_length", key("embedding_length"), 1 << 17);
  nFF = bounded("feed_forward_length", key("feed_forward_length"), 1 << 20);
  nHead = bounded("attention.head_count", key("attention.head_count"), 4096);
  nKV = bounded("attention.head_count_kv", key("attention.head_count_kv").value_or(nHead), 4096);
  hd = bounded("attention.key_length", key("attention.key_length").value_or(nEmbd / nHead), 4096);
  const int64_t fileContext = key("context_length").value_or(maxContext);
  if (fileContext < 1 || maxContext < 1) throw GGUFError("Unsupported model shape");
  ctx = static_cast<int>(std::min<int64_t>(fileContext, maxContext));
  if (hd % 2 != 0 || nHead % nKV != 0) throw GGUFError("Unsupported model shape");
  // Every layer has at least nine tensors of its own, so a block count the directory cannot
  // hold is refused before a layer is made.
  if (static_cast<int64_t>(nLayer) * 9 > static_cast<int64_t>(f.tensors.size()))
    throw GGUFError("Unsupported model shape");
  eps = f.floatValue(arch + ".attention.layer_norm_rms_epsilon").value_or(1e-6f);
  const double base = f.floatValue(arch + ".rope.freq_base").value_or(10000.0f);
  invFreq.resize(hd / 2);
  for (int i = 0; i < hd / 2; ++i) invFreq[i] = static_cast<float>(std::pow(base, -2.0 * i / hd));

  const auto* tokens = f.stringList("tokenizer.ggml.tokens");
  const auto* merges = f.stringList("tokenizer.ggml.merges");
  if (!tokens || !merges) throw GGUFError("Model has no BPE tokenizer");
  tokenizer_ = std::make_unique<BPETokenizer>(*tokens, *merges);
  imStart = tokenizer_->tokenId("<|im_start|>");
  imEnd = tokenizer_->tokenId("<|im_end|>");
  if (imStart < 0 || imEnd < 0) throw GGUFError("Model isn't a ChatML-style instruct model");
  stopIDs = {imEnd};
  if (auto eos = f.intValue("tokenizer.ggml.eos_token_id")) stopIDs.insert(static_cast<int>(*eos));
  if (int id = tokenizer_->tokenId("<|endoftext|>"); id >= 0) stopIDs.insert(id);

  // Shapes are checked against the hyper-parameters so that a malformed file fails here rather
  // than reading past a tensor later.
  auto matrix = [&](const std::string& name, int64_t rows, int64_t cols) {
    QMatrix m = f.matrix(name);
    if ((rows >= 0 && m.rows != rows) || m.cols != cols) throw GGUFError("Tensor " + name + " has the wrong shape");
    return m;
  };
  auto vector = [&](const std::string& name, size_t size) {
    std::vector<float> v = f.vector(name);
    if (v.size() != size) throw GGUFError("Tensor " + name + " has the wrong shape");
    return v;
  };
  embd = matrix("token_embd.weight", -1, nEmbd);
  // Every token the tokenizer can produce, and every one the output can pick, is a row of
  // the embedding.
  if (embd.rows < static_cast<int64_t>(tokens->size())) throw GGUFError("Tensor token_embd.weight has the wrong shape");
  outW = f.hasTensor("output.weight") ? matrix("output.weight", embd.rows, nEmbd) : embd;
  outNorm = vector("output_norm.weight", nEmbd);
  // Both fit an int: each is at most 4096 × 4096.
  const int qDim = nHead * hd;
  layers.reserve(nLayer);
  for (int i = 0; i < nLayer; ++i) {
    const std::string p = "blk." + std::to_string(i) + ".";
    Layer& L = layers.emplace_back();
    // The matrices come first: their shapes are checked without reading anything, while each
    // vector is converted (and sized by its hyper-parameter) as it is read.
    L.wq = matrix(p + "attn_q.weight", qDim, nEmbd);
    L.wk = matrix(p + "attn_k.weight", kvDim(), nEmbd);
    L.wv = matrix(p + "attn_v.weight", kvDim(), nEmbd);
    L.wo = matrix(p + "attn_output.weight", nEmbd, qDim);
    L.wg = matrix(p + "ffn_gate.weight", nFF, nEmbd);
    L.wu = matrix(p + "ffn_up.weight", nFF, nEmbd);
    L.wd = matrix(p + "ffn_down.weight", nEmbd, nFF);
    L.attnNorm = vector(p + "attn_norm.weight", nEmbd);
    L.ffnNorm = vector(p + "ffn_norm.weight", nEmbd);
    if (f.hasTensor(p + "attn_q.bias")) L.bq = vector(p + "attn_q.bias", qDim);
    if (f.hasTensor(p + "attn_k.bias")) L.bk = vector(p + "attn_k.bias", kvDim());
    if (f.hasTensor(p + "attn_v.bias")) L.bv = vector(p + "attn_v.bias", kvDim());
  }
  // Left uninitialised: only positions already written are ever read, and untouched pages of a
  // large allocation cost no memory until the conversation reaches them.
  const size_t cacheFloats = static_cast<size_t>(ctx) * kvDim();
  for (int i = 0; i < nLayer; ++i) {
    kCache.push_back(std::make_unique_for_overwrite<float[]>(cacheFloats));
    vCache.push_back(std::make_unique_for_overwrite<float[]>(cacheFloats));
  }
}

std::vector<int> Transformer::chatPrompt(const std::string& system, const std::string& user) {
  std::vector<int> ids;
  auto text = [&](const std::string& s) {
    auto t = tokenizer_->encode(s);
    ids.insert(ids.end(), t.begin(), t.end());
  };
  ids.push_back(imStart);
  text("system\n" + system);
  ids.push_back(imEnd);
  text("\n");
  ids.push_back(imStart);
  text("user\n" + user);
  ids.push_back(imEnd);
  text("\n");
  ids.push_back(imStart);
  text("assistant\n");
  return ids;
}

void Transformer::attention(int layer, int n, int start, const float* q, float* out) {
  const int total = start + n;
  const int qDim = nHead * hd;
  const int group = nHead / nKV;
  const float scale = 1.0f / std::sqrt(static_cast<float>(hd));
  std::vector<float> scores(static_cast<size_t>(nHead) * n * total);
  const float* keys = kCache[layer].get();
  const float* values = vCache[layer].get();
  if (n == 1) {
    // One query row per head: plain loops. A matrix product call per head costs more than the
    // arithmetic here, and a BLAS copies the whole strided key block for it. The heads of one
    // key/value head go together, in as few tasks as still give every core some.
    const AttendRow attend = dotKernels().attendRow;
    int perTask = group;
    while (perTask % 2 == 0 && nHead / perTask < 2 * ThreadPool::shared().threads()) perTask /= 2;
    ThreadPool::shared().parallelFor(nHead / perTask, [&](int64_t task) {
      const int head = static_cast<int>(task) * perTask;
      const size_t kvOffset = static_cast<size_t>(head / group) * hd;
      attend(q + head * hd, perTask, keys + kvOffset, values + kvOffset, total, kvDim(), hd, scale,
             scores.data() + static_cast<size_t>(head) * total, out + head * hd);
    });
    return;
  }
  ThreadPool::shared().parallelFor(nHead, [&](int64_t head) {
    const int kvHead = static_cast<int>(head) / group;
    float* s = scores.data() + static_cast<size_t>(head) * n * total;
    cblas_sgemm(CblasRowMajor, CblasNoTrans, CblasTrans, n, total, hd, scale, q + head * hd, qDim, keys + kvHead * hd,
                kvDim(), 0.0f, s, total);
    for (int i = 0; i < n; ++i) {
      float* row = s + static_cast<size_t>(i) * total;
      const int visible = start + i + 1;
      softmaxInPlace(row, visible);
      std::fill(row + visible, row + total, 0.0f);
    }
    cblas_sgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, n, hd, total, 1.0f, s, total, values + kvHead * hd, kvDim(),
                0.0f, out + head * hd, qDim);
  });
}

std::vector<float> Transformer::forward(std::span<const int> tokens, int start) { return run(tokens, start, 1); }

std::vector<float> Transformer::forwardAll(std::span<const int> tokens, int start) {
  return run(tokens, start, static_cast<int>(tokens.size()));
}

std::vector<float> Transformer::run(std::span<const int> tokens, int start, int outputs) {
  const int n = static_cast<int>(tokens.size());
  if (n == 0) return {};
  outputs = std::clamp(outputs, 1, n);
  const size_t E = nEmbd, Q = static_cast<size_t>(nHead) * hd, KV = kvDim(), F = nFF;
  std::vector<float> x(n * E), h(n * E), q(n * Q), att(n * Q), tmp(n * E), g(n * F), u(n * F);
  for (int i = 0; i < n; ++i) {
    const int id = tokens[i];
    if (id >= 0 && id < embd.rows) dequantRows(embd, id, 1, x.data() + i * E);
  }
  // Rotation angles of the rows' positions, shared by every layer.
  const int half = hd / 2;
  std::vector<float> cosines(static_cast<size_t>(n) * half), sines(static_cast<size_t>(n) * half);
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < half; ++j) {
      const float angle = invFreq[j] * static_cast<float>(start + i);
      cosines[i * half + j] = std::cos(angle);
      sines[i * half + j] = std::sin(angle);
    }

  for (int l = 0; l < nLayer; ++l) {
    const Layer& L = layers[l];
    rmsNorm(x.data(), L.attnNorm, n, nEmbd, eps, h.data());
    // Keys and values land straight in the cache rows of their positions.
    float* k = kCache[l].get() + static_cast<size_t>(start) * KV;
    float* v = vCache[l].get() + static_cast<size_t>(start) * KV;
    const MatmulJob qkv[] = {{h.data(), &L.wq, q.data()}, {h.data(), &L.wk, k}, {h.data(), &L.wv, v}};
    matmulAll(qkv, n);
    addBias(q.data(), L.bq, n, Q);
    addBias(k, L.bk, n, KV);
    addBias(v, L.bv, n, KV);
    for (int i = 0; i < n; ++i) {
      rotate(q.data() + i * Q, nHead, hd, &cosines[i * half], &sines[i * half]);
      rotate(k + i * KV, nKV, hd, &cosines[i * half], &sines[i * half]);
    }
    attention(l, n, start, q.data(), att.data());
    matmul(att.data(), n, L.wo, tmp.data());
    addRows(x.data(), tmp.data(), n * E);

    rmsNorm(x.data(), L.ffnNorm, n, nEmbd, eps, h.data());
    const MatmulJob gateUp[] = {{h.data(), &L.wg, g.data()}, {h.data(), &L.wu, u.data()}};
    matmulAll(gateUp, n);
    // Thousands of exponentials per token: shared out rather than left to one core.
    constexpr size_t kGateChunk = 2048;
    const GatedActivation gated = dotKernels().gated;
    ThreadPool::shared().parallelFor(static_cast<int64_t>((n * F + kGateChunk - 1) / kGateChunk), [&](int64_t c) {
      const size_t begin = static_cast<size_t>(c) * kGateChunk;
      gated(g.data() + begin, u.data() + begin, std::min(n * F, begin + kGateChunk) - begin);
    });
    matmul(g.data(), n, L.wd, tmp.data());
    addRows(x.data(), tmp.data(), n * E);
  }
  rmsNorm(x.data() + (n - outputs) * E, outNorm, outputs, nEmbd, eps, h.data());
  std::vector<float> logits(static_cast<size_t>(outputs) * outW.rows);
  matmul(h.data(), outputs, outW, logits.data());
  return logits;
}

}  // namespace skimlet
