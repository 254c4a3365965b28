// Runs a fuzz program on the inputs of a folder, without libFuzzer.
//
//   fuzz_lanx tests/fuzz/corpus/lanx
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  std::size_t inputs = 0;
  for (int at = 1; at < argc; ++at) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[at])) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::string bytes{std::istreambuf_iterator<char>(file), {}};
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
      ++inputs;
    }
  }
  std::cout << inputs << " inputs\n";
  return inputs == 0 ? 1 : 0;
}
