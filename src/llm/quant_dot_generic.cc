// Plain C++ kernels: the reference the vector kernels are checked against, and the fallback on
// CPUs without a vector kernel.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "llm/dequant.h"
#include "llm/f16.h"
#include "llm/ggml_type.h"
#include "llm/quant_dot.h"
#include "llm/softmax.h"

namespace skimlet {

namespace {

void dotQ8_0(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out) {
  const int64_t nb = x.cols / 32;
  for (int i = 0; i < nt; ++i) {
    const int8_t* xq = x.rowQ(t0 + i);
    const float* xd = x.rowD(t0 + i);
    float acc = 0;
    for (int64_t b = 0; b < nb; ++b) {
      const uint8_t* blk = w + b * GGMLType::q8_0Block.blockSize;
      const int8_t* q = reinterpret_cast<const int8_t*>(blk + 2);
      int sum = 0;
      for (int l = 0; l < 32; ++l) sum += q[l] * xq[32 * b + l];
      acc += readHalf(blk) * xd[b] * static_cast<float>(sum);
    }
    out[i] = acc;
  }
}

void dotQ4K(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out) {
  const int64_t nb = x.cols / 256;
  for (int i = 0; i < nt; ++i) {
    const int8_t* xq = x.rowQ(t0 + i);
    const float* xd = x.rowD(t0 + i);
    const int16_t* xs = x.rowSums(t0 + i);
    float acc = 0;
    for (int64_t b = 0; b < nb; ++b) {
      const uint8_t* blk = w + b * GGMLType::q4KBlock.blockSize;
      const uint8_t* qs = blk + 16;
      const int8_t* q8 = xq + 256 * b;
      int sumScaled = 0, sumMins = 0;
      for (int j = 0; j < 8; ++j) {
        uint8_t sc, m;
        q4KScaleMin(j, blk + 4, sc, m);
        const uint8_t* q = qs + 32 * (j / 2);
        const int shift = (j & 1) * 4;
        int s = 0;
        for (int l = 0; l < 32; ++l) s += ((q[l] >> shift) & 15) * q8[32 * j + l];
        sumScaled += sc * s;
        sumMins += m * (xs[16 * b + 2 * j] + xs[16 * b + 2 * j + 1]);
      }
      acc += xd[b] * (readHalf(blk) * sumScaled - readHalf(blk + 2) * sumMins);
    }
    out[i] = acc;
  }
}

void dotQ6K(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out) {
  const int64_t nb = x.cols / 256;
  for (int i = 0; i < nt; ++i) {
    const int8_t* xq = x.rowQ(t0 + i);
    const float* xd = x.rowD(t0 + i);
    float acc = 0;
    for (int64_t b = 0; b < nb; ++b) {
      const uint8_t* blk = w + b * GGMLType::q6KBlock.blockSize;
      const int8_t* sc = reinterpret_cast<const int8_t*>(blk + 192);
      const int8_t* q8 = xq + 256 * b;
      int sub[16] = {};
      for (int h = 0; h < 2; ++h) {
        const uint8_t* ql = blk + 64 * h;
        const uint8_t* qh = blk + 128 + 32 * h;
        const int8_t* xh = q8 + 128 * h;
        int* s = sub + 8 * h;
        for (int l = 0; l < 32; ++l) {
          const int is = l / 16;
          s[is] += (((ql[l] & 15) | ((qh[l] & 3) << 4)) - 32) * xh[l];
          s[is + 2] += (((ql[l + 32] & 15) | (((qh[l] >> 2) & 3) << 4)) - 32) * xh[l + 32];
          s[is + 4] += (((ql[l] >> 4) | (((qh[l] >> 4) & 3) << 4)) - 32) * xh[l + 64];
          s[is + 6] += (((ql[l + 32] >> 4) | (((qh[l] >> 6) & 3) << 4)) - 32) * xh[l + 96];
        }
      }
      int total = 0;
      for (int k = 0; k < 16; ++k) total += sc[k] * sub[k];
      acc += xd[b] * readHalf(blk + 208) * static_cast<float>(total);
    }
    out[i] = acc;
  }
}

void attendRow(const float* q, int heads, const float* keys, const float* values, int total, size_t stride, int hd,
               float scale, float* s, float* out) {
  for (int j = 0; j < total; ++j) {
    const float* k = keys + static_cast<size_t>(j) * stride;
    for (int h = 0; h < heads; ++h) {
      float sum = 0;
      for (int i = 0; i < hd; ++i) sum += q[h * hd + i] * k[i];
      s[h * total + j] = scale * sum;
    }
  }
  for (int h = 0; h < heads; ++h) softmaxInPlace(s + h * total, total);
  std::fill(out, out + heads * hd, 0.0f);
  for (int j = 0; j < total; ++j) {
    const float* v = values + static_cast<size_t>(j) * stride;
    for (int h = 0; h < heads; ++h)
      for (int i = 0; i < hd; ++i) out[h * hd + i] += s[h * total + j] * v[i];
  }
}

void gated(float* g, const float* u, size_t n) {
  for (size_t i = 0; i < n; ++i) g[i] = g[i] / (1.0f + std::exp(-g[i])) * u[i];
}

}  // namespace

DotKernels genericDotKernels() { return {"generic", dotQ8_0, dotQ4K, dotQ6K, attendRow, gated}; }

}  // namespace skimlet
