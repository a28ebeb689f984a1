// Matrix products with quantized weights: y = x × Wᵀ for n activation rows. Weights stay in the
// mapped file; every product fans out over the shared thread pool in bands of weight rows.
#pragma once

#include <span>

#include "llm/qmatrix.h"
#include "llm/quant_dot.h"

namespace skimlet {

// Rows of W per band: small for one token so that both cores get work, larger for prompts.
inline int bandRows(int n) { return n == 1 ? 32 : 64; }

// x: n rows of m.cols floats; y: n rows of m.rows floats. Picks the fastest path for the type.
void matmul(const float* x, int n, const QMatrix& m, float* y);

// Converts each band to floats and multiplies it with single-precision GEMM (any type).
void matmulBands(const float* x, int n, const QMatrix& m, float* y);

// Integer dot products of the quantized blocks with x quantized to 8 bits (Q8_0, Q4_K, Q6_K);
// no weight is ever expanded to floats.
bool quantizedPathSupports(const QMatrix& m);
void matmulQuantized(const float* x, int n, const QMatrix& m, float* y, const DotKernels& kernels = dotKernels());

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
