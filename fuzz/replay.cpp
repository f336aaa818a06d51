// Runs a fuzzer over files: seeds, and inputs that once found a fault. For compilers without a fuzzing engine, and for
// tests. Arguments are files and directories.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

int filesRun = 0;

void run(const std::filesystem::path& path) {
  if (std::filesystem::is_directory(path)) {
    for (const auto& entry : std::filesystem::directory_iterator(path)) run(entry.path());
    return;
  }
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  std::printf("%s\n", path.c_str());
  std::fflush(stdout); // the last line names the input that ended the program
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  ++filesRun;
}

} // namespace

int main(int argc, char* argv[]) {
  for (int i = 1; i < argc; ++i) run(argv[i]);
  std::printf("%d inputs\n", filesRun);
  return filesRun > 0 ? 0 : 1;
}
