// Arm kernels with the SDOT instruction (four signed byte products summed into each 32-bit lane).
// Weights are unpacked to signed bytes, so no bias correction is needed.
#include "llm/quant_dot.h"

#if defined(__aarch64__) && defined(__ARM_FEATURE_DOTPROD)

#include <arm_neon.h>

#include "llm/dequant.h"
#include "llm/f16.h"
#include "llm/ggml_type.h"

namespace skimlet {

namespace {

void dotQ8_0(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out) {
  const int64_t nb = x.cols / 32;
  for (int i = 0; i < nt; ++i) {
    const int8_t* xq = x.rowQ(t0 + i);
    const float* xd = x.rowD(t0 + i);
    float32x4_t acc = vdupq_n_f32(0);
    for (int64_t b = 0; b < nb; ++b) {
      const uint8_t* blk = w + b * GGMLType::q8_0Block.blockSize;
      const int8_t* q = reinterpret_cast<const int8_t*>(blk + 2);
      int32x4_t s = vdotq_s32(vdupq_n_s32(0), vld1q_s8(q), vld1q_s8(xq + 32 * b));
      s = vdotq_s32(s, vld1q_s8(q + 16), vld1q_s8(xq + 32 * b + 16));
      acc = vmlaq_n_f32(acc, vcvtq_f32_s32(s), readHalf(blk) * xd[b]);
    }
    out[i] = vaddvq_f32(acc);
  }
}

void dotQ4K(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out) {
  const int64_t nb = x.cols / 256;
  const uint8x16_t low4 = vdupq_n_u8(0x0F);
  float acc[kDotTile] = {};
  for (int64_t b = 0; b < nb; ++b) {
    const uint8_t* blk = w + b * GGMLType::q4KBlock.blockSize;
    const float d = readHalf(blk), dmin = readHalf(blk + 2);
    uint32_t u[4];
    q4KScalesMins(blk + 4, u);
    const uint8_t* sc = reinterpret_cast<const uint8_t*>(u);
    const uint8_t* mn = sc + 8;
    int8x16_t wq[16];  // sub-block j is wq[2j], wq[2j + 1]
    for (int p = 0; p < 4; ++p) {
      for (int half = 0; half < 2; ++half) {
        const uint8x16_t q = vld1q_u8(blk + 16 + 32 * p + 16 * half);
        wq[4 * p + half] = vreinterpretq_s8_u8(vandq_u8(q, low4));
        wq[4 * p + 2 + half] = vreinterpretq_s8_u8(vshrq_n_u8(q, 4));
      }
    }
    for (int i = 0; i < nt; ++i) {
      const int8_t* q8 = x.rowQ(t0 + i) + 256 * b;
      const int16_t* sums = x.rowSums(t0 + i) + 16 * b;
      int sumScaled = 0, sumMins = 0;
      for (int j = 0; j < 8; ++j) {
        int32x4_t s = vdotq_s32(vdupq_n_s32(0), wq[2 * j], vld1q_s8(q8 + 32 * j));
        s = vdotq_s32(s, wq[2 * j + 1], vld1q_s8(q8 + 32 * j + 16));
        sumScaled += sc[j] * vaddvq_s32(s);
        sumMins += mn[j] * (sums[2 * j] + sums[2 * j + 1]);
      }
      acc[i] += x.rowD(t0 + i)[b] * (d * static_cast<float>(sumScaled) - dmin * static_cast<float>(sumMins));
    }
  }
  for (int i = 0; i < nt; ++i) out[i] = acc[i];
}

void dotQ6K(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out) {
  const int64_t nb = x.cols / 256;
  const uint8x16_t low4 = vdupq_n_u8(0x0F), low2 = vdupq_n_u8(0x03);
  const int8x16_t bias = vdupq_n_s8(32);
  float acc[kDotTile] = {};
  for (int64_t b = 0; b < nb; ++b) {
    const uint8_t* blk = w + b * GGMLType::q6KBlock.blockSize;
    const int8_t* sc = reinterpret_cast<const int8_t*>(blk + 192);
    const float d = readHalf(blk + 208);
    int8x16_t wq[16];  // run r of 16 values (scale sc[r]) is wq[r]
    for (int h = 0; h < 2; ++h) {
      for (int half = 0; half < 2; ++half) {
        const uint8x16_t ql0 = vld1q_u8(blk + 64 * h + 16 * half);
        const uint8x16_t ql1 = vld1q_u8(blk + 64 * h + 32 + 16 * half);
        const uint8x16_t qh = vld1q_u8(blk + 128 + 32 * h + 16 * half);
        auto make = [&](uint8x16_t lo, uint8x16_t hi2) {
          return vsubq_s8(vreinterpretq_s8_u8(vorrq_u8(lo, vshlq_n_u8(vandq_u8(hi2, low2), 4))), bias);
        };
        wq[8 * h + 0 + half] = make(vandq_u8(ql0, low4), qh);
        wq[8 * h + 2 + half] = make(vandq_u8(ql1, low4), vshrq_n_u8(qh, 2));
        wq[8 * h + 4 + half] = make(vshrq_n_u8(ql0, 4), vshrq_n_u8(qh, 4));
        wq[8 * h + 6 + half] = make(vshrq_n_u8(ql1, 4), vshrq_n_u8(qh, 6));
      }
    }
    for (int i = 0; i < nt; ++i) {
      const int8_t* q8 = x.rowQ(t0 + i) + 256 * b;
      int total = 0;
      for (int r = 0; r < 16; ++r) total += sc[r] * vaddvq_s32(vdotq_s32(vdupq_n_s32(0), wq[r], vld1q_s8(q8 + 16 * r)));
      acc[i] += x.rowD(t0 + i)[b] * d * static_cast<float>(total);
    }
  }
  for (int i = 0; i < nt; ++i) out[i] = acc[i];
}

}  // namespace

DotKernels neonDotKernels() { return {"neon-dotprod", dotQ8_0, dotQ4K, dotQ6K}; }

}  // namespace skimlet

#else

namespace skimlet {
DotKernels neonDotKernels() { return {}; }
}  // namespace skimlet

#endif
