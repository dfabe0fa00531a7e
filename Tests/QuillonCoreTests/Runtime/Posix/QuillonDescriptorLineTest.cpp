#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonDescriptorLine.h"

namespace quillon {
namespace {

class QuillonDescriptorLineTest : public ::testing::Test {
 protected:
  QuillonDescriptorLineTest() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) == 0) {
      reading_ = FileDescriptor(ends[0]);
      writing_ = FileDescriptor(ends[1]);
    }
  }

  FileDescriptor reading_;
  FileDescriptor writing_;
};

TEST_F(QuillonDescriptorLineTest, ALineIsWritten) {
  writeLine(writing_.get(), "text\n");

  std::array<char, 16> read{};
  ASSERT_EQ(::read(reading_.get(), read.data(), read.size()), 5);
  EXPECT_STREQ(read.data(), "text\n");
}

TEST_F(QuillonDescriptorLineTest, SomebodyWhoStoppedReadingIsNoReasonForASignal) {
  reading_.reset();

  writeLine(writing_.get(), "text\n");

  sigset_t pending;
  sigpending(&pending);
  EXPECT_EQ(sigismember(&pending, SIGPIPE), 0) << "and the process is alive";
}

TEST_F(QuillonDescriptorLineTest, WhatAFullPipeDoesNotTakeIsDropped) {
  const std::string line(1 << 20, 'a');

  writeLine(writing_.get(), line);

  std::string read(1 << 20, '\0');
  const ssize_t length = ::read(reading_.get(), read.data(), read.size());
  EXPECT_GT(length, 0);
  EXPECT_LT(length, static_cast<ssize_t>(line.size()));
}

TEST_F(QuillonDescriptorLineTest, ADescriptorThatIsNoneIsNoTrouble) {
  writeLine(-1, "text\n");

  std::array<char, 1> read{};
  EXPECT_EQ(::read(reading_.get(), read.data(), read.size()), -1);
}

}  // namespace
}  // namespace quillon
