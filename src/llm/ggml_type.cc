#include "llm/ggml_type.h"

namespace skimlet::GGMLType {

std::optional<Traits> traits(uint32_t type) {
  switch (type) {
    case f32: return Traits{1, 4};
    case f16: return Traits{1, 2};
    case q8_0: return q8_0Block;
    case q4K: return q4KBlock;
    case q6K: return q6KBlock;
    default: return std::nullopt;
  }
}

size_t rowBytes(uint32_t type, int64_t cols) {
  auto t = traits(type);
  if (!t || cols <= 0) return 0;
  return static_cast<size_t>(cols / t->blockLength) * t->blockSize;
}

}  // namespace skimlet::GGMLType
