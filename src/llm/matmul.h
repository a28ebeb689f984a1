// Matrix products with quantized weights: y = x × Wᵀ for n activation rows. Weights stay in the
// mapped file; every product fans out over the shared thread pool in bands of weight rows.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>

#include "llm/qmatrix.h"
#include "llm/quant_dot.h"

namespace skimlet {

// Rows of W per band: small for one token so that both cores get work, larger for prompts.
inline int bandRows(int n) { return n == 1 ? 32 : 64; }

// Rows per task of the quantized path. One token reads each weight once and fast, so a task is
// about 128 KiB of weights (claiming a task costs a cache line passed between the cores, which
// 32 short rows did not pay for); several tokens spend longer on each row, so 64 rows do.
inline int quantizedBandRows(int n, size_t rowBytes) {
  if (n > 1) return 64;
  const size_t rows = (size_t{128} << 10) / std::max<size_t>(rowBytes, 1);
  return static_cast<int>(std::clamp<size_t>(rows / 16 * 16, 16, 256));
}

// x: n rows of m.cols floats; y: n rows of m.rows floats. Picks the fastest path for the type.
void matmul(const float* x, int n, const QMatrix& m, float* y);

// Converts each band to floats and multiplies it with single-precision GEMM (any type).
void matmulBands(const float* x, int n, const QMatrix& m, float* y);

// Integer dot products of the quantized blocks with x quantized to 8 bits (Q8_0, Q4_K, Q6_K);
// no weight is ever expanded to floats.
bool quantizedPathSupports(const QMatrix& m);
void matmulQuantized(const float* x, int n, const QMatrix& m, float* y, const DotKernels& kernels = dotKernels());

// Batches of at least `batchRows` activation rows take the float path (matmulBands: each band
// converted and multiplied by the platform's single-precision GEMM, Accelerate on macOS and
// OpenBLAS elsewhere) instead of the integer dot products; 0, the default, never does. Which is
// faster depends on the machine's GEMM against its integer kernels, so it is chosen from
// bench/matmul_path_bench's figures on that kind of machine, not guessed.
void useFloatPathFrom(int batchRows);
int floatPathFrom();

// Whether matmul may take the quantized path (on by default). Off, every product is an exact
// single-precision one, which tests and benchmarks use for comparison.
void useQuantizedProducts(bool on);
bool quantizedProductsEnabled();

// Several products over the same n rows run as one parallel pass (e.g. the query, key and value
// projections), saving a round of waking the workers.
struct MatmulJob {
  const float* x;
  const QMatrix* m;
  float* y;
};
void matmulAll(std::span<const MatmulJob> jobs, int n);

}  // namespace skimlet
