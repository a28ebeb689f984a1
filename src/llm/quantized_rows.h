// Activation rows quantized to signed 8-bit blocks, so that they can be multiplied with quantized
// weights by integer dot products without expanding the weights.
#pragma once

#include <cstdint>
#include <vector>

namespace skimlet {

struct QuantizedRows {
  int blockLen = 0;  // 32 for Q8_0 weights, 256 for Q4_K and Q6_K
  int64_t cols = 0;
  int n = 0;
  std::vector<int8_t> q;      // n rows of cols values
  std::vector<float> d;       // one scale per block: value ≈ d × q
  std::vector<int16_t> sums;  // sum of q over each run of 16 values (256-blocks only)
  // d × the sum of q over each run of 32 values (256-blocks only): what a Q4_K sub-block's
  // minimum is multiplied with, ready for every weight row.
  std::vector<float> scaledSums;
  // The sum of q over each run of 32 values (256-blocks only), for integer products with a Q4_K
  // block's minimums.
  std::vector<int16_t> pairSums;

  const int8_t* rowQ(int t) const { return q.data() + t * cols; }
  const float* rowD(int t) const { return d.data() + t * (cols / blockLen); }
  const int16_t* rowSums(int t) const { return sums.data() + t * (cols / 16); }
  const float* rowScaledSums(int t) const { return scaledSums.data() + t * (cols / 32); }
  const int16_t* rowPairSums(int t) const { return pairSums.data() + t * (cols / 32); }
};

// Quantizes n rows of cols floats (cols a multiple of blockLen) symmetrically to [-127, 127].
void quantizeRows(const float* x, int n, int64_t cols, int blockLen, QuantizedRows& out);

}  // namespace skimlet
