// AVX2 kernels: unsigned weight bytes times signed activation bytes with maddubs, pairs widened
// and scaled by the sub-block scale with madd. Built with -mavx2 -mfma -mf16c.
//
// One token (generation) reads every weight once, so the one-row kernels must keep up with
// memory: sub-block scales are spread over lanes by one byte shuffle each instead of a scalar
// broadcast, block scales are converted with F16C, and nothing but the row's sum leaves the
// registers. Several tokens (prompts) share each unpacked block: its nibbles and scales are
// unpacked once and every activation row is multiplied with them.
#include "llm/quant_dot.h"

#if defined(__AVX2__) && defined(__FMA__) && defined(__F16C__)

#include <immintrin.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "llm/dequant.h"
#include "llm/f16.h"
#include "llm/ggml_type.h"

namespace skimlet {

namespace {

inline float hsum(__m256 v) {
  __m128 s = _mm_add_ps(_mm256_castps256_ps128(v), _mm256_extractf128_ps(v, 1));
  s = _mm_add_ps(s, _mm_movehl_ps(s, s));
  s = _mm_add_ss(s, _mm_movehdup_ps(s));
  return _mm_cvtss_f32(s);
}

inline float hsum(__m128 s) {
  s = _mm_add_ps(s, _mm_movehl_ps(s, s));
  s = _mm_add_ss(s, _mm_movehdup_ps(s));
  return _mm_cvtss_f32(s);
}

inline __m256i load(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
inline __m128i load128(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }

// The first two halves at p (d and dmin of a Q4_K block) as floats in lanes 0 and 1. The
// hardware conversion is exact, subnormals and all.
inline __m128 twoHalves(const uint8_t* p) {
  uint32_t v;
  std::memcpy(&v, p, 4);
  return _mm_cvtph_ps(_mm_cvtsi32_si128(static_cast<int>(v)));
}

inline float oneHalf(const uint8_t* p) {
  uint16_t v;
  std::memcpy(&v, p, 2);
  return _cvtsh_ss(v);
}

// Weight bytes this far ahead are asked for while the current block is multiplied: the hardware
// prefetcher stops at every 4 KiB page, and one token's products are bound by memory.
constexpr int kPrefetchAhead = 2048;

template <int Lines>
inline void prefetchAhead(const uint8_t* p) {
  for (int i = 0; i < Lines; ++i) _mm_prefetch(reinterpret_cast<const char*>(p) + kPrefetchAhead + 64 * i, _MM_HINT_T0);
}

// Pins an accumulator to a register at this point. Without it the compiler reassociates the
// sums of a tile kernel into one tree over all its products, which needs far more registers
// than there are, and spills most of them.
inline void keep(__m256i& v) { __asm__("" : "+x"(v)); }

// Shuffle masks that repeat 16-bit element k of each 128-bit lane across that lane.
inline __m256i wordBroadcast(int k) { return _mm256_set1_epi16(static_cast<int16_t>(0x0100 + 0x0202 * k)); }

void dotQ8_0(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out) {
  const int64_t nb = x.cols / 32;
  const __m256i ones = _mm256_set1_epi16(1);
  for (int i = 0; i < nt; ++i) {
    const int8_t* xq = x.rowQ(t0 + i);
    const float* xd = x.rowD(t0 + i);
    __m256 acc = _mm256_setzero_ps();
    for (int64_t b = 0; b < nb; ++b) {
      const uint8_t* blk = w + b * GGMLType::q8_0Block.blockSize;
      const __m256i q = load(blk + 2);
      // maddubs wants its first operand unsigned: move the weight's sign onto the activation.
      const __m256i prod = _mm256_maddubs_epi16(_mm256_sign_epi8(q, q), _mm256_sign_epi8(load(xq + 32 * b), q));
      const __m256i sum = _mm256_madd_epi16(prod, ones);
      acc = _mm256_fmadd_ps(_mm256_cvtepi32_ps(sum), _mm256_set1_ps(oneHalf(blk) * xd[b]), acc);
    }
    out[i] = hsum(acc);
  }
}

// Scales (bytes 0-7) and minimums (8-15) of a Q4_K block, unpacked from the 12 packed bytes at
// the start of each 128-bit lane by two byte shuffles and masks: the first four of each are the
// low six bits of bytes 0-3 and 4-7, the last four take their low four bits from bytes 8-11 and
// their top two from the top bits of bytes 0-7. Lane by lane, so one call serves two blocks.
inline __m256i unpackQ4KScalesMins(__m256i v) {
  const __m256i low = _mm256_shuffle_epi8(
      v, _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 3, 8, 9, 10, 11, 4, 5, 6, 7, 8, 9, 10, 11)));
  const __m256i top = _mm256_shuffle_epi8(
      v, _mm256_broadcastsi128_si256(_mm_setr_epi8(-1, -1, -1, -1, 0, 1, 2, 3, -1, -1, -1, -1, 4, 5, 6, 7)));
  // The last four minimums are the high nibbles of bytes 8-11.
  const __m256i nibbles = _mm256_blend_epi32(low, _mm256_srli_epi16(low, 4), 0x88);
  const __m256i keep =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(63, 63, 63, 63, 15, 15, 15, 15, 63, 63, 63, 63, 15, 15, 15, 15));
  return _mm256_or_si256(_mm256_and_si256(nibbles, keep),
                         _mm256_and_si256(_mm256_srli_epi16(top, 2), _mm256_set1_epi8(0x30)));
}

// One block's (the 16 bytes read from blk + 4 stay inside it).
inline __m128i q4KScalesMins8(const uint8_t* blk) {
  return _mm256_castsi256_si128(unpackQ4KScalesMins(_mm256_castsi128_si256(load128(blk + 4))));
}

// The same widened to 16 bits: scales in the low lane, minimums in the high one.
inline __m256i q4KScalesMins16(const uint8_t* blk) { return _mm256_cvtepu8_epi16(q4KScalesMins8(blk)); }

// The eight minimums of a Q4_K block as floats times the block's dmin: multiplied with the
// activation row's scaled sums of the same runs, they give the minimums' share of the block.
inline __m256 q4KMins(__m256i scalesMins, __m128 dd) {
  const __m256i mins = _mm256_cvtepu16_epi32(_mm256_extracti128_si256(scalesMins, 1));
  return _mm256_mul_ps(_mm256_broadcastss_ps(_mm_shuffle_ps(dd, dd, 0x55)), _mm256_cvtepi32_ps(mins));
}

// One block's integer sums against one activation row, scaled run by run: the products of runs
// 2p and 2p + 1 (each 16 bits wide, at most 2 × 15 × 127) have their two lanes added, which gives
// run 2p in the low lane and run 2p + 1 in the high one, and one madd with `pairScales` (scales
// 2p in the low lane's word p, 2p + 1 in the high lane's) widens and scales both.
inline __m256i q4KBlockSums(const uint8_t* blk, const int8_t* q8, __m256i pairScales) {
  const __m256i low4 = _mm256_set1_epi8(0x0F);
  __m256i sum0 = _mm256_setzero_si256(), sum1 = _mm256_setzero_si256();
#pragma GCC unroll 4
  for (int p = 0; p < 4; ++p) {
    const __m256i q = load(blk + 16 + 32 * p);
    const __m256i lo = _mm256_maddubs_epi16(_mm256_and_si256(q, low4), load(q8 + 64 * p));
    const __m256i hi = _mm256_maddubs_epi16(_mm256_and_si256(_mm256_srli_epi16(q, 4), low4), load(q8 + 64 * p + 32));
    const __m256i runs =
        _mm256_add_epi16(_mm256_permute2x128_si256(lo, hi, 0x20), _mm256_permute2x128_si256(lo, hi, 0x31));
    const __m256i scaled = _mm256_madd_epi16(runs, _mm256_shuffle_epi8(pairScales, wordBroadcast(p)));
    if (p % 2 == 0) {
      sum0 = _mm256_add_epi32(sum0, scaled);
    } else {
      sum1 = _mm256_add_epi32(sum1, scaled);
    }
  }
  return _mm256_add_epi32(sum0, sum1);
}

// The scales and minimums of blocks b and b + 1 (at blk and blk + 144), one block a lane.
inline __m256i q4KScalesMinsPair(const uint8_t* blk) {
  return unpackQ4KScalesMins(_mm256_inserti128_si256(_mm256_castsi128_si256(load128(blk + 4)), load128(blk + 148), 1));
}

// One token is bound by how few instructions each block takes, so the one-row kernel spends as
// few as it can outside the products: blocks go in pairs, so that unpacking their scales and
// minimums, spreading the scales over words and turning the block factors into floats each take
// one instruction sequence for both. The minimums' share is an integer madd of the minimums with
// the activation's sums of 32.
void dotQ4KOne(const uint8_t* w, const QuantizedRows& x, int t, float* out) {
  const int64_t nb = x.cols / 256;
  const int8_t* q8 = x.rowQ(t);
  const float* xd = x.rowD(t);
  const int16_t* pairSums = x.rowPairSums(t);
  // Bytes to 16-bit words, per lane: the even scales, the odd scales (each set twice, so that a
  // word broadcast within a lane finds it), and the minimums.
  const __m256i evens = _mm256_setr_epi8(0, -1, 2, -1, 4, -1, 6, -1, 0, -1, 2, -1, 4, -1, 6, -1, 0, -1, 2, -1, 4, -1, 6,
                                         -1, 0, -1, 2, -1, 4, -1, 6, -1);
  const __m256i odds = _mm256_setr_epi8(1, -1, 3, -1, 5, -1, 7, -1, 1, -1, 3, -1, 5, -1, 7, -1, 1, -1, 3, -1, 5, -1, 7,
                                        -1, 1, -1, 3, -1, 5, -1, 7, -1);
  const __m256i minWords = _mm256_setr_epi8(8, -1, 9, -1, 10, -1, 11, -1, 12, -1, 13, -1, 14, -1, 15, -1, 8, -1, 9, -1,
                                            10, -1, 11, -1, 12, -1, 13, -1, 14, -1, 15, -1);
  const __m256i minFactors = _mm256_setr_epi32(1, 1, 1, 1, 3, 3, 3, 3);
  __m256 acc = _mm256_setzero_ps(), accMin = _mm256_setzero_ps();
  int64_t b = 0;
  for (; b + 2 <= nb; b += 2, w += 288, q8 += 512) {
    prefetchAhead<5>(w);
    const __m256i sm = q4KScalesMinsPair(w);
    const __m256i even = _mm256_shuffle_epi8(sm, evens), odd = _mm256_shuffle_epi8(sm, odds);
    const __m256i sums0 = q4KBlockSums(w, q8, _mm256_permute2x128_si256(even, odd, 0x20));
    const __m256i sums1 =
        q4KBlockSums(w + GGMLType::q4KBlock.blockSize, q8 + 256, _mm256_permute2x128_si256(even, odd, 0x31));
    // Four sums a block, each two minimums times their runs' activation sums.
    const __m256i minSums = _mm256_madd_epi16(_mm256_shuffle_epi8(sm, minWords), load(pairSums + 8 * b));
    // d, dmin of block b, then of block b + 1, times the activation's block factors.
    uint32_t h0, h1;
    std::memcpy(&h0, w, 4);
    std::memcpy(&h1, w + GGMLType::q4KBlock.blockSize, 4);
    const __m128 halves = _mm_cvtph_ps(
        _mm_unpacklo_epi32(_mm_cvtsi32_si128(static_cast<int>(h0)), _mm_cvtsi32_si128(static_cast<int>(h1))));
    const __m128 xd2 = _mm_castpd_ps(_mm_load1_pd(reinterpret_cast<const double*>(xd + b)));
    const __m128 f = _mm_mul_ps(halves, _mm_unpacklo_ps(xd2, xd2));
    acc = _mm256_fmadd_ps(_mm256_cvtepi32_ps(sums0), _mm256_broadcastss_ps(f), acc);
    acc = _mm256_fmadd_ps(_mm256_cvtepi32_ps(sums1), _mm256_broadcastss_ps(_mm_movehl_ps(f, f)), acc);
    accMin = _mm256_fmadd_ps(_mm256_cvtepi32_ps(minSums),
                             _mm256_permutevar8x32_ps(_mm256_castps128_ps256(f), minFactors), accMin);
  }
  if (b < nb) {  // an odd block count leaves one
    const __m256i sm = _mm256_castsi128_si256(q4KScalesMins8(w));
    const __m256i even = _mm256_shuffle_epi8(sm, evens), odd = _mm256_shuffle_epi8(sm, odds);
    const __m256i sums = q4KBlockSums(w, q8, _mm256_permute2x128_si256(even, odd, 0x20));
    const __m128i minSums =
        _mm_madd_epi16(_mm256_castsi256_si128(_mm256_shuffle_epi8(sm, minWords)), load128(pairSums + 8 * b));
    const __m128 dd = twoHalves(w);
    const __m128 f = _mm_mul_ps(dd, _mm_set1_ps(xd[b]));
    acc = _mm256_fmadd_ps(_mm256_cvtepi32_ps(sums), _mm256_broadcastss_ps(f), acc);
    accMin = _mm256_fmadd_ps(_mm256_set_m128(_mm_setzero_ps(), _mm_cvtepi32_ps(minSums)),
                             _mm256_set1_ps(_mm_cvtss_f32(_mm_movehdup_ps(f))), accMin);
  }
  *out = hsum(_mm256_sub_ps(acc, accMin));
}

// Several activation rows against one Q4_K row. Each unpacked run of 32 weights and its scale
// meet all NT rows while they sit in registers, and the rows' integer sums of a block stay in
// registers too (NT is a template argument so that they can), so that besides the products
// little more than the activations is loaded.
template <int NT>
void dotQ4KTile(const uint8_t* w, const QuantizedRows& x, int t0, float* out) {
  const int64_t nb = x.cols / 256;
  const __m256i low4 = _mm256_set1_epi8(0x0F);
  // Row pointers found once: finding them divides by the block length.
  const int8_t* q8[NT];
  const float* xd[NT];
  const float* xs[NT];
  __m256 acc[NT];
  for (int i = 0; i < NT; ++i) {
    q8[i] = x.rowQ(t0 + i);
    xd[i] = x.rowD(t0 + i);
    xs[i] = x.rowScaledSums(t0 + i);
    acc[i] = _mm256_setzero_ps();
  }
  for (int64_t b = 0; b < nb; ++b, w += GGMLType::q4KBlock.blockSize) {
    const __m256i sm = q4KScalesMins16(w);
    const __m256i scales = _mm256_permute2x128_si256(sm, sm, 0x00);
    __m256i isum[NT];
    for (int i = 0; i < NT; ++i) isum[i] = _mm256_setzero_si256();
#pragma GCC unroll 4
    for (int p = 0; p < 4; ++p) {
      const __m256i q = load(w + 16 + 32 * p);
      const __m256i lo = _mm256_and_si256(q, low4), loScale = _mm256_shuffle_epi8(scales, wordBroadcast(2 * p));
      for (int i = 0; i < NT; ++i) {
        isum[i] = _mm256_add_epi32(
            isum[i], _mm256_madd_epi16(_mm256_maddubs_epi16(lo, load(q8[i] + 256 * b + 64 * p)), loScale));
        keep(isum[i]);
      }
      const __m256i hi = _mm256_and_si256(_mm256_srli_epi16(q, 4), low4);
      const __m256i hiScale = _mm256_shuffle_epi8(scales, wordBroadcast(2 * p + 1));
      for (int i = 0; i < NT; ++i) {
        isum[i] = _mm256_add_epi32(
            isum[i], _mm256_madd_epi16(_mm256_maddubs_epi16(hi, load(q8[i] + 256 * b + 64 * p + 32)), hiScale));
        keep(isum[i]);
      }
    }
    const __m128 dd = twoHalves(w);
    const __m256 d = _mm256_broadcastss_ps(dd), mins = q4KMins(sm, dd);
    for (int i = 0; i < NT; ++i) {
      acc[i] = _mm256_fmadd_ps(_mm256_mul_ps(d, _mm256_broadcast_ss(xd[i] + b)), _mm256_cvtepi32_ps(isum[i]), acc[i]);
      acc[i] = _mm256_fnmadd_ps(mins, _mm256_loadu_ps(xs[i] + 8 * b), acc[i]);
    }
  }
  for (int i = 0; i < NT; ++i) out[i] = hsum(acc[i]);
}

// A tile of nt rows by the kernel made for that many.
template <template <int> class K, int... N>
inline void byTileSize(int nt, std::integer_sequence<int, N...>, const uint8_t* w, const QuantizedRows& x, int t0,
                       float* out) {
  ((nt == N + 1 ? K<N + 1>::run(w, x, t0, out) : void()), ...);
}

template <int NT>
struct Q4KTile {
  static void run(const uint8_t* w, const QuantizedRows& x, int t0, float* out) { dotQ4KTile<NT>(w, x, t0, out); }
};

void dotQ4K(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out) {
  if (nt == 1) return dotQ4KOne(w, x, t0, out);
  byTileSize<Q4KTile>(nt, std::make_integer_sequence<int, kDotTile>(), w, x, t0, out);
}

// The eight 32-value runs of a Q6_K block as unsigned bytes 0..63 (the stored values, biased by
// 32, which maddubs needs); the bias is taken off through the activation sums. The two high bits
// of each value sit at bit 2k of qh, moved to bits 4-5 by one shift and a mask.
inline void q6KValues(const uint8_t* blk, __m256i v[8]) {
  const __m256i low4 = _mm256_set1_epi8(0x0F), high2 = _mm256_set1_epi8(0x30);
  for (int h = 0; h < 2; ++h) {
    const __m256i ql0 = load(blk + 64 * h), ql1 = load(blk + 64 * h + 32);
    const __m256i qh = load(blk + 128 + 32 * h);
    v[4 * h + 0] = _mm256_or_si256(_mm256_and_si256(ql0, low4), _mm256_and_si256(_mm256_slli_epi16(qh, 4), high2));
    v[4 * h + 1] = _mm256_or_si256(_mm256_and_si256(ql1, low4), _mm256_and_si256(_mm256_slli_epi16(qh, 2), high2));
    v[4 * h + 2] = _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(ql0, 4), low4), _mm256_and_si256(qh, high2));
    v[4 * h + 3] = _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(ql1, 4), low4),
                                   _mm256_and_si256(_mm256_srli_epi16(qh, 2), high2));
  }
}

// The 16 scales of a Q6_K block widened to 16 bits, even ones in the low lane and odd ones in the
// high lane, so that one in-lane shuffle gives run k its two scales (2k for its first 16 values,
// 2k + 1 for the rest).
inline __m256i q6KRunScales(__m128i sc) {
  const __m128i evenOdd = _mm_setr_epi8(0, 2, 4, 6, 8, 10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15);
  return _mm256_cvtepi8_epi16(_mm_shuffle_epi8(sc, evenOdd));
}

void dotQ6KOne(const uint8_t* w, const QuantizedRows& x, int t, float* out) {
  const int64_t nb = x.cols / 256;
  const int8_t* q8 = x.rowQ(t);
  const float* xd = x.rowD(t);
  const int16_t* xs = x.rowSums(t);
  __m256 acc = _mm256_setzero_ps();
  for (int64_t b = 0; b < nb; ++b, w += GGMLType::q6KBlock.blockSize, q8 += 256) {
    prefetchAhead<4>(w);
    const __m128i sc = load128(w + 192);
    const __m256i runScales = q6KRunScales(sc);
    __m256i v[8];
    q6KValues(w, v);
    __m256i sum0 = _mm256_setzero_si256(), sum1 = _mm256_setzero_si256();
    for (int k = 0; k < 8; k += 2) {
      sum0 = _mm256_add_epi32(sum0, _mm256_madd_epi16(_mm256_maddubs_epi16(v[k], load(q8 + 32 * k)),
                                                      _mm256_shuffle_epi8(runScales, wordBroadcast(k))));
      sum1 = _mm256_add_epi32(sum1, _mm256_madd_epi16(_mm256_maddubs_epi16(v[k + 1], load(q8 + 32 * k + 32)),
                                                      _mm256_shuffle_epi8(runScales, wordBroadcast(k + 1))));
    }
    const __m256i bias = _mm256_madd_epi16(load(xs + 16 * b), _mm256_cvtepi8_epi16(sc));
    const __m256i isum = _mm256_sub_epi32(_mm256_add_epi32(sum0, sum1), _mm256_slli_epi32(bias, 5));
    acc = _mm256_fmadd_ps(_mm256_set1_ps(oneHalf(w + 208) * xd[b]), _mm256_cvtepi32_ps(isum), acc);
  }
  *out = hsum(acc);
}

// Several activation rows against one Q6_K row, as dotQ4KTile does.
template <int NT>
void dotQ6KTile(const uint8_t* w, const QuantizedRows& x, int t0, float* out) {
  const int64_t nb = x.cols / 256;
  const __m256i low4 = _mm256_set1_epi8(0x0F), high2 = _mm256_set1_epi8(0x30);
  const int8_t* q8[NT];
  const float* xd[NT];
  const int16_t* xs[NT];
  __m256 acc[NT];
  for (int i = 0; i < NT; ++i) {
    q8[i] = x.rowQ(t0 + i);
    xd[i] = x.rowD(t0 + i);
    xs[i] = x.rowSums(t0 + i);
    acc[i] = _mm256_setzero_ps();
  }
  for (int64_t b = 0; b < nb; ++b, w += GGMLType::q6KBlock.blockSize) {
    const __m128i sc = load128(w + 192);
    const __m256i scales = _mm256_cvtepi8_epi16(sc);
    const __m256i runScales = q6KRunScales(sc);
    __m256i isum[NT];
    // The stored values are biased by 32: start from minus the bias times the activations.
    for (int i = 0; i < NT; ++i)
      isum[i] = _mm256_sub_epi32(_mm256_setzero_si256(),
                                 _mm256_slli_epi32(_mm256_madd_epi16(load(xs[i] + 16 * b), scales), 5));
    auto multiply = [&](int k, __m256i v) {
      const __m256i s = _mm256_shuffle_epi8(runScales, wordBroadcast(k));
      for (int i = 0; i < NT; ++i) {
        isum[i] =
            _mm256_add_epi32(isum[i], _mm256_madd_epi16(_mm256_maddubs_epi16(v, load(q8[i] + 256 * b + 32 * k)), s));
        keep(isum[i]);
      }
    };
#pragma GCC unroll 2
    for (int h = 0; h < 2; ++h) {
      const uint8_t* ql = w + 64 * h;
      const __m256i qh = load(w + 128 + 32 * h);
      multiply(4 * h + 0,
               _mm256_or_si256(_mm256_and_si256(load(ql), low4), _mm256_and_si256(_mm256_slli_epi16(qh, 4), high2)));
      multiply(4 * h + 1, _mm256_or_si256(_mm256_and_si256(load(ql + 32), low4),
                                          _mm256_and_si256(_mm256_slli_epi16(qh, 2), high2)));
      multiply(4 * h + 2,
               _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(load(ql), 4), low4), _mm256_and_si256(qh, high2)));
      multiply(4 * h + 3, _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(load(ql + 32), 4), low4),
                                          _mm256_and_si256(_mm256_srli_epi16(qh, 2), high2)));
    }
    const __m256 d = _mm256_set1_ps(oneHalf(w + 208));
    for (int i = 0; i < NT; ++i)
      acc[i] = _mm256_fmadd_ps(_mm256_mul_ps(d, _mm256_broadcast_ss(xd[i] + b)), _mm256_cvtepi32_ps(isum[i]), acc[i]);
  }
  for (int i = 0; i < NT; ++i) out[i] = hsum(acc[i]);
}

template <int NT>
struct Q6KTile {
  static void run(const uint8_t* w, const QuantizedRows& x, int t0, float* out) { dotQ6KTile<NT>(w, x, t0, out); }
};

void dotQ6K(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out) {
  if (nt == 1) return dotQ6KOne(w, x, t0, out);
  byTileSize<Q6KTile>(nt, std::make_integer_sequence<int, kDotTile>(), w, x, t0, out);
}

// e^x for eight floats: x = n ln 2 + r with |r| <= ln 2 / 2, e^r by a degree-7 polynomial
// (relative error about 2e-7), 2^n put into the exponent bits. Inputs are clamped to where e^x is
// a normal float, which the gated activation below never needs beyond.
inline __m256 exp8(__m256 x) {
  x = _mm256_min_ps(_mm256_max_ps(x, _mm256_set1_ps(-87.0f)), _mm256_set1_ps(88.0f));
  const __m256 n =
      _mm256_round_ps(_mm256_mul_ps(x, _mm256_set1_ps(1.44269504f)), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
  __m256 r = _mm256_fnmadd_ps(n, _mm256_set1_ps(0.693359375f), x);
  r = _mm256_fnmadd_ps(n, _mm256_set1_ps(-2.12194440e-4f), r);
  __m256 p = _mm256_set1_ps(1.9875691500e-4f);
  p = _mm256_fmadd_ps(p, r, _mm256_set1_ps(1.3981999507e-3f));
  p = _mm256_fmadd_ps(p, r, _mm256_set1_ps(8.3334519073e-3f));
  p = _mm256_fmadd_ps(p, r, _mm256_set1_ps(4.1665795894e-2f));
  p = _mm256_fmadd_ps(p, r, _mm256_set1_ps(1.6666665459e-1f));
  p = _mm256_fmadd_ps(p, r, _mm256_set1_ps(5.0000001201e-1f));
  p = _mm256_fmadd_ps(_mm256_mul_ps(p, r), r, _mm256_add_ps(r, _mm256_set1_ps(1.0f)));
  const __m256i bits = _mm256_slli_epi32(_mm256_add_epi32(_mm256_cvtps_epi32(n), _mm256_set1_epi32(127)), 23);
  return _mm256_mul_ps(p, _mm256_castsi256_ps(bits));
}

void attendRow(const float* q, int heads, const float* keys, const float* values, int total, size_t stride, int hd,
               float scale, float* s, float* out) {
  const int vecEnd = hd / 8 * 8;
  for (int j = 0; j < total; ++j) {
    const float* k = keys + static_cast<size_t>(j) * stride;
    for (int h = 0; h < heads; ++h) {
      const float* qh = q + h * hd;
      __m256 a0 = _mm256_setzero_ps(), a1 = _mm256_setzero_ps();
      int i = 0;
      for (; i + 16 <= vecEnd; i += 16) {
        a0 = _mm256_fmadd_ps(_mm256_loadu_ps(qh + i), _mm256_loadu_ps(k + i), a0);
        a1 = _mm256_fmadd_ps(_mm256_loadu_ps(qh + i + 8), _mm256_loadu_ps(k + i + 8), a1);
      }
      if (i < vecEnd) a0 = _mm256_fmadd_ps(_mm256_loadu_ps(qh + i), _mm256_loadu_ps(k + i), a0);
      float sum = hsum(_mm256_add_ps(a0, a1));
      for (i = vecEnd; i < hd; ++i) sum += qh[i] * k[i];
      s[h * total + j] = scale * sum;
    }
  }
  for (int h = 0; h < heads; ++h) {
    float* sh = s + h * total;
    const float mx = *std::max_element(sh, sh + total);
    __m256 sum8 = _mm256_setzero_ps();
    int j = 0;
    for (; j + 8 <= total; j += 8) {
      const __m256 e = exp8(_mm256_sub_ps(_mm256_loadu_ps(sh + j), _mm256_set1_ps(mx)));
      _mm256_storeu_ps(sh + j, e);
      sum8 = _mm256_add_ps(sum8, e);
    }
    float sum = hsum(sum8);
    for (; j < total; ++j) {
      sh[j] = std::exp(sh[j] - mx);
      sum += sh[j];
    }
    const float inv = 1.0f / sum;
    for (j = 0; j < total; ++j) sh[j] *= inv;
  }
  std::fill(out, out + heads * hd, 0.0f);
  for (int j = 0; j < total; ++j) {
    const float* v = values + static_cast<size_t>(j) * stride;
    for (int h = 0; h < heads; ++h) {
      const __m256 p = _mm256_set1_ps(s[h * total + j]);
      float* o = out + h * hd;
      for (int i = 0; i < vecEnd; i += 8)
        _mm256_storeu_ps(o + i, _mm256_fmadd_ps(p, _mm256_loadu_ps(v + i), _mm256_loadu_ps(o + i)));
      for (int i = vecEnd; i < hd; ++i) o[i] += s[h * total + j] * v[i];
    }
  }
}

void gated(float* g, const float* u, size_t n) {
  size_t i = 0;
  for (; i + 8 <= n; i += 8) {
    const __m256 x = _mm256_loadu_ps(g + i);
    const __m256 e = exp8(_mm256_sub_ps(_mm256_setzero_ps(), x));
    _mm256_storeu_ps(g + i,
                     _mm256_div_ps(_mm256_mul_ps(x, _mm256_loadu_ps(u + i)), _mm256_add_ps(_mm256_set1_ps(1.0f), e)));
  }
  for (; i < n; ++i) g[i] = g[i] / (1.0f + std::exp(-g[i])) * u[i];
}

}  // namespace

DotKernels avx2DotKernels() { return {"avx2", dotQ8_0, dotQ4K, dotQ6K, attendRow, gated}; }

}  // namespace skimlet

#else

namespace skimlet {
DotKernels avx2DotKernels() { return {}; }
}  // namespace skimlet

#endif
