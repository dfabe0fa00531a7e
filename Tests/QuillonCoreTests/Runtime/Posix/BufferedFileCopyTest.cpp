#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "QuillonCore/Runtime/Posix/BufferedFileCopy.h"
#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

class BufferedFileCopyTest : public ::testing::Test {
 protected:
  void write(const std::string& bytes) const {
    ASSERT_EQ(pwrite(source.get(), bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
  }
  [[nodiscard]] std::string copied() const {
    std::string bytes(1 << 20, '\0');
    bytes.resize(static_cast<std::size_t>(pread(destination.get(), bytes.data(), bytes.size(), 0)));
    return bytes;
  }
  [[nodiscard]] FileDescriptor open(const char* name) const {
    return FileDescriptor(::open((folder / name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  }

  const testing::TemporaryDirectory folder;
  const FileDescriptor source = open("source");
  const FileDescriptor destination = open("destination");
};

TEST_F(BufferedFileCopyTest, CopiesAFileOfMoreThanOneBlock) {
  const std::string bytes(300'000, 'x');
  write(bytes);

  const int code = copyThroughBuffer(source.get(), destination.get(), bytes.size());

  EXPECT_EQ(code, 0);
  EXPECT_EQ(copied(), bytes);
}

TEST_F(BufferedFileCopyTest, StopsAtTheSizeOfAFileThatGoesOnGrowing) {
  write("12345678");

  const int code = copyThroughBuffer(source.get(), destination.get(), 5);

  EXPECT_EQ(code, 0);
  EXPECT_EQ(copied(), "12345");
}

TEST_F(BufferedFileCopyTest, SaysWhyNothingCanBeRead) {
  const FileDescriptor writeOnly(::open((folder / "source").c_str(), O_WRONLY | O_CLOEXEC));

  EXPECT_EQ(copyThroughBuffer(writeOnly.get(), destination.get(), 1), EBADF);
}

}  // namespace
}  // namespace quillon
