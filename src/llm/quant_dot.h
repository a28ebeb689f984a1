// Dot products of one quantized weight row with a few quantized activation rows, one kernel per
// instruction set; the best one this CPU runs is picked once at start-up.
#pragma once

#include <cstddef>
#include <cstdint>

#include "llm/quantized_rows.h"

namespace skimlet {

// Activation rows one weight row is multiplied with at a time; the unpacked weight block is
// reused across them while it sits in registers.
inline constexpr int kDotTile = 8;

// out[i] = row w · activation row t0 + i, for i < nt (nt <= kDotTile).
using RowDot = void (*)(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out);

// One token's attention for `heads` query heads that share one key/value head, over `total`
// cached positions: scores (scaled dot products with the keys, into s, `total` floats a head),
// their softmax, and the weighted sums of the values into out. Query and output rows are hd
// floats apart, key and value rows `stride` floats. The heads go together so that each key and
// value row is fetched once for all of them. Not a quantized product, but one token's attention
// is the other loop of generation that wants the vector units.
using AttendRow = void (*)(const float* q, int heads, const float* keys, const float* values, int total, size_t stride,
                           int hd, float scale, float* s, float* out);

// g[i] = silu(g[i]) × u[i] for i < n: the gated activation between the feed-forward products.
using GatedActivation = void (*)(float* g, const float* u, size_t n);

struct DotKernels {
  const char* name = "";
  RowDot q8_0 = nullptr;            // needs 32-blocks
  RowDot q4K = nullptr;             // needs 256-blocks
  RowDot q6K = nullptr;             // needs 256-blocks
  AttendRow attendRow = nullptr;    // sets without their own take the best other one
  GatedActivation gated = nullptr;  // likewise
};

// The kernels this CPU supports best (AVX-512 VNNI, AVX2, NEON dot product, else plain C++).
const DotKernels& dotKernels();

// Every kernel set built for this CPU architecture, for tests; unsupported sets have null entries.
DotKernels genericDotKernels();
DotKernels avx2DotKernels();
DotKernels avx512DotKernels();
DotKernels neonDotKernels();
bool cpuHasAVX2();
bool cpuHasAVX512VNNI();

}  // namespace skimlet
