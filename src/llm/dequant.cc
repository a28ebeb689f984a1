#include "llm/dequant.h"

#include <cstring>

#include "llm/f16.h"
#include "llm/ggml_type.h"

namespace skimlet {

uint16_t floatToHalf(float f) {
  uint32_t x;
  std::memcpy(&x, &f, 4);
  uint32_t sign = (x >> 16) & 0x8000;
  uint32_t absx = x & 0x7FFFFFFF;
  if (absx >= 0x7F800000) return static_cast<uint16_t>(sign | 0x7C00 | (absx > 0x7F800000 ? 0x200 : 0));
  if (absx >= 0x477FF000) return static_cast<uint16_t>(sign | 0x7C00);  // rounds past the largest half
  if (absx < 0x38800000) {
    // Subnormal half: round absx × 2^24 to an integer, ties to even.
    float a;
    std::memcpy(&a, &absx, 4);
    float scaled = a * 16777216.0f;
    uint32_t q = static_cast<uint32_t>(scaled);
    float rem = scaled - static_cast<float>(q);
    if (rem > 0.5f || (rem == 0.5f && (q & 1))) ++q;
    return static_cast<uint16_t>(sign | q);
  }
  uint32_t mant = absx & 0x7FFFFF;
  uint32_t exp = (absx >> 23) - 112;
  uint32_t h = (exp << 10) | (mant >> 13);
  uint32_t rest = mant & 0x1FFF;
  if (rest > 0x1000 || (rest == 0x1000 && (h & 1))) ++h;  // may carry into the exponent, as it should
  return static_cast<uint16_t>(sign | h);
}

void dequantQ8_0(const uint8_t* block, float* out) {
  float d = readHalf(block);
  const int8_t* q = reinterpret_cast<const int8_t*>(block + 2);
  for (int i = 0; i < 32; ++i) out[i] = d * q[i];
}

void dequantQ4K(const uint8_t* block, float* out) {
  float d = readHalf(block);
  float dmin = readHalf(block + 2);
  const uint8_t* scales = block + 4;
  const uint8_t* qs = block + 16;
  for (int p = 0; p < 4; ++p) {
    uint8_t sc0, m0, sc1, m1;
    q4KScaleMin(2 * p, scales, sc0, m0);
    q4KScaleMin(2 * p + 1, scales, sc1, m1);
    const float d0 = d * sc0, min0 = dmin * m0;
    const float d1 = d * sc1, min1 = dmin * m1;
    const uint8_t* q = qs + 32 * p;
    float* o = out + 64 * p;
    for (int l = 0; l < 32; ++l) o[l] = d0 * (q[l] & 15) - min0;
    for (int l = 0; l < 32; ++l) o[32 + l] = d1 * (q[l] >> 4) - min1;
  }
}

void dequantQ6K(const uint8_t* block, float* out) {
  const float d = readHalf(block + 208);
  for (int h = 0; h < 2; ++h) {
    const uint8_t* ql = block + 64 * h;
    const uint8_t* qh = block + 128 + 32 * h;
    const int8_t* sc = reinterpret_cast<const int8_t*>(block + 192 + 8 * h);
    float* o = out + 128 * h;
    for (int l = 0; l < 32; ++l) {
      const int is = l / 16;
      const int q1 = ((ql[l] & 15) | ((qh[l] & 3) << 4)) - 32;
      const int q2 = ((ql[l + 32] & 15) | (((qh[l] >> 2) & 3) << 4)) - 32;
      const int q3 = ((ql[l] >> 4) | (((qh[l] >> 4) & 3) << 4)) - 32;
      const int q4 = ((ql[l + 32] >> 4) | (((qh[l] >> 6) & 3) << 4)) - 32;
      o[l] = d * sc[is] * q1;
      o[l + 32] = d * sc[is + 2] * q2;
      o[l + 64] = d * sc[is + 4] * q3;
      o[l + 96] = d * sc[is + 6] * q4;
    }
  }
}

void dequantRows(const QMatrix& m, int64_t first, int64_t count, float* out) {
  auto traits = GGMLType::traits(m.type);
  if (!traits || count <= 0) return;
  const int64_t blocks = m.cols / traits->blockLength;
  for (int64_t r = 0; r < count; ++r) {
    const uint8_t* src = m.row(first + r);
    float* dst = out + r * m.cols;
    switch (m.type) {
      case GGMLType::f32: std::memcpy(dst, src, static_cast<size_t>(m.cols) * 4); break;
      case GGMLType::f16:
        for (int64_t i = 0; i < m.cols; ++i) dst[i] = readHalf(src + 2 * i);
        break;
      case GGMLType::q8_0:
        for (int64_t b = 0; b < blocks; ++b) dequantQ8_0(src + b * GGMLType::q8_0Block.blockSize, dst + b * 32);
        break;
      case GGMLType::q4K:
        for (int64_t b = 0; b < blocks; ++b) dequantQ4K(src + b * GGMLType::q4KBlock.blockSize, dst + b * 256);
        break;
      case GGMLType::q6K:
        for (int64_t b = 0; b < blocks; ++b) dequantQ6K(src + b * GGMLType::q6KBlock.blockSize, dst + b * 256);
        break;
    }
  }
}

}  // namespace skimlet
