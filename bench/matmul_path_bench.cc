// Which product path is faster, batch size by batch size, on this machine: the integer dot
// products of the quantized blocks, or each band converted to floats and multiplied by the
// platform's GEMM (Accelerate on macOS, OpenBLAS on Linux). Both run on every core over one
// Q4_K matrix of the shipped model's feed-forward shape (8960 × 1536). It prints the time of each
// path, their ratio, and the batch size from which the float path wins: the value to give
// useFloatPathFrom() on this kind of machine (0 when it never wins).
//
//   build/bench/matmul_path_bench            # all batch sizes
//   build/bench/matmul_path_bench 1 64       # only these
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <vector>

#include "llm/ggml_type.h"
#include "llm/matmul.h"
#include "llm/thread_pool.h"

namespace {

using namespace skimlet;

constexpr int64_t kRows = 8960, kCols = 1536;

// Random blocks with sane scales (a random half float may be a NaN or a subnormal, which would
// time something other than the product).
std::vector<uint8_t> randomQ4K() {
  std::vector<uint8_t> bytes(static_cast<size_t>(kRows) * GGMLType::rowBytes(GGMLType::q4K, kCols));
  std::mt19937 rng(11);
  for (auto& b : bytes) b = static_cast<uint8_t>(rng());
  for (size_t block = 0; block < bytes.size(); block += 144) {
    bytes[block] = 0x00, bytes[block + 1] = 0x20;      // d ≈ 0.0078
    bytes[block + 2] = 0x00, bytes[block + 3] = 0x1c;  // dmin ≈ 0.0039
  }
  return bytes;
}

// Median seconds of `runs` calls.
double median(int runs, const std::function<void()>& f) {
  std::vector<double> t;
  for (int i = 0; i < runs; ++i) {
    auto start = std::chrono::steady_clock::now();
    f();
    t.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  std::sort(t.begin(), t.end());
  return t[t.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<int> batches = {1, 2, 4, 8, 16, 32, 64, 128, 256};
  if (argc > 1) {
    batches.clear();
    for (int i = 1; i < argc; ++i) batches.push_back(std::max(1, std::atoi(argv[i])));
  }
  const std::vector<uint8_t> weights = randomQ4K();
  const QMatrix m{weights.data(), GGMLType::q4K, kRows, kCols};
  std::printf("Q4_K %lld x %lld on %d threads\n", static_cast<long long>(kRows), static_cast<long long>(kCols),
              ThreadPool::shared().threads());
  std::printf("%6s %14s %14s %8s\n", "batch", "integer ms", "float ms", "ratio");
  int from = 0;
  std::mt19937 rng(3);
  std::uniform_real_distribution<float> value(-1, 1);
  for (int n : batches) {
    std::vector<float> x(static_cast<size_t>(n) * kCols), y(static_cast<size_t>(n) * kRows);
    for (float& v : x) v = value(rng);
    const int runs = n <= 8 ? 40 : 10;
    matmulQuantized(x.data(), n, m, y.data());  // warm both paths and the pool
    matmulBands(x.data(), n, m, y.data());
    const double integer = median(runs, [&] { matmulQuantized(x.data(), n, m, y.data()); });
    const double floats = median(runs, [&] { matmulBands(x.data(), n, m, y.data()); });
    std::printf("%6d %14.3f %14.3f %8.2f\n", n, integer * 1e3, floats * 1e3, floats / integer);
    if (floats < integer && from == 0) from = n;
    if (floats >= integer) from = 0;  // only a run of wins up to the largest batch counts
  }
  std::printf("useFloatPathFrom(%d)%s\n", from, from == 0 ? ": the integer path wins throughout" : "");
  return 0;
}
