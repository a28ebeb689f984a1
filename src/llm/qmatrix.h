// A view of one tensor inside a mapped model file: no bytes are copied.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "llm/ggml_type.h"

namespace skimlet {

// One entry of a GGUF file's tensor directory.
struct TensorInfo {
  std::string name;
  std::vector<int64_t> dims;  // innermost (contiguous) first, as stored
  uint32_t type = 0;
  int64_t offset = 0;  // from the start of the data area
};

// A matrix of `rows` rows of `cols` elements of `type`, stored row after row at `ptr`.
struct QMatrix {
  const uint8_t* ptr = nullptr;
  uint32_t type = 0;
  int64_t rows = 0;
  int64_t cols = 0;

  size_t rowBytes() const { return GGMLType::rowBytes(type, cols); }
  const uint8_t* row(int64_t r) const { return ptr + static_cast<size_t>(r) * rowBytes(); }
};

}  // namespace skimlet
