#include "Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace quillon::testing {

TemporaryDirectory::TemporaryDirectory() {
  std::string name = (std::filesystem::temp_directory_path() / "quillon-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("Cannot make a temporary folder " + name);
  path_ = std::filesystem::canonical(name);
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;  // what a test made unremovable stays for the next clean-up of the temporary folder
  std::filesystem::remove_all(path_, ignored);
}

void writeFile(const std::filesystem::path& file, std::string_view content) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  if (!stream) throw std::runtime_error("Cannot write " + file.string());
}

std::string readFile(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  EXPECT_TRUE(stream.is_open()) << "cannot read " << file;
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace quillon::testing
