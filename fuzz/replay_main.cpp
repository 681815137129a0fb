// Runs a fuzz target once for each file of the folders given, without a fuzzer: what a run has found stays found.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

// Memory of exactly the input's size, so that the address sanitizer sees a read beyond it.
std::vector<std::uint8_t> inputOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
  return {bytes.begin(), bytes.end()};
}

int replay(const char* folder) {
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::printf("%s\n", entry.path().c_str());
    std::fflush(stdout);  // the last line names the input when the target ends the program
    const std::vector<std::uint8_t> input = inputOf(entry.path());
    LLVMFuzzerTestOneInput(input.data(), input.size());
    ++files;
  }
  return files;
}

}  // namespace

int main(int count, char** folders) {
  for (int i = 1; i < count; ++i) {
    if (replay(folders[i]) > 0) continue;
    std::fprintf(stderr, "no input in %s\n", folders[i]);
    return 1;
  }
  return count > 1 ? 0 : 1;
}
