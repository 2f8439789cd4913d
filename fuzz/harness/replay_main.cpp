// Runs a fuzz target on the inputs that it is given, files and directories of files, without the
// fuzzer: every compiler can build that, and every change is tested with it.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/harness/temp_dir.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<std::string> files_of(const fs::path& path) {
  if (!fs::is_directory(path)) {
    return {path.string()};
  }
  std::vector<std::string> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
    files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

// In a block of exactly its size, so that a sanitizer sees who reads behind it.
void run(const std::string& file) {
  const std::string bytes = fwbase::test::read_file(file);
  const std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[bytes.size()]);
  std::copy(bytes.begin(), bytes.end(), copy.get());
  LLVMFuzzerTestOneInput(copy.get(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    for (const std::string& file : files_of(argv[i])) {
      if (!fs::is_regular_file(file)) {
        std::fprintf(stderr, "%s: no such input\n", file.c_str());
        return 1;
      }
      std::printf("%s\n", file.c_str());
      std::fflush(stdout);
      run(file);
      ++count;
    }
  }
  std::printf("%zu inputs\n", count);
  return count > 0 ? 0 : 1;
}
