// Runs a fuzz target on files and on the files of folders: what the fuzzer once found interesting stays a test, with any
// compiler.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz_support.h"

namespace {

void add_files(const std::filesystem::path& path, std::vector<std::filesystem::path>& files) {
   if (!std::filesystem::is_directory(path)) {
      files.push_back(path);
      return;
   }
   for (const auto& file : std::filesystem::directory_iterator(path)) {
      if (file.is_regular_file()) {
         files.push_back(file.path());
      }
   }
}

bool replay(const std::filesystem::path& path) {
   std::ifstream file(path, std::ios::binary);
   const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
   if (!file.is_open() || file.bad()) {
      std::fprintf(stderr, "cannot read %s\n", path.c_str());
      return false;
   }
   // In memory of exactly that size, so that a sanitizer sees a read behind it; and the name for whoever crashes.
   std::printf("%s: %zu bytes\n", path.c_str(), bytes.size());
   std::fflush(stdout);
   const std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
   LLVMFuzzerTestOneInput(data.data(), data.size());
   return true;
}

} // namespace

int main(int argc, char** argv) {
   std::vector<std::filesystem::path> files;
   for (int index = 1; index < argc; ++index) {
      add_files(argv[index], files);
   }
   std::sort(files.begin(), files.end());
   const bool all_read = std::all_of(files.begin(), files.end(), replay);
   std::printf("%zu files\n", files.size());
   // A folder that lost its files must not pass for one that was replayed.
   return all_read && !files.empty() ? 0 : 1;
}
