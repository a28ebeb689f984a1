// AVX2 kernels: unsigned weight bytes times signed activation bytes with maddubs, pairs widened
// and scaled by the sub-block scale with madd. Built with -mavx2 -mfma -mf16c.
#include "llm/quant_dot.h"

#if defined(__AVX2__) && defined(__FMA__)

#include <immintrin.h>

#include "llm/dequant.h"
#include "llm/f16.h"

namespace skimlet {

namespace {

inline float hsum(__m256 v) {
  __m128 s = _mm_add_ps(_mm256_castps256_ps128(v), _mm256_extractf128_ps(v, 1));
  s = _mm_add_ps(s, _mm_movehl_ps(s, s));
  s = _mm_add_ss(s, _mm_movehdup_ps(s));
  return _mm_cvtss_f32(s);
}

inline __m256i load(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }

void dotQ8_0(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out) {
  const int64_t nb = x.cols / 32;
  const __m256i ones = _mm256_set1_epi16(1);
  for (int i = 0; i < nt; ++i) {
    const int8_t* xq = x.rowQ(t0 + i);
    const float* xd = x.rowD(t0 + i);
    __m256 acc = _mm256_setzero_ps();
    for (int64_t b = 0; b < nb; ++b) {
      const uint8_t* blk = w + b * 34;
      const __m256i q = load(blk + 2);
      // maddubs wants its first operand unsigned: move the weight's sign onto the activation.
      const __m256i prod = _mm256_maddubs_epi16(_mm256_sign_epi8(q, q), _mm256_sign_epi8(load(xq + 32 * b), q));
      const __m256i sum = _mm256_madd_epi16(prod, ones);
      acc = _mm256_fmadd_ps(_mm256_cvtepi32_ps(sum), _mm256_set1_ps(readHalf(blk) * xd[b]), acc);
    }
    out[i] = hsum(acc);
  }
}

void dotQ4K(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out) {
  const int64_t nb = x.cols / 256;
  const __m256i low4 = _mm256_set1_epi8(0x0F);
  __m256 acc[kDotTile], accMin[kDotTile];
  for (int i = 0; i < nt; ++i) acc[i] = accMin[i] = _mm256_setzero_ps();
  for (int64_t b = 0; b < nb; ++b) {
    const uint8_t* blk = w + b * 144;
    const float d = readHalf(blk), dmin = readHalf(blk + 2);
    uint32_t u[4];
    q4KScalesMins(blk + 4, u);
    const uint8_t* sc = reinterpret_cast<const uint8_t*>(u);
    const __m128i mins = _mm_cvtepu8_epi16(_mm_set_epi32(0, 0, static_cast<int>(u[3]), static_cast<int>(u[2])));
    // Each minimum covers two runs of 16 activation sums.
    const __m256i minsPaired = _mm256_set_m128i(_mm_unpackhi_epi16(mins, mins), _mm_unpacklo_epi16(mins, mins));
    __m256i wq[8];
    for (int p = 0; p < 4; ++p) {
      const __m256i q = load(blk + 16 + 32 * p);
      wq[2 * p] = _mm256_and_si256(q, low4);
      wq[2 * p + 1] = _mm256_and_si256(_mm256_srli_epi16(q, 4), low4);
    }
    for (int i = 0; i < nt; ++i) {
      const int8_t* q8 = x.rowQ(t0 + i) + 256 * b;
      __m256i isum = _mm256_setzero_si256();
      for (int j = 0; j < 8; ++j) {
        const __m256i prod = _mm256_maddubs_epi16(wq[j], load(q8 + 32 * j));
        isum = _mm256_add_epi32(isum, _mm256_madd_epi16(prod, _mm256_set1_epi16(sc[j])));
      }
      const float dx = x.rowD(t0 + i)[b];
      acc[i] = _mm256_fmadd_ps(_mm256_cvtepi32_ps(isum), _mm256_set1_ps(d * dx), acc[i]);
      const __m256i m = _mm256_madd_epi16(load(x.rowSums(t0 + i) + 16 * b), minsPaired);
      accMin[i] = _mm256_fmadd_ps(_mm256_cvtepi32_ps(m), _mm256_set1_ps(dmin * dx), accMin[i]);
    }
  }
  for (int i = 0; i < nt; ++i) out[i] = hsum(acc[i]) - hsum(accMin[i]);
}

void dotQ6K(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out) {
  const int64_t nb = x.cols / 256;
  const __m256i low4 = _mm256_set1_epi8(0x0F), low2 = _mm256_set1_epi8(0x03);
  __m256 acc[kDotTile];
  for (int i = 0; i < nt; ++i) acc[i] = _mm256_setzero_ps();
  for (int64_t b = 0; b < nb; ++b) {
    const uint8_t* blk = w + b * 210;
    const int8_t* sc = reinterpret_cast<const int8_t*>(blk + 192);
    const float d = readHalf(blk + 208);
    const __m256i scales = _mm256_cvtepi8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(sc)));
    // Values are stored biased by 32 (0..63), which maddubs needs; the bias is taken off below
    // through the activation sums.
    __m256i wq[8], ws[8];
    for (int h = 0; h < 2; ++h) {
      const __m256i ql0 = load(blk + 64 * h), ql1 = load(blk + 64 * h + 32);
      const __m256i qh = load(blk + 128 + 32 * h);
      auto high = [&](int shift) { return _mm256_slli_epi16(_mm256_and_si256(_mm256_srli_epi16(qh, shift), low2), 4); };
      wq[4 * h + 0] = _mm256_or_si256(_mm256_and_si256(ql0, low4), high(0));
      wq[4 * h + 1] = _mm256_or_si256(_mm256_and_si256(ql1, low4), high(2));
      wq[4 * h + 2] = _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(ql0, 4), low4), high(4));
      wq[4 * h + 3] = _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(ql1, 4), low4), high(6));
    }
    for (int k = 0; k < 8; ++k)  // 32 values: two runs of 16, each with its own scale
      ws[k] = _mm256_set_m128i(_mm_set1_epi16(sc[2 * k + 1]), _mm_set1_epi16(sc[2 * k]));
    for (int i = 0; i < nt; ++i) {
      const int8_t* q8 = x.rowQ(t0 + i) + 256 * b;
      __m256i isum = _mm256_setzero_si256();
      for (int k = 0; k < 8; ++k)
        isum = _mm256_add_epi32(isum, _mm256_madd_epi16(_mm256_maddubs_epi16(wq[k], load(q8 + 32 * k)), ws[k]));
      const __m256i bias = _mm256_madd_epi16(load(x.rowSums(t0 + i) + 16 * b), scales);
      isum = _mm256_sub_epi32(isum, _mm256_slli_epi32(bias, 5));
      acc[i] = _mm256_fmadd_ps(_mm256_cvtepi32_ps(isum), _mm256_set1_ps(d * x.rowD(t0 + i)[b]), acc[i]);
    }
  }
  for (int i = 0; i < nt; ++i) out[i] = hsum(acc[i]);
}

}  // namespace

DotKernels avx2DotKernels() { return {"avx2", dotQ8_0, dotQ4K, dotQ6K}; }

}  // namespace skimlet

#else

namespace skimlet {
DotKernels avx2DotKernels() { return {}; }
}  // namespace skimlet

#endif
