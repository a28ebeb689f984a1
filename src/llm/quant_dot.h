// Dot products of one quantized weight row with a few quantized activation rows, one kernel per
// instruction set; the best one this CPU runs is picked once at start-up.
#pragma once

#include <cstdint>

#include "llm/quantized_rows.h"

namespace skimlet {

// Activation rows one weight row is multiplied with at a time; the unpacked weight block is
// reused across them while it sits in registers.
inline constexpr int kDotTile = 8;

// out[i] = row w · activation row t0 + i, for i < nt (nt <= kDotTile).
using RowDot = void (*)(const uint8_t* w, const QuantizedRows& x, int t0, int nt, float* out);

struct DotKernels {
  const char* name = "";
  RowDot q8_0 = nullptr;  // needs 32-blocks
  RowDot q4K = nullptr;   // needs 256-blocks
  RowDot q6K = nullptr;   // needs 256-blocks
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
