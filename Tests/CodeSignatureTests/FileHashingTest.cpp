#include <gtest/gtest.h>

#include "CodeSignature/FileHashing.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

TEST(FileHashingTest, FilesWithoutAnnouncedSizeAreReadToTheirEnd) {
  const FileDescriptor file(open("/proc/self/status", O_RDONLY));  // its size is announced as 0
  FileHashing hashing({CodeHashType::sha256});

  EXPECT_NE(hashing.hashFile(file).at(CodeHashType::sha256), codeHash(CodeHashType::sha256, ""));
}

}  // namespace
}  // namespace quillon
