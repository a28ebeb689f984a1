// IEEE half precision, converted exactly (subnormals, infinities and NaN included).
#pragma once

#include <cstdint>
#include <cstring>

namespace skimlet {

inline float halfToFloat(uint16_t h) {
  uint32_t sign = static_cast<uint32_t>(h & 0x8000) << 16;
  uint32_t exp = (h >> 10) & 0x1F;
  uint32_t mant = h & 0x3FF;
  uint32_t bits;
  if (exp == 31) {
    bits = sign | 0x7F800000u | (mant << 13);
  } else if (exp != 0) {
    bits = sign | ((exp + 112) << 23) | (mant << 13);
  } else {
    // Zero or subnormal: mant × 2^-24 is exact in single precision.
    float f = static_cast<float>(mant) * (1.0f / 16777216.0f);
    std::memcpy(&bits, &f, 4);
    bits |= sign;
  }
  float out;
  std::memcpy(&out, &bits, 4);
  return out;
}

inline float readHalf(const uint8_t* p) {
  uint16_t h;
  std::memcpy(&h, p, 2);
  return halfToFloat(h);
}

// Nearest half to `f` (ties to even); used to write test and benchmark models.
uint16_t floatToHalf(float f);

}  // namespace skimlet
