// corpus_replay TARGET FOLDER: hands every file of a folder to a target, in the order of their
// names. It ends as the target lets it: by a broken promise, an exception, or well.

#include "tests/fuzz/targets.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

constexpr int kWrongUsage = 2;

std::vector<std::filesystem::path> filesOf(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::ranges::sort(files);
  return files;
}

std::string contentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

int main(int argc, char** argv) {
  const auto* const target = argc == 3 ? kestrelvisor::fuzz::findTarget(argv[1]) : nullptr;
  if (target == nullptr) {
    std::fputs("usage: corpus_replay TARGET FOLDER\n", stderr);
    return kWrongUsage;
  }
  kestrelvisor::fuzz::prepareProcess();
  const std::vector<std::filesystem::path> files = filesOf(argv[2]);
  if (files.empty()) {
    std::fprintf(stderr, "%s: no inputs\n", argv[2]);
    return kWrongUsage;
  }
  for (const std::filesystem::path& path : files) {
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);  // the last line names the input that broke it
    target->run(contentOf(path));
  }
  std::printf("%zu inputs\n", files.size());
}
