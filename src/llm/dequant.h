// Conversion of quantized blocks and rows to single precision.
#pragma once

#include <cstdint>
#include <cstring>

#include "llm/qmatrix.h"

namespace skimlet {

// One 144-byte Q4_K block to 256 floats.
void dequantQ4K(const uint8_t* block, float* out);
// One 210-byte Q6_K block to 256 floats.
void dequantQ6K(const uint8_t* block, float* out);
// One 34-byte Q8_0 block to 32 floats.
void dequantQ8_0(const uint8_t* block, float* out);

// Rows first .. first + count - 1 of m into out, row after row. Unsupported types write nothing.
void dequantRows(const QMatrix& m, int64_t first, int64_t count, float* out);

// The six-bit scale and minimum of sub-block j (0..7) of a Q4_K block's 12 scale bytes.
inline void q4KScaleMin(int j, const uint8_t* s, uint8_t& sc, uint8_t& m) {
  if (j < 4) {
    sc = s[j] & 63;
    m = s[j + 4] & 63;
  } else {
    sc = (s[j + 4] & 15) | ((s[j - 4] >> 6) << 4);
    m = (s[j + 4] >> 4) | ((s[j] >> 6) << 4);
  }
}

// All eight scales (bytes 0..7 of out) and minimums (bytes 8..15) of a Q4_K block at once: the
// same unpacking as q4KScaleMin done on 32-bit words, four sub-blocks per operation.
inline void q4KScalesMins(const uint8_t* s, uint32_t out[4]) {
  uint32_t w0, w1, w2;
  std::memcpy(&w0, s, 4);
  std::memcpy(&w1, s + 4, 4);
  std::memcpy(&w2, s + 8, 4);
  out[0] = w0 & 0x3F3F3F3F;
  out[1] = (w2 & 0x0F0F0F0F) | (((w0 >> 6) & 0x03030303) << 4);
  out[2] = w1 & 0x3F3F3F3F;
  out[3] = ((w2 >> 4) & 0x0F0F0F0F) | (((w1 >> 6) & 0x03030303) << 4);
}

}  // namespace skimlet
