// AVX-512 kernels for CPUs with VNNI: 64 weight bytes per step. K-quant sub-block scales are
// applied with vpdpwssd right after maddubs (two instructions per 64 products, where vpdpbusd
// followed by a 32-bit scale multiply would take three); Q8_0 blocks use vpdpbusd directly.
// Built with -mavx512f -mavx512bw -mavx512vl -mavx512vnni -mavx2 -mfma -mf16c.
#include "llm/quant_dot.h"

#if defined(__AVX512F__) && defined(__AVX512BW__) && defined(__AVX512VL__) && defined(__AVX512VNNI__)

#include <immintrin.h>

#include <cstring>

#include "llm/dequant.h"

// GCC 12's AVX-512 headers trip this warning on their own undefined-value helpers.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include "llm/f16.h"
#include "llm/ggml_type.h"

namespace skimlet {

namespace {

inline __m256i load256(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
inline __m512i load512(const void* p) { return _mm512_loadu_si512(p); }
inline __m512i join(__m256i lo, __m256i hi) { return _mm512_inserti64x4(_mm512_castsi256_si512(lo), hi, 1); }

inline float hsum(__m256 v) {
  __m128 s = _mm_add_ps(_mm256_castps256_ps128(v), _mm256_extractf128_ps(v, 1));
  s = _mm_add_ps(s, _mm_movehl_ps(s, s));
  s = _mm_add_ss(s, _mm_movehdup_ps(s));
  return _mm_cvtss_f32(s);
}

void dotQ8_0(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out) {
  const int64_t nb = x.cols / 32;
  for (int i = 0; i < nt; ++i) {
    const int8_t* xq = x.rowQ(t0 + i);
    const float* xd = x.rowD(t0 + i);
    __m256 acc = _mm256_setzero_ps();
    for (int64_t b = 0; b < nb; ++b) {
      const uint8_t* blk = w + b * GGMLType::q8_0Block.blockSize;
      const __m256i q = load256(blk + 2);
      // vpdpbusd wants unsigned weights: move the weight's sign onto the activation.
      const __m256i sum =
          _mm256_dpbusd_epi32(_mm256_setzero_si256(), _mm256_abs_epi8(q), _mm256_sign_epi8(load256(xq + 32 * b), q));
      acc = _mm256_fmadd_ps(_mm256_cvtepi32_ps(sum), _mm256_set1_ps(readHalf(blk) * xd[b]), acc);
    }
    out[i] = hsum(acc);
  }
}

// Both scales of a block, d and dmin (or d alone), as floats in one conversion.
inline __m128 halves(const uint8_t* p, int count) {
  uint32_t v = 0;
  std::memcpy(&v, p, count * 2);
  return _mm_cvtph_ps(_mm_cvtsi32_si128(static_cast<int>(v)));
}

// q4KScalesMins in one register: bytes 0-7 the scales, 8-15 the minimums. Kept in registers,
// since four scalar stores read back as one vector would miss store forwarding.
inline __m128i q4KScalesMinsVec(const uint8_t* s) {
  // Reads four bytes past them (still inside the block); that word is never used.
  const __m128i w = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
  const __m128i lowSix = _mm_srlv_epi32(_mm_shuffle_epi32(w, _MM_SHUFFLE(2, 1, 2, 0)), _mm_set_epi32(4, 0, 0, 0));
  const __m128i low = _mm_and_si128(lowSix, _mm_set_epi32(0x0F0F0F0F, 0x3F3F3F3F, 0x0F0F0F0F, 0x3F3F3F3F));
  const __m128i high = _mm_and_si128(_mm_srli_epi32(_mm_shuffle_epi32(w, _MM_SHUFFLE(1, 1, 0, 0)), 2),
                                     _mm_set_epi32(0x30303030, 0, 0x30303030, 0));
  return _mm_or_si128(low, high);
}

void dotQ4K(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out) {
  const int64_t nb = x.cols / 256;
  const __m512i low4 = _mm512_set1_epi8(0x0F);
  // Step p covers sub-blocks 2p and 2p + 1: word lanes 0-15 take scale 2p, lanes 16-31 scale 2p + 1.
  __m512i scaleIndex[4];
  for (int p = 0; p < 4; ++p) {
    alignas(64) int16_t idx[32];
    for (int l = 0; l < 32; ++l) idx[l] = static_cast<int16_t>(2 * p + l / 16);
    scaleIndex[p] = _mm512_load_si512(idx);
  }
  __m512 acc[kDotTile];
  __m256 accMin[kDotTile];
  for (int i = 0; i < nt; ++i) {
    acc[i] = _mm512_setzero_ps();
    accMin[i] = _mm256_setzero_ps();
  }
  for (int64_t b = 0; b < nb; ++b) {
    const uint8_t* blk = w + b * GGMLType::q4KBlock.blockSize;
    const __m128 dm = halves(blk, 2);
    const float d = _mm_cvtss_f32(dm), dmin = _mm_cvtss_f32(_mm_movehdup_ps(dm));
    const __m128i packed = q4KScalesMinsVec(blk + 4);
    const __m512i scales = _mm512_castsi128_si512(_mm_cvtepu8_epi16(packed));
    // Each minimum covers two runs of 16 activation sums.
    const __m256i minsPaired = _mm256_cvtepu8_epi16(_mm_unpackhi_epi8(packed, packed));
    // The 32 bytes of a step go to both halves of a register; the upper half takes the high
    // nibbles, so 64 consecutive values line up with one 64-byte activation load.
    __m512i wq[4], ws[4];
    for (int p = 0; p < 4; ++p) {
      const __m512i q = _mm512_broadcast_i64x4(load256(blk + 16 + 32 * p));
      wq[p] = _mm512_and_si512(_mm512_mask_srli_epi16(q, 0xFFFF0000u, q, 4), low4);
      ws[p] = _mm512_permutexvar_epi16(scaleIndex[p], scales);
    }
    for (int i = 0; i < nt; ++i) {
      const int8_t* q8 = x.rowQ(t0 + i) + 256 * b;
      __m512i isum = _mm512_setzero_si512();
      for (int p = 0; p < 4; ++p)
        isum = _mm512_dpwssd_epi32(isum, _mm512_maddubs_epi16(wq[p], load512(q8 + 64 * p)), ws[p]);
      const float dx = x.rowD(t0 + i)[b];
      acc[i] = _mm512_fmadd_ps(_mm512_cvtepi32_ps(isum), _mm512_set1_ps(d * dx), acc[i]);
      const __m256i m = _mm256_madd_epi16(load256(x.rowSums(t0 + i) + 16 * b), minsPaired);
      accMin[i] = _mm256_fmadd_ps(_mm256_cvtepi32_ps(m), _mm256_set1_ps(dmin * dx), accMin[i]);
    }
  }
  for (int i = 0; i < nt; ++i) out[i] = _mm512_reduce_add_ps(acc[i]) - hsum(accMin[i]);
}

void dotQ6K(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out) {
  const int64_t nb = x.cols / 256;
  const __m512i low4 = _mm512_set1_epi8(0x0F), low2 = _mm512_set1_epi8(0x03);
  // Lane l of step s (64 values, four runs of 16) takes the scale of run 4s + l / 8.
  __m512i scaleIndex[4];
  for (int s = 0; s < 4; ++s) {
    alignas(64) int16_t idx[32];
    for (int l = 0; l < 32; ++l) idx[l] = static_cast<int16_t>(4 * s + l / 8);
    scaleIndex[s] = _mm512_load_si512(idx);
  }
  __m512 acc[kDotTile];
  for (int i = 0; i < nt; ++i) acc[i] = _mm512_setzero_ps();
  for (int64_t b = 0; b < nb; ++b) {
    const uint8_t* blk = w + b * GGMLType::q6KBlock.blockSize;
    const float d = _mm_cvtss_f32(halves(blk + 208, 1));
    const __m256i scales = _mm256_cvtepi8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(blk + 192)));
    const __m512i scales512 = _mm512_castsi256_si512(scales);
    // Stored biased by 32 (0..63) as maddubs needs; the bias comes off through the activation sums.
    __m512i wq[4], ws[4];
    for (int h = 0; h < 2; ++h) {
      const __m512i ql = load512(blk + 64 * h);
      const __m256i qh = load256(blk + 128 + 32 * h);
      const __m512i qhPair = join(qh, _mm256_srli_epi16(qh, 2));
      wq[2 * h] = _mm512_or_si512(_mm512_and_si512(ql, low4), _mm512_slli_epi16(_mm512_and_si512(qhPair, low2), 4));
      wq[2 * h + 1] = _mm512_or_si512(_mm512_and_si512(_mm512_srli_epi16(ql, 4), low4),
                                      _mm512_slli_epi16(_mm512_and_si512(_mm512_srli_epi16(qhPair, 4), low2), 4));
    }
    for (int s = 0; s < 4; ++s) ws[s] = _mm512_permutexvar_epi16(scaleIndex[s], scales512);
    for (int i = 0; i < nt; ++i) {
      const int8_t* q8 = x.rowQ(t0 + i) + 256 * b;
      __m512i isum = _mm512_setzero_si512();
      for (int s = 0; s < 4; ++s)
        isum = _mm512_dpwssd_epi32(isum, _mm512_maddubs_epi16(wq[s], load512(q8 + 64 * s)), ws[s]);
      const __m256i bias = _mm256_madd_epi16(load256(x.rowSums(t0 + i) + 16 * b), scales);
      isum = _mm512_sub_epi32(isum, _mm512_zextsi256_si512(_mm256_slli_epi32(bias, 5)));
      acc[i] = _mm512_fmadd_ps(_mm512_cvtepi32_ps(isum), _mm512_set1_ps(d * x.rowD(t0 + i)[b]), acc[i]);
    }
  }
  for (int i = 0; i < nt; ++i) out[i] = _mm512_reduce_add_ps(acc[i]);
}

}  // namespace

DotKernels avx512DotKernels() { return {"avx512-vnni", dotQ8_0, dotQ4K, dotQ6K}; }

}  // namespace skimlet

#else

namespace skimlet {
DotKernels avx512DotKernels() { return {}; }
}  // namespace skimlet

#endif
