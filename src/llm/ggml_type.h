// Element types of GGUF tensors: which ones Skimlet can read and how their blocks are laid out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace skimlet::GGMLType {

inline constexpr uint32_t f32 = 0;
inline constexpr uint32_t f16 = 1;
inline constexpr uint32_t q8_0 = 8;
inline constexpr uint32_t q4K = 12;
inline constexpr uint32_t q6K = 14;

struct Traits {
  int blockLength;  // elements per block
  int blockSize;    // bytes per block
};

// The quantized types' blocks: the one place their layouts are written down.
inline constexpr Traits q8_0Block{32, 34};
inline constexpr Traits q4KBlock{256, 144};
inline constexpr Traits q6KBlock{256, 210};

// None for a type Skimlet does not support.
std::optional<Traits> traits(uint32_t type);

// Bytes of one row of `cols` elements (a trailing partial block is ignored); 0 if unsupported.
size_t rowBytes(uint32_t type, int64_t cols);

}  // namespace skimlet::GGMLType
