#include "llm/matmul.h"

#if defined(__APPLE__)
#include <Accelerate/Accelerate.h>
#else
#include <cblas.h>
#endif

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <vector>

#include "llm/dequant.h"
#include "llm/quantized_rows.h"
#include "llm/thread_pool.h"

namespace skimlet {

namespace {

// The pool provides the parallelism; a BLAS running its own threads inside each band would
// only oversubscribe the cores.
void singleThreadedBlas() {
#if !defined(__APPLE__)
  static std::once_flag once;
  std::call_once(once, [] { openblas_set_num_threads(1); });
#endif
}

int blasInt(int64_t v) {
  if (v > INT_MAX) {
    std::fprintf(stderr, "skimlet: matrix dimension %lld is too large\n", static_cast<long long>(v));
    std::abort();
  }
  return static_cast<int>(v);
}

int blockLenFor(uint32_t type) { return type == GGMLType::q8_0 ? 32 : 256; }

RowDot kernelFor(uint32_t type, const DotKernels& k) {
  switch (type) {
    case GGMLType::q8_0: return k.q8_0;
    case GGMLType::q4K: return k.q4K;
    case GGMLType::q6K: return k.q6K;
    default: return nullptr;
  }
}

void bandProduct(const float* x, int n, const QMatrix& m, float* y, int64_t band, int rowsPerBand) {
  const int64_t r0 = band * rowsPerBand;
  const int64_t c = std::min<int64_t>(rowsPerBand, m.rows - r0);
  thread_local std::vector<float> scratch;
  scratch.resize(static_cast<size_t>(c * m.cols));
  dequantRows(m, r0, c, scratch.data());
  cblas_sgemm(CblasRowMajor, CblasNoTrans, CblasTrans, blasInt(n), blasInt(c), blasInt(m.cols), 1.0f, x,
              blasInt(m.cols), scratch.data(), blasInt(m.cols), 0.0f, y + r0, blasInt(m.rows));
}

// One band of rows of one quantized product: token tiles outermost, so the band's weight bytes
// stay in cache while the activation tiles stream past them.
void quantizedBand(const QuantizedRows& xq, const QMatrix& m, float* y, int64_t r0, int64_t r1, RowDot dot) {
  float out[kDotTile];
  const size_t rowBytes = m.rowBytes();
  for (int t0 = 0; t0 < xq.n; t0 += kDotTile) {
    const int nt = std::min(kDotTile, xq.n - t0);
    for (int64_t r = r0; r < r1; ++r) {
      dot(m.ptr + static_cast<size_t>(r) * rowBytes, xq, t0, nt, out);
      for (int i = 0; i < nt; ++i) y[(t0 + i) * m.rows + r] = out[i];
    }
  }
}

}  // namespace

namespace {
std::atomic<bool> quantizedEnabled{true};
std::atomic<int> floatFrom{0};
}  // namespace

void useFloatPathFrom(int batchRows) { floatFrom.store(std::max(0, batchRows)); }
int floatPathFrom() { return floatFrom.load(); }

void useQuantizedProducts(bool on) { quantizedEnabled.store(on); }
bool quantizedProductsEnabled() { return quantizedEnabled.load(); }

bool quantizedPathSupports(const QMatrix& m) {
  return kernelFor(m.type, genericDotKernels()) != nullptr && m.cols % blockLenFor(m.type) == 0;
}

void matmulBands(const float* x, int n, const QMatrix& m, float* y) {
  if (n <= 0 || m.rows <= 0) return;
  singleThreadedBlas();
  const int rowsPerBand = bandRows(n);
  const int64_t bands = (m.rows + rowsPerBand - 1) / rowsPerBand;
  ThreadPool::shared().parallelFor(bands, [&](int64_t b) { bandProduct(x, n, m, y, b, rowsPerBand); });
}

namespace {

void runAll(std::span<const MatmulJob> jobs, int n, const DotKernels& kernels, bool quantized) {
  if (n <= 0) return;
  singleThreadedBlas();
  // Activations are quantized once per distinct input and block length.
  struct Prepared {
    const float* x;
    int blockLen;
    std::unique_ptr<QuantizedRows> rows;
  };
  std::vector<Prepared> prepared;
  struct Plan {
    const MatmulJob* job;
    const QuantizedRows* xq;  // null: band path
    RowDot dot;
    int64_t firstTask, bands;
    int rowsPerBand;
    // Quantized path: the last rows go in quarter bands, so that the cores finish a round
    // nearly together instead of one waiting for the other's last full band.
    int64_t fullBands = 0;
    int tailRows = 0;
  };
  std::vector<Plan> plans;
  int64_t tasks = 0;
  for (const MatmulJob& job : jobs) {
    Plan plan{&job, nullptr, nullptr, tasks, 0, bandRows(n)};
    if (quantized && quantizedPathSupports(*job.m)) {
      plan.rowsPerBand = quantizedBandRows(n, job.m->rowBytes());
      plan.dot = kernelFor(job.m->type, kernels);
      const int blockLen = blockLenFor(job.m->type);
      auto it = std::find_if(prepared.begin(), prepared.end(),
                             [&](const Prepared& p) { return p.x == job.x && p.blockLen == blockLen; });
      if (it == prepared.end()) {
        prepared.push_back({job.x, blockLen, std::make_unique<QuantizedRows>()});
        quantizeRows(job.x, n, job.m->cols, blockLen, *prepared.back().rows);
        it = prepared.end() - 1;
      }
      plan.xq = it->rows.get();
    }
    plan.bands = (job.m->rows + plan.rowsPerBand - 1) / plan.rowsPerBand;
    if (plan.xq) {
      plan.fullBands = std::max<int64_t>(0, job.m->rows / plan.rowsPerBand - 2);
      plan.tailRows = std::max(1, plan.rowsPerBand / 4);
      const int64_t rest = job.m->rows - plan.fullBands * plan.rowsPerBand;
      plan.bands = plan.fullBands + (rest + plan.tailRows - 1) / plan.tailRows;
    }
    tasks += plan.bands;
    plans.push_back(plan);
  }
  ThreadPool::shared().parallelFor(tasks, [&](int64_t task) {
    auto plan =
        std::upper_bound(plans.begin(), plans.end(), task, [](int64_t t, const Plan& p) { return t < p.firstTask; }) -
        1;
    const int64_t band = task - plan->firstTask;
    const QMatrix& m = *plan->job->m;
    if (plan->xq) {
      const bool full = band < plan->fullBands;
      const int64_t r0 = full ? band * plan->rowsPerBand
                              : plan->fullBands * plan->rowsPerBand + (band - plan->fullBands) * plan->tailRows;
      quantizedBand(*plan->xq, m, plan->job->y, r0, std::min(m.rows, r0 + (full ? plan->rowsPerBand : plan->tailRows)),
                    plan->dot);
    } else {
      bandProduct(plan->job->x, n, m, plan->job->y, band, plan->rowsPerBand);
    }
  });
}

}  // namespace

void matmulQuantized(const float* x, int n, const QMatrix& m, float* y, const DotKernels& kernels) {
  MatmulJob job{x, &m, y};
  runAll(std::span<const MatmulJob>(&job, 1), n, kernels, true);
}

void matmulAll(std::span<const MatmulJob> jobs, int n) {
  const int from = floatPathFrom();
  runAll(jobs, n, dotKernels(), quantizedProductsEnabled() && !(from > 0 && n >= from));
}

void matmul(const float* x, int n, const QMatrix& m, float* y) {
  MatmulJob job{x, &m, y};
  matmulAll(std::span<const MatmulJob>(&job, 1), n);
}

}  // namespace skimlet
