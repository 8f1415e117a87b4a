// Runs a fuzz target's entry over the files of its corpus, as an ordinary
// program: each build, the Windows one under Wine included, replays the inputs
// that once found faults and the seeds that reach deep into the code.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) __attribute__((weak));

namespace {

bool Replay(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return false;
  const std::vector<char> bytes((std::istreambuf_iterator<char>(in)),
                                std::istreambuf_iterator<char>());
  (void)LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);
  int replayed = 0;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path given = argv[i];
    std::vector<std::filesystem::path> files;
    if (std::filesystem::is_directory(given)) {
      for (const auto& entry : std::filesystem::directory_iterator(given)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
      }
    } else {
      files.push_back(given);
    }
    for (const auto& file : files) {
      if (!Replay(file)) {
        std::fprintf(stderr, "cannot read %s\n", file.string().c_str());
        return 1;
      }
      ++replayed;
    }
  }
  std::printf("%d inputs replayed\n", replayed);
  return replayed > 0 ? 0 : 1;
}
