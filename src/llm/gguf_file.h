// A GGUF model file mapped read-only: its metadata, its tensor directory, and views of tensors.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "llm/qmatrix.h"

namespace skimlet {

// Any failure to open or read a model; what() is the message shown to the user.
class GGUFError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A metadata value: integer, double, boolean, string or list of strings.
using GGUFValue = std::variant<int64_t, double, bool, std::string, std::vector<std::string>>;

class GGUFFile {
 public:
  // Opens, maps and parses; throws GGUFError.
  explicit GGUFFile(const std::string& path);
  ~GGUFFile();
  GGUFFile(const GGUFFile&) = delete;
  GGUFFile& operator=(const GGUFFile&) = delete;

  // The value of `key` if it is an integer.
  std::optional<int64_t> intValue(const std::string& key) const;
  // A floating-point or integer value as single precision.
  std::optional<float> floatValue(const std::string& key) const;
  std::optional<std::string> stringValue(const std::string& key) const;
  const std::vector<std::string>* stringList(const std::string& key) const;

  bool hasTensor(const std::string& name) const { return tensors.count(name) != 0; }
  // A two-dimensional tensor; valid while this file lives. Throws GGUFError.
  QMatrix matrix(const std::string& name) const;
  // Any tensor converted in full to floats (norms, biases). Throws GGUFError.
  std::vector<float> vector(const std::string& name) const;
  // Asks the kernel to read the whole file in now, for a caller about to use every tensor.
  void readAhead() const;

  const uint8_t* base = nullptr;
  int64_t size = 0;
  std::map<std::string, GGUFValue> meta;
  std::map<std::string, TensorInfo> tensors;
  int64_t dataStart = 0;

 private:
  void parse();
  // Reads one metadata value of `type` at the cursor; none when it is skipped.
  std::optional<GGUFValue> value(uint32_t type, bool keep);
  static std::optional<int> fixedSize(uint32_t type);
  const uint8_t* take(uint64_t n);
  uint32_t readU32();
  uint64_t readU64();
  std::string readString();
  // The first byte of a tensor read as `rows` rows of `cols` elements, checked to lie in the file.
  const uint8_t* tensorBytes(const TensorInfo& t, int64_t rows, int64_t cols) const;

  int64_t cursor = 0;
};

}  // namespace skimlet
