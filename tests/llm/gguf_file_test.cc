#include "llm/gguf_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "llm/ggml_type.h"
#include "llm_test_files.h"
#include "support/gguf_writer.h"

namespace skimlet {
namespace {

using testing::bytesOf;
using testing::f32Bytes;
using testing::GGUFWriter;
using testing::scratchPath;
using testing::writeBytes;

// The message of the GGUFError that `call` throws ("" when it throws none).
template <typename Call>
std::string errorOf(Call call) {
  try {
    call();
  } catch (const GGUFError& e) {
    return e.what();
  }
  return "";
}
std::string messageOf(const std::string& path) {
  return errorOf([&] { GGUFFile f(path); });
}

std::string written(GGUFWriter& w, const std::string& name = "model.gguf") {
  std::string path = scratchPath(name);
  w.write(path);
  return path;
}

TEST(GGUFFile, OpeningFailuresHaveTheirMessages) {
  EXPECT_EQ(messageOf(scratchPath("nowhere.gguf")), "Can't open model file");

  // At most 1024 bytes is "empty", even with a valid header.
  GGUFWriter w;
  std::vector<uint8_t> small = w.bytes();
  small.resize(1024, 0);
  writeBytes(scratchPath("small.gguf"), small);
  EXPECT_EQ(messageOf(scratchPath("small.gguf")), "Model file is empty");

  // A directory opens but cannot be mapped.
  const std::string dir = scratchPath("dir");
  ::mkdir(dir.c_str(), 0700);
  struct stat st;
  ASSERT_EQ(::stat(dir.c_str(), &st), 0);
  if (st.st_size >= 1025) {
    EXPECT_EQ(messageOf(dir), "Can't map model file");
  }

  writeBytes(scratchPath("zeros.gguf"), std::vector<uint8_t>(2000, 0));
  EXPECT_EQ(messageOf(scratchPath("zeros.gguf")), "Not a GGUF file");
}

TEST(GGUFFile, VersionsFromTwoOnAreRead) {
  for (uint32_t version : {1u, 2u, 3u, 99u}) {
    GGUFWriter w;
    w.version = version;
    w.addU32("answer", 42);
    const std::string path = written(w, std::string("v").append(std::to_string(version)).append(".gguf"));
    if (version == 1) {
      EXPECT_EQ(messageOf(path), "Unsupported GGUF version 1");
    } else {
      EXPECT_EQ(GGUFFile(path).intValue("answer"), 42) << version;
    }
  }
}

TEST(GGUFFile, EveryValueTypeReadsAsItsKind) {
  GGUFWriter w;
  w.addRaw("u8", 0, {250});
  w.addRaw("i8", 1, {static_cast<uint8_t>(-5)});
  w.addRaw("u16", 2, bytesOf<uint16_t>(65000));
  w.addRaw("i16", 3, bytesOf<int16_t>(-300));
  w.addU32("u32", 4000000000u);
  w.addI32("i32", -70000);
  w.addF32("f32", 0.1f);
  w.addBool("yes", true);
  w.addRaw("no", 7, {0});
  w.addString("s", "qwen2");
  w.addU64("u64", 0xFFFFFFFFFFFFFFFFull);
  w.addRaw("i64", 11, bytesOf<int64_t>(-(int64_t{1} << 40)));
  w.addRaw("f64", 12, bytesOf<double>(2.5));
  w.addString("broken", std::string("a\xFF") + "b\xE2\x82");
  GGUFFile f(written(w));

  EXPECT_EQ(f.intValue("u8"), 250);
  EXPECT_EQ(f.intValue("i8"), -5);
  EXPECT_EQ(f.intValue("u16"), 65000);
  EXPECT_EQ(f.intValue("i16"), -300);
  EXPECT_EQ(f.intValue("u32"), 4000000000LL);
  EXPECT_EQ(f.intValue("i32"), -70000);
  EXPECT_EQ(f.intValue("u64"), -1);  // the bit pattern, as a signed value
  EXPECT_EQ(f.intValue("i64"), -(int64_t{1} << 40));
  EXPECT_EQ(f.floatValue("f32"), 0.1f);  // exact: stored as a double made from the float
  EXPECT_EQ(std::get<double>(f.meta.at("f32")), static_cast<double>(0.1f));
  EXPECT_EQ(f.floatValue("f64"), 2.5f);
  EXPECT_EQ(f.floatValue("u32"), 4000000000.0f);
  EXPECT_EQ(std::get<bool>(f.meta.at("yes")), true);
  EXPECT_EQ(std::get<bool>(f.meta.at("no")), false);
  EXPECT_EQ(f.stringValue("s"), "qwen2");
  EXPECT_EQ(f.stringValue("broken"),
            "a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD");

  // Asking for the wrong kind, or a missing key, gives none.
  EXPECT_FALSE(f.intValue("f32"));
  EXPECT_FALSE(f.intValue("s"));
  EXPECT_FALSE(f.floatValue("s"));
  EXPECT_FALSE(f.floatValue("yes"));
  EXPECT_FALSE(f.intValue("missing"));
  EXPECT_FALSE(f.stringValue("u8"));
}

TEST(GGUFFile, OnlyTokenizerListsAreKept) {
  GGUFWriter w;
  w.addStrings("tokenizer.ggml.tokens", {"a", "b", "ab"});
  w.addStrings("tokenizer.ggml.merges", {"a b"});
  w.addStrings("general.tags", {"x", "y"});
  w.addF32Array("tokenizer.ggml.scores", {1, 2, 3});
  std::vector<uint8_t> bools = bytesOf<uint32_t>(7);
  for (uint8_t b : bytesOf<int64_t>(3)) bools.push_back(b);
  bools.insert(bools.end(), {1, 0, 1});
  w.addRaw("flags", 9, bools);
  w.addU32("after", 7);  // read correctly only if every skipped array advanced exactly
  w.addU32("dup", 1);
  w.addU32("dup", 2);
  GGUFFile f(written(w));

  ASSERT_NE(f.stringList("tokenizer.ggml.tokens"), nullptr);
  EXPECT_EQ(*f.stringList("tokenizer.ggml.tokens"), (std::vector<std::string>{"a", "b", "ab"}));
  EXPECT_EQ(*f.stringList("tokenizer.ggml.merges"), (std::vector<std::string>{"a b"}));
  EXPECT_EQ(f.meta.count("general.tags"), 0u);
  EXPECT_EQ(f.meta.count("tokenizer.ggml.scores"), 0u);
  EXPECT_EQ(f.meta.count("flags"), 0u);
  EXPECT_EQ(f.intValue("after"), 7);
  EXPECT_EQ(f.intValue("dup"), 2);
}

TEST(GGUFFile, UnsupportedTypesAreRefused) {
  GGUFWriter bad;
  bad.addRaw("x", 13, {0, 0, 0, 0});
  EXPECT_EQ(messageOf(written(bad, "value.gguf")), "Unsupported GGUF value type 13");

  // Arrays of arrays or of unknown types are refused by their element type, whatever the count.
  for (uint32_t element : {9u, 13u}) {
    for (int64_t count : {int64_t{1}, int64_t{-1}}) {
      GGUFWriter nested;
      std::vector<uint8_t> payload = bytesOf<uint32_t>(element);
      for (uint8_t b : bytesOf<int64_t>(count)) payload.push_back(b);
      nested.addRaw("x", 9, payload);
      EXPECT_EQ(messageOf(written(nested, "nested.gguf")), "Unsupported GGUF array type") << element << " " << count;
    }
  }
}

TEST(GGUFFile, DataStartFollowsTheAlignment) {
  // None declared, 256 declared, and a float that is not an integer (so the default of 32).
  for (const char* declared : {"none", "u32", "f32"}) {
    SCOPED_TRACE(declared);
    GGUFWriter w;
    if (declared == std::string("u32")) w.alignment = 256, w.addU32("general.alignment", 256);
    if (declared == std::string("f32")) w.addF32("general.alignment", 64);
    w.addTensor("v", {4}, GGMLType::f32, f32Bytes({1, 2, 3, 4}));
    GGUFFile f(written(w, declared + std::string(".gguf")));
    EXPECT_EQ(f.dataStart % w.alignment, 0);
    EXPECT_EQ(f.vector("v"), (std::vector<float>{1, 2, 3, 4}));
  }

  // A header that ends at the end of the file leaves no room for data.
  GGUFWriter w;
  w.addString("pad", std::string(2000, 'x'));
  std::vector<uint8_t> bytes = w.bytes();
  writeBytes(scratchPath("nodata.gguf"), bytes);
  EXPECT_EQ(messageOf(scratchPath("nodata.gguf")), "Truncated model file");
}

TEST(GGUFFile, TensorsAreViewedInPlace) {
  GGUFWriter w;
  w.addTensor("m", {2, 3}, GGMLType::f32, f32Bytes({1, 2, 3, 4, 5, 6}));
  const uint16_t halves[] = {0x3C00, 0xC000, 0x3800, 0x0000};  // 1, -2, 0.5, 0
  std::vector<uint8_t> h(sizeof halves);
  std::memcpy(h.data(), halves, sizeof halves);
  w.addTensor("h", {2, 2}, GGMLType::f16, h);
  w.addTensor("flat", {6}, GGMLType::f32, f32Bytes({1, 2, 3, 4, 5, 6}));
  w.addTensor("q4_1", {32, 1}, 3, std::vector<uint8_t>(20, 0));
  w.addTensor("odd", {32, 1}, 2, std::vector<uint8_t>(18, 0));
  GGUFFile f(written(w));

  const QMatrix m = f.matrix("m");
  EXPECT_EQ(m.rows, 3);
  EXPECT_EQ(m.cols, 2);
  EXPECT_EQ(m.type, GGMLType::f32);
  EXPECT_EQ(m.ptr, f.base + f.dataStart + f.tensors.at("m").offset);
  float third[2];
  std::memcpy(third, m.row(2), 8);
  EXPECT_EQ(third[0], 5);
  EXPECT_EQ(third[1], 6);
  EXPECT_EQ(f.vector("h"), (std::vector<float>{1, -2, 0.5f, 0}));
  EXPECT_EQ(f.tensors.at("h").dims, (std::vector<int64_t>{2, 2}));

  EXPECT_EQ(errorOf([&] { f.matrix("flat"); }), "Missing tensor flat");
  EXPECT_EQ(errorOf([&] { f.matrix("absent"); }), "Missing tensor absent");
  EXPECT_EQ(errorOf([&] { f.matrix("odd"); }), "Unsupported quantization (type 2) in odd");
  EXPECT_EQ(errorOf([&] { f.matrix("q4_1"); }), "Unsupported quantization (type 3) in q4_1");
  EXPECT_EQ(errorOf([&] { f.vector("absent"); }), "Missing tensor absent");
  EXPECT_EQ(errorOf([&] { f.vector("odd"); }), "Unsupported type in odd");
}

TEST(GGUFFile, CorruptFilesFailWithoutReadingOutsideTheFile) {
  GGUFWriter w;
  w.addStrings("tokenizer.ggml.tokens", {"a", "b"});
  w.addTensor("m", {2, 2}, GGMLType::f32, f32Bytes({1, 2, 3, 4}));
  const std::vector<uint8_t> good = w.bytes();

  auto openPatched = [&](const std::string& name, size_t at, std::vector<uint8_t> patch) {
    std::vector<uint8_t> bytes = good;
    bytes.resize(std::max<size_t>(bytes.size(), 1100), 0);
    std::copy(patch.begin(), patch.end(), bytes.begin() + at);
    writeBytes(scratchPath(name), bytes);
    return messageOf(scratchPath(name));
  };
  // Huge counts and lengths at the metadata count, the key length and the vocabulary length.
  EXPECT_EQ(openPatched("count.gguf", 16, bytesOf<uint64_t>(1ull << 60)), "Truncated model file");
  EXPECT_EQ(openPatched("key.gguf", 24, bytesOf<uint64_t>(1ull << 40)), "Truncated model file");
  const size_t listCount = 24 + 8 + 21 + 4 + 4;
  EXPECT_EQ(openPatched("list.gguf", listCount, bytesOf<uint64_t>(1ull << 40)), "Truncated model file");
  EXPECT_EQ(openPatched("negative.gguf", listCount, bytesOf<uint64_t>(~0ull)), "Truncated model file");

  // A tensor pointing past the end of the data fails when it is asked for.
  std::vector<uint8_t> bytes = good;
  std::vector<uint8_t> entry = bytesOf<uint64_t>(1);  // the directory entry: name length, "m"
  entry.push_back('m');
  auto it = std::search(bytes.begin(), bytes.end(), entry.begin(), entry.end());
  ASSERT_NE(it, bytes.end());
  const size_t offsetAt = (it - bytes.begin()) + entry.size() + 4 + 16 + 4;
  auto far = bytesOf<uint64_t>(1ull << 40);
  std::copy(far.begin(), far.end(), bytes.begin() + offsetAt);
  bytes.resize(1100, 0);
  writeBytes(scratchPath("offset.gguf"), bytes);
  GGUFFile f(scratchPath("offset.gguf"));
  EXPECT_THROW(f.matrix("m"), GGUFError);
  EXPECT_THROW(f.vector("m"), GGUFError);
}

// Values a fuzzer found: each once reached memory outside the file, or a raw library error.
TEST(GGUFFile, HugeCountsSizesAndAlignmentsAreRefused) {
  {
    // Rounding up to an alignment near 2^63 wrapped the data start around to a negative offset.
    GGUFWriter w;
    w.addU64("general.alignment", (1ull << 63) - 16000);
    w.addTensor("v", {4}, GGMLType::f32, f32Bytes({1, 2, 3, 4}));
    w.addString("pad", std::string(1100, 'x'));
    EXPECT_EQ(messageOf(written(w, "align.gguf")), "Truncated model file");
  }
  {
    // A tensor count of 2^63 read as negative: no tensors, and a misleading "Missing tensor".
    GGUFWriter w;
    w.addString("pad", std::string(1100, 'x'));
    std::vector<uint8_t> bytes = w.bytes();
    const auto count = bytesOf<uint64_t>(1ull << 63);
    std::copy(count.begin(), count.end(), bytes.begin() + 8);
    writeBytes(scratchPath("tensors.gguf"), bytes);
    EXPECT_EQ(messageOf(scratchPath("tensors.gguf")), "Truncated model file");
  }
  // Dimensions whose byte count wraps past 2^64 to something small, and rows that are not
  // whole blocks.
  GGUFWriter w;
  w.addTensor("big", {1ll << 62}, GGMLType::f32, f32Bytes({1, 2, 3, 4}));
  w.addTensor("wide", {1ll << 31, 1ll << 31}, GGMLType::f16, f32Bytes({1, 2}));
  w.addTensor("partial", {100, 1}, GGMLType::q8_0, std::vector<uint8_t>(200, 0));
  w.addString("pad", std::string(1100, 'x'));
  GGUFFile f(written(w, "dims.gguf"));
  EXPECT_EQ(errorOf([&] { f.vector("big"); }), "Truncated model file");
  EXPECT_EQ(errorOf([&] { f.matrix("wide"); }), "Truncated model file");
  EXPECT_EQ(errorOf([&] { f.matrix("partial"); }), "Tensor partial has the wrong shape");
}

}  // namespace
}  // namespace skimlet
