// Where libFuzzer is not available: runs a fuzz target once on each input file named, or on each
// file in each folder named, so that saved findings and seeds can still be replayed.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  int ran = 0;
  auto runFile = [&](const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    ++ran;
  };
  for (int i = 1; i < argc; ++i) {
    if (argv[i][0] == '-') continue;  // libFuzzer's options mean nothing here
    if (fs::is_directory(argv[i])) {
      for (const auto& entry : fs::recursive_directory_iterator(argv[i]))
        if (entry.is_regular_file()) runFile(entry.path());
    } else {
      runFile(argv[i]);
    }
  }
  std::printf("replayed %d inputs\n", ran);
  return 0;
}
