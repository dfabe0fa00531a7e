#include "Benchmarks/LargeContent.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

constexpr int kFiles = 5000;
constexpr std::size_t kTotal = std::size_t{200} << 20;

/// Program code, as in a bundle.
std::string libraryContent(std::size_t length) {
  std::string content;
  std::vector<fs::path> libraries;
  for (const auto& entry : fs::directory_iterator("/usr/lib/x86_64-linux-gnu")) {
    if (entry.is_regular_file() && entry.path().string().find(".so") != std::string::npos) {
      libraries.push_back(entry.path());
    }
  }
  std::sort(libraries.begin(), libraries.end());
  while (content.size() < length) {
    const std::size_t before = content.size();
    for (const fs::path& library : libraries) {
      std::ifstream file(library, std::ios::binary);
      content.append(std::istreambuf_iterator<char>(file), {});
      if (content.size() >= length) break;
    }
    if (content.size() == before) std::exit(1);
  }
  content.resize(length);
  return content;
}

}  // namespace

// Folders of twenty files each; sizes are spread as those of bundles are, with many small files and few large ones.
void makeLargeContent(const fs::path& root) {
  std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same bundle each time
  std::lognormal_distribution<double> size(0, 1.5);
  std::vector<double> sizes(kFiles);
  double sum = 0;
  for (double& value : sizes) sum += value = size(random);
  const std::string content = libraryContent(kTotal);
  std::size_t offset = 0;
  for (std::size_t i = 0; i < kFiles; ++i) {
    const fs::path folder = root / std::to_string(i / 500) / std::to_string(i / 20);
    if (i % 20 == 0) {
      fs::create_directories(folder);
      fs::create_symlink(std::to_string(i), folder / "Current");
    }
    const auto length = std::min(content.size() - offset,
                                 static_cast<std::size_t>(sizes[i] / sum * static_cast<double>(content.size())));
    std::ofstream(folder / std::to_string(i), std::ios::binary)
        .write(content.data() + offset, static_cast<std::streamsize>(length));
    offset += length;
  }
}

}  // namespace quillon::testing
