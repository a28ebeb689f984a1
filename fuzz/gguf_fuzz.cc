// Fuzz target: a model file as the reader and the model loader see it. A file that loads is also
// tokenized and run for one position, so shapes that pass the checks are shown to be safe to use.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "llm/gguf_file.h"
#include "llm/transformer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The reader maps a path, so the input becomes an anonymous file reached through /proc.
  static const int fd = ::memfd_create("gguf", 0);
  if (fd < 0 || ::ftruncate(fd, 0) != 0 || ::pwrite(fd, data, size, 0) != static_cast<ssize_t>(size)) return 0;
  const std::string path = "/proc/self/fd/" + std::to_string(fd);
  try {
    skimlet::GGUFFile file(path);
    for (const auto& [name, tensor] : file.tensors) {
      if (tensor.dims.size() == 2) (void)file.matrix(name);
      (void)file.vector(name);
    }
  } catch (const skimlet::GGUFError&) {
  }
  try {
    skimlet::Transformer model(path, 64);
    std::vector<int> ids = model.chatPrompt("S", "hello world");
    ids.resize(1);
    (void)model.forward(ids, 0);
  } catch (const skimlet::GGUFError&) {
  }
  return 0;
}
