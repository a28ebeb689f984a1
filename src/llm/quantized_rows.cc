#include "llm/quantized_rows.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace skimlet {

void quantizeRows(const float* x, int n, int64_t cols, int blockLen, QuantizedRows& out) {
  const int64_t blocks = cols / blockLen;
  out.blockLen = blockLen;
  out.cols = cols;
  out.n = n;
  out.q.resize(static_cast<size_t>(n * cols));
  out.d.resize(static_cast<size_t>(n * blocks));
  out.sums.resize(blockLen == 256 ? static_cast<size_t>(n * (cols / 16)) : 0);
  out.scaledSums.resize(blockLen == 256 ? static_cast<size_t>(n * (cols / 32)) : 0);
  out.pairSums.resize(blockLen == 256 ? static_cast<size_t>(n * (cols / 32)) : 0);
  for (int t = 0; t < n; ++t) {
    for (int64_t b = 0; b < blocks; ++b) {
      const float* src = x + t * cols + b * blockLen;
      int8_t* q = out.q.data() + t * cols + b * blockLen;
      float amax = 0;
      bool finite = true;  // NaN fails the comparison too
      for (int i = 0; i < blockLen; ++i) {
        const float a = std::fabs(src[i]);
        amax = std::max(amax, a);
        finite &= a <= std::numeric_limits<float>::max();
      }
      // Weights from a corrupt file can make activations infinite or NaN, which have no int8,
      // or so small that the inverse scale overflows; such a block counts as zeros rather than
      // converting them (undefined).
      float d = amax / 127.0f;
      float id = d != 0 ? 1.0f / d : 0.0f;
      finite &= id <= std::numeric_limits<float>::max();
      if (!finite) d = id = 0;
      // Adding and removing 1.5 × 2^23 rounds to the nearest integer, ties to even, exactly as
      // nearbyint does for values this small (|v| <= 127), but without a library call per value,
      // so the loop vectorizes.
      constexpr float kRound = 12582912.0f;
      if (finite) {
        for (int i = 0; i < blockLen; ++i) q[i] = static_cast<int8_t>((src[i] * id + kRound) - kRound);
      } else {
        std::fill_n(q, blockLen, int8_t{0});
      }
      out.d[t * blocks + b] = d;
      if (blockLen == 256) {
        int16_t* s = out.sums.data() + t * (cols / 16) + b * 16;
        for (int g = 0; g < 16; ++g) {
          int sum = 0;
          for (int i = 0; i < 16; ++i) sum += q[16 * g + i];
          s[g] = static_cast<int16_t>(sum);
        }
        float* scaled = out.scaledSums.data() + t * (cols / 32) + b * 8;
        int16_t* pairs = out.pairSums.data() + t * (cols / 32) + b * 8;
        for (int g = 0; g < 8; ++g) {
          pairs[g] = static_cast<int16_t>(s[2 * g] + s[2 * g + 1]);
          scaled[g] = d * static_cast<float>(pairs[g]);
        }
      }
    }
  }
}

}  // namespace skimlet
