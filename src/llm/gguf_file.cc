#include "llm/gguf_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "llm/dequant.h"
#include "llm/utf8.h"

namespace skimlet {

namespace {

constexpr uint32_t kMagic = 0x46554747;  // "GGUF" read little-endian
constexpr int64_t kMinimumSize = 1025;

// Keeps the descriptor closed on every path out of the constructor.
struct FileCloser {
  int fd;
  ~FileCloser() { ::close(fd); }
};

bool keptList(const std::string& key) { return key == "tokenizer.ggml.tokens" || key == "tokenizer.ggml.merges"; }

}  // namespace

GGUFFile::GGUFFile(const std::string& path) {
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw GGUFError("Can't open model file");
  FileCloser closer{fd};
  struct stat st;
  if (::fstat(fd, &st) != 0 || st.st_size < kMinimumSize) throw GGUFError("Model file is empty");
  void* p = ::mmap(nullptr, static_cast<size_t>(st.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
  if (p == MAP_FAILED) throw GGUFError("Can't map model file");
#if defined(MADV_HUGEPAGE)
  // Generation reads every weight once a token, a gigabyte in 4 KiB pages unless asked
  // otherwise: large pages save most of the address translations. Only advice.
  ::madvise(p, static_cast<size_t>(st.st_size), MADV_HUGEPAGE);
#endif
  base = static_cast<const uint8_t*>(p);
  size = st.st_size;
  try {
    parse();
  } catch (...) {
    ::munmap(const_cast<uint8_t*>(base), static_cast<size_t>(size));
    throw;
  }
}

GGUFFile::~GGUFFile() { ::munmap(const_cast<uint8_t*>(base), static_cast<size_t>(size)); }

void GGUFFile::readAhead() const {
  // Read in the background rather than a page fault at a time during the first request.
  ::madvise(const_cast<uint8_t*>(base), static_cast<size_t>(size), MADV_WILLNEED);
}

// Every read goes through here so that a corrupt count or length never leaves the mapping.
const uint8_t* GGUFFile::take(uint64_t n) {
  if (n > static_cast<uint64_t>(size - cursor)) throw GGUFError("Truncated model file");
  const uint8_t* p = base + cursor;
  cursor += static_cast<int64_t>(n);
  return p;
}

uint32_t GGUFFile::readU32() {
  uint32_t v;
  std::memcpy(&v, take(4), 4);
  return v;
}

uint64_t GGUFFile::readU64() {
  uint64_t v;
  std::memcpy(&v, take(8), 8);
  return v;
}

std::string GGUFFile::readString() {
  uint64_t n = readU64();
  const uint8_t* p = take(n);
  return repairUTF8(std::string_view(reinterpret_cast<const char*>(p), n));
}

std::optional<int> GGUFFile::fixedSize(uint32_t type) {
  switch (type) {
    case 0:
    case 1:
    case 7: return 1;
    case 2:
    case 3: return 2;
    case 4:
    case 5:
    case 6: return 4;
    case 10:
    case 11:
    case 12: return 8;
    default: return std::nullopt;
  }
}

std::optional<GGUFValue> GGUFFile::value(uint32_t type, bool keep) {
  auto scalar = [&](int n) {
    const uint8_t* p = take(n);
    uint64_t bits = 0;
    std::memcpy(&bits, p, n);
    return bits;
  };
  switch (type) {
    case 0: return static_cast<int64_t>(static_cast<uint8_t>(scalar(1)));
    case 1: return static_cast<int64_t>(static_cast<int8_t>(scalar(1)));
    case 2: return static_cast<int64_t>(static_cast<uint16_t>(scalar(2)));
    case 3: return static_cast<int64_t>(static_cast<int16_t>(scalar(2)));
    case 4: return static_cast<int64_t>(static_cast<uint32_t>(scalar(4)));
    case 5: return static_cast<int64_t>(static_cast<int32_t>(scalar(4)));
    case 6: {
      uint32_t bits = static_cast<uint32_t>(scalar(4));
      float f;
      std::memcpy(&f, &bits, 4);
      return static_cast<double>(f);
    }
    case 7: return scalar(1) != 0;
    case 8: return readString();
    case 9: {
      uint32_t elementType = readU32();
      int64_t count = static_cast<int64_t>(readU64());
      if (elementType == 8) {
        if (count < 0) throw GGUFError("Truncated model file");
        std::vector<std::string> list;
        if (keep && count > 0) list.reserve(static_cast<size_t>(std::min<int64_t>(count, (size - cursor) / 8)));
        for (int64_t i = 0; i < count; ++i) {
          if (keep) {
            list.push_back(readString());
          } else {
            take(readU64());
          }
        }
        if (keep) return list;
        return std::nullopt;
      }
      auto width = fixedSize(elementType);
      if (!width) throw GGUFError("Unsupported GGUF array type");
      if (count < 0 || static_cast<uint64_t>(count) > static_cast<uint64_t>(size) / static_cast<uint64_t>(*width))
        throw GGUFError("Truncated model file");
      take(static_cast<uint64_t>(count) * static_cast<uint64_t>(*width));
      return std::nullopt;
    }
    case 10: return static_cast<int64_t>(scalar(8));
    case 11: return static_cast<int64_t>(scalar(8));
    case 12: {
      uint64_t bits = scalar(8);
      double d;
      std::memcpy(&d, &bits, 8);
      return d;
    }
    default: throw GGUFError("Unsupported GGUF value type " + std::to_string(type));
  }
}

void GGUFFile::parse() {
  cursor = 0;
  if (readU32() != kMagic) throw GGUFError("Not a GGUF file");
  uint32_t version = readU32();
  if (version < 2) throw GGUFError("Unsupported GGUF version " + std::to_string(version));
  int64_t tensorCount = static_cast<int64_t>(readU64());
  int64_t metaCount = static_cast<int64_t>(readU64());
  // A count that the rest of the file cannot hold (a key/value pair takes at least 13 bytes, a
  // directory entry 24) is corrupt; a negative one would otherwise read as "no entries".
  auto plausible = [&](int64_t count, int64_t entryBytes) {
    return count >= 0 && count <= (size - cursor) / entryBytes;
  };
  if (!plausible(metaCount, 13) || !plausible(tensorCount, 24)) throw GGUFError("Truncated model file");
  for (int64_t i = 0; i < metaCount; ++i) {
    std::string key = readString();
    uint32_t type = readU32();
    auto v = value(type, keptList(key));
    if (v) meta[key] = std::move(*v);
  }
  for (int64_t i = 0; i < tensorCount; ++i) {
    TensorInfo t;
    t.name = readString();
    uint32_t nDims = readU32();
    // Each dimension takes 8 bytes, so a count beyond the file is corrupt.
    if (nDims > static_cast<uint64_t>(size - cursor) / 8) throw GGUFError("Truncated model file");
    t.dims.resize(nDims);
    for (auto& d : t.dims) d = static_cast<int64_t>(readU64());
    t.type = readU32();
    t.offset = static_cast<int64_t>(readU64());
    std::string name = t.name;
    tensors[name] = std::move(t);
  }
  int64_t alignment = 32;
  if (auto a = intValue("general.alignment"); a && *a > 0) alignment = *a;
  // An alignment of the file's size or more leaves no data at all; below it, cursor + alignment
  // stays far from overflowing (both are under the size of a mapped file).
  if (alignment >= size) throw GGUFError("Truncated model file");
  dataStart = (cursor + alignment - 1) / alignment * alignment;
  if (dataStart >= size) throw GGUFError("Truncated model file");
}

std::optional<int64_t> GGUFFile::intValue(const std::string& key) const {
  auto it = meta.find(key);
  if (it == meta.end()) return std::nullopt;
  if (auto p = std::get_if<int64_t>(&it->second)) return *p;
  return std::nullopt;
}

std::optional<float> GGUFFile::floatValue(const std::string& key) const {
  auto it = meta.find(key);
  if (it == meta.end()) return std::nullopt;
  if (auto p = std::get_if<double>(&it->second)) return static_cast<float>(*p);
  if (auto p = std::get_if<int64_t>(&it->second)) return static_cast<float>(*p);
  return std::nullopt;
}

std::optional<std::string> GGUFFile::stringValue(const std::string& key) const {
  auto it = meta.find(key);
  if (it == meta.end()) return std::nullopt;
  if (auto p = std::get_if<std::string>(&it->second)) return *p;
  return std::nullopt;
}

const std::vector<std::string>* GGUFFile::stringList(const std::string& key) const {
  auto it = meta.find(key);
  if (it == meta.end()) return nullptr;
  return std::get_if<std::vector<std::string>>(&it->second);
}

namespace {

// Product of the dimensions, or -1 when a dimension is negative or the product overflows.
int64_t elementCount(const std::vector<int64_t>& dims) {
  __int128 n = 1;
  for (int64_t d : dims) {
    if (d < 0) return -1;
    n *= d;
    if (n > (static_cast<__int128>(1) << 62)) return -1;
  }
  return static_cast<int64_t>(n);
}

}  // namespace

const uint8_t* GGUFFile::tensorBytes(const TensorInfo& t, int64_t rows, int64_t cols) const {
  // Rows of whole blocks only: the kernels read a row block by block. The byte count is
  // computed wide, so no shape can wrap around to a small number that seems to fit.
  const auto traits = GGMLType::traits(t.type);
  if (!traits || rows < 0 || cols < 0 || cols % traits->blockLength != 0)
    throw GGUFError("Tensor " + t.name + " has the wrong shape");
  const __int128 bytes = static_cast<__int128>(rows) * (cols / traits->blockLength) * traits->blockSize;
  const int64_t avail = size - dataStart;
  if (t.offset < 0 || t.offset > avail || bytes > avail - t.offset) throw GGUFError("Truncated model file");
  return base + dataStart + t.offset;
}

QMatrix GGUFFile::matrix(const std::string& name) const {
  auto it = tensors.find(name);
  if (it == tensors.end() || it->second.dims.size() != 2) throw GGUFError("Missing tensor " + name);
  const TensorInfo& t = it->second;
  auto traits = GGMLType::traits(t.type);
  if (!traits) throw GGUFError("Unsupported quantization (type " + std::to_string(t.type) + ") in " + name);
  QMatrix m{nullptr, t.type, t.dims[1], t.dims[0]};
  if (elementCount(t.dims) < 0) throw GGUFError("Truncated model file");
  m.ptr = tensorBytes(t, m.rows, m.cols);
  return m;
}

std::vector<float> GGUFFile::vector(const std::string& name) const {
  auto it = tensors.find(name);
  if (it == tensors.end()) throw GGUFError("Missing tensor " + name);
  const TensorInfo& t = it->second;
  if (!GGMLType::traits(t.type)) throw GGUFError("Unsupported type in " + name);
  int64_t n = elementCount(t.dims);
  if (n < 0) throw GGUFError("Truncated model file");
  QMatrix row{nullptr, t.type, 1, n};
  // Only once the bytes are known to be in the file may n floats be allocated: n is then
  // bounded by the file's size.
  row.ptr = tensorBytes(t, 1, n);
  std::vector<float> out(static_cast<size_t>(n), 0.0f);
  dequantRows(row, 0, 1, out.data());
  return out;
}

}  // namespace skimlet
