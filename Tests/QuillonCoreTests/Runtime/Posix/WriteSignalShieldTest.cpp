#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>
#include <thread>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/WriteSignalShield.h"
#include "Support/ScopedFileLengthLimit.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

volatile std::sig_atomic_t handled = 0;

class WriteSignalShieldTest : public ::testing::Test {
 public:
  WriteSignalShieldTest() : previousHandler_(std::signal(SIGPIPE, [](int signal) { handled = signal; })) {
    handled = 0;
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) == 0) {
      close(ends[0]);
      pipeWithoutReader_ = FileDescriptor(ends[1]);
    }
    file_ = FileDescriptor(open((folder_ / "file").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  }
  ~WriteSignalShieldTest() override { (void)std::signal(SIGPIPE, previousHandler_); }
  WriteSignalShieldTest(const WriteSignalShieldTest&) = delete;
  WriteSignalShieldTest& operator=(const WriteSignalShieldTest&) = delete;

 protected:
  /// The errno value of a write of one byte.
  static int errorOfWriting(const FileDescriptor& descriptor) {
    return write(descriptor.get(), "a", 1) < 0 ? errno : 0;
  }
  static bool isPending(int signal) {
    sigset_t pending{};
    sigpending(&pending);
    return sigismember(&pending, signal) == 1;
  }

  const testing::TemporaryDirectory folder_;
  FileDescriptor pipeWithoutReader_;
  FileDescriptor file_;

 private:
  void (*previousHandler_)(int);
};

TEST_F(WriteSignalShieldTest, APipeWithoutReaderIsAnErrorAndNoSignal) {
  {
    const WriteSignalShield shield;
    EXPECT_EQ(errorOfWriting(pipeWithoutReader_), EPIPE);
  }

  EXPECT_EQ(handled, 0);
  EXPECT_FALSE(isPending(SIGPIPE));
}

TEST_F(WriteSignalShieldTest, AFileThatMayNotGrowIsAnErrorAndNoSignal) {
  const testing::ScopedFileLengthLimit limit(0);
  {
    const WriteSignalShield shield;
    EXPECT_EQ(errorOfWriting(file_), EFBIG);
  }

  EXPECT_FALSE(isPending(SIGXFSZ));
}

TEST_F(WriteSignalShieldTest, ThreadsThatAreStartedMeanwhileAreShielded) {
  const testing::ScopedFileLengthLimit limit(0);
  int error = 0;
  {
    const WriteSignalShield shield;
    std::thread([&] { error = errorOfWriting(file_); }).join();
  }

  EXPECT_EQ(error, EFBIG);
}

TEST_F(WriteSignalShieldTest, AfterwardsSignalsArriveAsBefore) {
  { const WriteSignalShield shield; }

  (void)errorOfWriting(pipeWithoutReader_);

  EXPECT_EQ(handled, SIGPIPE);
}

TEST_F(WriteSignalShieldTest, ASignalThatTheHostKeepsWaitingIsLeftToIt) {
  sigset_t pipeSignal{};
  sigemptyset(&pipeSignal);
  sigaddset(&pipeSignal, SIGPIPE);
  sigset_t previous{};
  pthread_sigmask(SIG_BLOCK, &pipeSignal, &previous);
  raise(SIGPIPE);
  {
    const WriteSignalShield shield;
    (void)errorOfWriting(pipeWithoutReader_);
  }
  EXPECT_EQ(handled, 0);

  pthread_sigmask(SIG_SETMASK, &previous, nullptr);

  EXPECT_EQ(handled, SIGPIPE);
}

TEST_F(WriteSignalShieldTest, TheReasonOfAFailureOutlivesIt) {
  errno = 0;
  {
    const WriteSignalShield shield;
    (void)write(pipeWithoutReader_.get(), "a", 1);
  }

  EXPECT_EQ(errno, EPIPE);
}

}  // namespace
}  // namespace quillon
