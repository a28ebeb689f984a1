#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "llm/dequant.h"
#include "llm/f16.h"
#include "llm/ggml_type.h"
#include "llm/matmul.h"
#include "llm/quant_dot.h"
#include "llm/quantized_rows.h"
#include "support/gguf_writer.h"

namespace skimlet {
namespace {

uint32_t floatBits(float f) {
  uint32_t b;
  std::memcpy(&b, &f, 4);
  return b;
}

void putHalf(uint8_t* p, uint16_t h) { std::memcpy(p, &h, 2); }

TEST(HalfPrecision, SpecialValuesConvertExactly) {
  EXPECT_EQ(floatBits(halfToFloat(0x0000)), 0x00000000u);
  EXPECT_EQ(floatBits(halfToFloat(0x8000)), 0x80000000u);  // negative zero keeps its sign
  EXPECT_EQ(halfToFloat(0x0001), std::ldexp(1.0f, -24));   // smallest subnormal
  EXPECT_EQ(halfToFloat(0x83FF), -1023 * std::ldexp(1.0f, -24));
  EXPECT_EQ(halfToFloat(0x0400), std::ldexp(1.0f, -14));  // smallest normal
  EXPECT_EQ(halfToFloat(0x3C00), 1.0f);
  EXPECT_EQ(halfToFloat(0xC000), -2.0f);
  EXPECT_EQ(halfToFloat(0x7BFF), 65504.0f);
  EXPECT_EQ(halfToFloat(0x7C00), std::numeric_limits<float>::infinity());
  EXPECT_EQ(halfToFloat(0xFC00), -std::numeric_limits<float>::infinity());
  EXPECT_EQ(floatBits(halfToFloat(0x7C01)), 0x7F802000u);  // NaN payload carried over
  EXPECT_EQ(floatBits(halfToFloat(0xFE00)), 0xFFC00000u);
}

TEST(HalfPrecision, EveryHalfSurvivesARoundTrip) {
  for (uint32_t h = 0; h < 0x10000; ++h) {
    const float f = halfToFloat(static_cast<uint16_t>(h));
    if (std::isnan(f)) continue;
    ASSERT_EQ(floatToHalf(f), h) << std::hex << h;
    // The neighbours halfway to the next half round to even.
    if ((h & 0x7FFF) < 0x7BFF) {
      const float next = halfToFloat(static_cast<uint16_t>(h + 1));
      const float mid = (f + next) / 2;
      ASSERT_EQ(floatToHalf(mid), (h & 1) ? h + 1 : h) << std::hex << h;
    }
  }
}

TEST(BlockFormats, Q8_0ScalesSignedBytes) {
  uint8_t block[34];
  putHalf(block, 0x3800);  // 0.5
  for (int i = 0; i < 32; ++i) block[2 + i] = static_cast<uint8_t>(static_cast<int8_t>(i - 16));
  float out[32];
  dequantQ8_0(block, out);
  for (int i = 0; i < 32; ++i) EXPECT_EQ(out[i], 0.5f * (i - 16));
}

TEST(BlockFormats, Q4KUnpacksSixBitScales) {
  uint8_t block[144] = {};
  putHalf(block, 0x3C00);      // d = 1
  putHalf(block + 2, 0x0000);  // dmin = 0
  std::memset(block + 4, 63, 12);
  for (int i = 0; i < 128; ++i) block[16 + i] = static_cast<uint8_t>((i % 16) | ((15 - i % 16) << 4));
  float out[256];
  dequantQ4K(block, out);
  // Bytes of 63 give scale 63 to sub-blocks 0-3; sub-blocks 4-7 take their low four bits from
  // bytes 8-11 and their high two bits from the top of bytes 0-3, here 15.
  for (int p = 0; p < 4; ++p)
    for (int l = 0; l < 32; ++l) {
      const float scale0 = 2 * p < 4 ? 63 : 15, scale1 = 2 * p + 1 < 4 ? 63 : 15;
      EXPECT_EQ(out[64 * p + l], scale0 * (l % 16));
      EXPECT_EQ(out[64 * p + 32 + l], scale1 * (15 - l % 16));
    }

  // Hand-packed: sub-block 5 has scale 2 + (3 << 4) = 50 and minimum 1 + (2 << 4) = 33.
  uint8_t b2[144] = {};
  putHalf(b2, 0x3800);      // d = 0.5
  putHalf(b2 + 2, 0x4000);  // dmin = 2
  b2[4 + 1] = 0xC0;         // top bits of byte 1: high bits of sub-block 5's scale
  b2[4 + 5] = 0x80 | 7;     // minimum of sub-block 1 is 7; top bits: high bits of sub-block 5's minimum
  b2[4 + 9] = 0x12;         // low four bits of sub-block 5: scale 2, minimum 1
  b2[16 + 64 + 3] = 0x90;   // element 64·2 + 32 + 3 (sub-block 5) holds 9
  b2[16 + 0 + 4] = 0x0A;    // element 4 (sub-block 0) holds 10, scale 0
  dequantQ4K(b2, out);
  EXPECT_EQ(out[128 + 32 + 3], 0.5f * 50 * 9 - 2.0f * 33);
  EXPECT_EQ(out[128 + 32 + 4], -2.0f * 33);
  EXPECT_EQ(out[4], 0.0f);
  EXPECT_EQ(out[32 + 4], -2.0f * 7);
  uint8_t sc, m;
  q4KScaleMin(5, b2 + 4, sc, m);
  EXPECT_EQ(sc, 50);
  EXPECT_EQ(m, 33);
}

TEST(BlockFormats, Q6KCombinesItsBits) {
  uint8_t block[210] = {};
  putHalf(block + 208, 0x3C00);  // d = 1
  for (int r = 0; r < 16; ++r) block[192 + r] = static_cast<uint8_t>(static_cast<int8_t>(r - 8));
  float out[256];
  dequantQ6K(block, out);
  // All bits zero: every value is -32 × its run's scale.
  for (int e = 0; e < 256; ++e) EXPECT_EQ(out[e], -32.0f * (e / 16 - 8)) << e;

  // Element 128 + 96 + 17 (second half, fourth quarter): high nibble of ql[64 + 32 + 17] and
  // bits 6-7 of qh[32 + 17]; run 15, scale 7.
  block[64 + 32 + 17] = 0x50;
  block[128 + 32 + 17] = 0x80;
  // Element 5: low nibble of ql[5], bits 0-1 of qh[5]; run 0, scale -8.
  block[5] = 0x0F;
  block[128 + 5] = 0x01;
  dequantQ6K(block, out);
  EXPECT_EQ(out[128 + 96 + 17], 7.0f * ((5 | (2 << 4)) - 32));
  EXPECT_EQ(out[5], -8.0f * ((15 | (1 << 4)) - 32));
  EXPECT_EQ(out[128 + 17], -32.0f * 1);  // same qh byte, bits 0-1 still zero; run 9, scale 1
}

TEST(BlockFormats, RowsConvertEachSupportedType) {
  std::mt19937 rng(3);
  std::normal_distribution<float> normal(0, 1);
  std::vector<float> x(3 * 256);
  for (float& v : x) v = normal(rng);
  for (uint32_t type : {GGMLType::f32, GGMLType::f16, GGMLType::q8_0, GGMLType::q4K, GGMLType::q6K}) {
    std::vector<uint8_t> bytes = testing::quantize(type, x.data(), static_cast<int64_t>(x.size()));
    QMatrix m{bytes.data(), type, 3, 256};
    std::vector<float> all(3 * 256), last(256);
    dequantRows(m, 0, 3, all.data());
    dequantRows(m, 2, 1, last.data());
    EXPECT_TRUE(std::equal(last.begin(), last.end(), all.begin() + 512)) << type;
    double err = 0;
    for (size_t i = 0; i < x.size(); ++i) err = std::max(err, std::fabs(double(all[i]) - x[i]));
    EXPECT_LT(err, type == GGMLType::q4K ? 0.6 : 0.2) << type;  // the writer's quantizer is sane
    if (type == GGMLType::f32) {
      EXPECT_EQ(all, x);
    }
  }
  std::vector<uint8_t> bytes(64, 0xFF);
  float out[4] = {7, 7, 7, 7};
  dequantRows(QMatrix{bytes.data(), 2, 1, 4}, 0, 1, out);
  dequantRows(QMatrix{bytes.data(), GGMLType::f32, 1, 4}, 0, 0, out);
  EXPECT_EQ(out[0], 7);
  EXPECT_EQ(out[3], 7);
}

// y = x × Wᵀ the slow way, from the converted weights.
std::vector<float> naiveProduct(const std::vector<float>& x, int n, const QMatrix& m) {
  std::vector<float> w(m.rows * m.cols), y(n * m.rows);
  dequantRows(m, 0, m.rows, w.data());
  for (int i = 0; i < n; ++i)
    for (int64_t r = 0; r < m.rows; ++r) {
      double s = 0;
      for (int64_t k = 0; k < m.cols; ++k) s += double(x[i * m.cols + k]) * w[r * m.cols + k];
      y[i * m.rows + r] = static_cast<float>(s);
    }
  return y;
}

struct Fixture {
  std::vector<float> x;
  std::vector<uint8_t> bytes;
  QMatrix m;
  Fixture(uint32_t type, int n, int64_t rows, int64_t cols, uint32_t seed) {
    std::mt19937 rng(seed);
    std::normal_distribution<float> normal(0, 1);
    std::vector<float> w(rows * cols);
    for (float& v : w) v = normal(rng) * 0.1f;
    x.resize(n * cols);
    for (float& v : x) v = normal(rng);
    bytes = testing::quantize(type, w.data(), rows * cols);
    m = QMatrix{bytes.data(), type, rows, cols};
  }
};

double maxAbs(const std::vector<float>& v) {
  double m = 0;
  for (float f : v) m = std::max(m, double(std::fabs(f)));
  return m;
}

TEST(BandProduct, BandsCoverEveryRowOnce) {
  EXPECT_EQ(bandRows(1), 32);
  EXPECT_EQ(bandRows(2), 64);
  // 33 rows for one token: bands of 32 and 1; 65 rows for three tokens: 64 and 1.
  for (auto [n, rows] : {std::pair{1, 33}, std::pair{3, 65}, std::pair{2, 7}}) {
    for (uint32_t type : {GGMLType::f32, GGMLType::f16, GGMLType::q4K}) {
      Fixture f(type, n, rows, 256, rows + type);
      std::vector<float> y(n * rows, std::nanf(""));
      matmulBands(f.x.data(), n, f.m, y.data());
      const std::vector<float> want = naiveProduct(f.x, n, f.m);
      for (size_t i = 0; i < y.size(); ++i) ASSERT_NEAR(y[i], want[i], 1e-4 * maxAbs(want)) << i;
    }
  }
}

TEST(QuantizedProduct, FloatPathTakesBatchesFromItsThreshold) {
  Fixture f(GGMLType::q4K, 3, 40, 256, 5);
  std::vector<float> integer(3 * 40), floats(3 * 40), y(3 * 40);
  matmulQuantized(f.x.data(), 3, f.m, integer.data());
  matmulBands(f.x.data(), 3, f.m, floats.data());
  useFloatPathFrom(3);
  matmul(f.x.data(), 3, f.m, y.data());
  EXPECT_EQ(y, floats);
  matmul(f.x.data(), 2, f.m, y.data());
  EXPECT_TRUE(std::equal(y.begin(), y.begin() + 2 * 40, integer.begin()));  // rows don't depend on each other
  useFloatPathFrom(0);
  matmul(f.x.data(), 3, f.m, y.data());
  EXPECT_EQ(y, integer);
}

TEST(QuantizedProduct, ActivationQuantizationKeepsSums) {
  std::vector<float> x(512);
  for (int i = 0; i < 512; ++i) x[i] = std::sin(i * 0.37f) * (i < 256 ? 1 : 100);
  QuantizedRows q;
  quantizeRows(x.data(), 2, 256, 256, q);
  EXPECT_EQ(q.d.size(), 2u);
  EXPECT_NEAR(q.d[1], 100 * q.d[0], 1e-3 * q.d[1]);
  for (int i = 0; i < 512; ++i) EXPECT_NEAR(q.q[i] * q.d[i / 256], x[i], q.d[i / 256] * 0.5001);
  // Halves round to the even neighbour, as nearbyint does.
  std::vector<float> ties(256, 0.0f);
  ties[0] = 127;
  for (int i = 1; i < 8; ++i) ties[i] = (i % 2 ? 1 : -1) * (i + 0.5f);
  QuantizedRows t;
  quantizeRows(ties.data(), 1, 256, 256, t);
  ASSERT_EQ(t.d[0], 1.0f);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(t.q[i], static_cast<int8_t>(std::nearbyint(ties[i]))) << ties[i];
  for (int g = 0; g < 32; ++g) {
    int s = 0;
    for (int i = 0; i < 16; ++i) s += q.q[16 * g + i];
    EXPECT_EQ(q.sums[g], s);
  }
  // A fuzzed model made activations NaN, infinite or subnormal: such a block counts as zeros.
  for (float bad : {std::nanf(""), INFINITY, 1e-40f}) {
    std::vector<float> y(512, 1.0f);
    if (bad == 1e-40f) std::fill(y.begin(), y.begin() + 256, 0.0f);  // a subnormal largest value
    y[3] = bad;
    QuantizedRows b;
    quantizeRows(y.data(), 1, 512, 256, b);
    EXPECT_EQ(b.d[0], 0.0f);
    EXPECT_EQ(std::count(b.q.begin(), b.q.begin() + 256, 0), 256);
    EXPECT_EQ(b.q[300], 127);
  }
}

std::vector<DotKernels> kernelSetsOnThisCPU() {
  std::vector<DotKernels> sets{genericDotKernels()};
  if (cpuHasAVX2() && avx2DotKernels().q4K) sets.push_back(avx2DotKernels());
  if (cpuHasAVX512VNNI() && avx512DotKernels().q4K) sets.push_back(avx512DotKernels());
  if (neonDotKernels().q4K) sets.push_back(neonDotKernels());
  return sets;
}

TEST(QuantizedProduct, AgreesWithTheBandPathForEveryKernelSet) {
  for (uint32_t type : {GGMLType::q8_0, GGMLType::q4K, GGMLType::q6K}) {
    // One token (its own kernels), part of a tile of eight, and a full tile with a remainder;
    // 1280 columns, so several blocks per row and an odd count of 256-blocks (the one-token
    // kernels take blocks in pairs).
    for (int n : {1, 3, 11}) {
      Fixture f(type, n, 70, 1280, 11 * n + type);
      std::vector<float> band(n * 70);
      matmulBands(f.x.data(), n, f.m, band.data());
      std::vector<float> reference;
      for (const DotKernels& k : kernelSetsOnThisCPU()) {
        SCOPED_TRACE(std::string(k.name) + " type " + std::to_string(type) + " n " + std::to_string(n));
        std::vector<float> y(n * 70, std::nanf(""));
        matmulQuantized(f.x.data(), n, f.m, y.data(), k);
        // Eight-bit activations: errors a small fraction of the outputs' size.
        const double scale = maxAbs(band);
        double worst = 0;
        for (size_t i = 0; i < y.size(); ++i) worst = std::max(worst, std::fabs(double(y[i]) - band[i]));
        EXPECT_LT(worst, 0.02 * scale);
        // The vector kernels compute the same integer sums as the plain one.
        if (reference.empty()) {
          reference = y;
        } else {
          for (size_t i = 0; i < y.size(); ++i) ASSERT_NEAR(y[i], reference[i], 1e-5 * scale) << i;
        }
      }
    }
  }
}

// One token's attention for three query heads sharing keys and values, head sizes of whole and
// partial vector steps, keys strided as in the cache: every set agrees with the softmax written
// out here.
TEST(AttentionRow, EveryKernelSetAgreesWithThePlainSoftmax) {
  std::mt19937 rng(5);
  std::normal_distribution<float> normal(0, 1);
  for (int hd : {128, 28}) {
    const int heads = 3, total = 37, stride = 3 * hd;
    std::vector<float> q(heads * hd), keys(total * stride), values(total * stride);
    for (float& v : q) v = normal(rng);
    for (float& v : keys) v = normal(rng);
    for (float& v : values) v = normal(rng);
    std::vector<double> want(heads * hd, 0.0);
    for (int h = 0; h < heads; ++h) {
      std::vector<double> weights(total);
      double sum = 0;
      for (int j = 0; j < total; ++j) {
        double d = 0;
        for (int i = 0; i < hd; ++i) d += double(q[h * hd + i]) * keys[j * stride + i];
        weights[j] = std::exp(d * 0.25);
        sum += weights[j];
      }
      for (int j = 0; j < total; ++j)
        for (int i = 0; i < hd; ++i) want[h * hd + i] += weights[j] / sum * values[j * stride + i];
    }
    for (const DotKernels& k : kernelSetsOnThisCPU()) {
      if (!k.attendRow) continue;
      SCOPED_TRACE(std::string(k.name) + " head size " + std::to_string(hd));
      std::vector<float> scores(heads * total), out(heads * hd, std::nanf(""));
      k.attendRow(q.data(), heads, keys.data(), values.data(), total, stride, hd, 0.25f, scores.data(), out.data());
      for (int i = 0; i < heads * hd; ++i) ASSERT_NEAR(out[i], want[i], 1e-4) << i;
    }
  }
  EXPECT_NE(dotKernels().attendRow, nullptr);
}

// The gated activation over the whole float range a layer can produce, at lengths around the
// vector width: close to silu(g) × u computed in double.
TEST(GatedActivation, EveryKernelSetAgreesWithTheFormula) {
  std::vector<float> g0, u;
  for (float v : {-200.0f, -87.5f, -30.0f, -3.0f, -0.5f, 0.0f, 1e-8f, 0.7f, 4.0f, 30.0f, 88.5f, 300.0f, -2.25f})
    g0.push_back(v);
  for (size_t i = 0; i < g0.size(); ++i) u.push_back(i % 2 ? -1.5f : 2.0f);
  for (const DotKernels& k : kernelSetsOnThisCPU()) {
    if (!k.gated) continue;
    for (size_t n : {size_t{8}, size_t{13}}) {
      std::vector<float> g(g0.begin(), g0.begin() + n);
      k.gated(g.data(), u.data(), n);
      for (size_t i = 0; i < n; ++i) {
        const double want = g0[i] / (1.0 + std::exp(-double(g0[i]))) * u[i];
        ASSERT_NEAR(g[i], want, 1e-6 * std::max(1.0, std::fabs(want))) << k.name << " g " << g0[i];
      }
    }
  }
  EXPECT_NE(dotKernels().gated, nullptr);
}

TEST(QuantizedProduct, BatchedJobsMatchSeparateProducts) {
  const Fixture f[] = {{GGMLType::q4K, 2, 40, 256, 1}, {GGMLType::f16, 2, 24, 256, 2}, {GGMLType::q8_0, 2, 8, 256, 3}};
  std::vector<std::vector<float>> batched, separate;
  std::vector<MatmulJob> jobs;
  for (const Fixture& one : f) batched.emplace_back(2 * one.m.rows), separate.emplace_back(2 * one.m.rows);
  for (size_t i = 0; i < 3; ++i) jobs.push_back({f[0].x.data(), &f[i].m, batched[i].data()});
  matmulAll(jobs, 2);
  for (size_t i = 0; i < 3; ++i) matmul(f[0].x.data(), 2, f[i].m, separate[i].data());
  EXPECT_EQ(batched, separate);
}

}  // namespace
}  // namespace skimlet
