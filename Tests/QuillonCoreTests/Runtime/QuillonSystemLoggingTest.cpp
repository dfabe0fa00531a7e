#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/QuillonSystemLogging.h"
#include "Support/EmptyRunFolder.h"

namespace quillon {
namespace {

/// Turns standard error into a pipe.
class CapturedStandardError {
 public:
  CapturedStandardError() : saved_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
    reading_ = FileDescriptor(ends[0]);
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);
  }
  ~CapturedStandardError() { dup2(saved_.get(), STDERR_FILENO); }
  CapturedStandardError(const CapturedStandardError&) = delete;
  CapturedStandardError& operator=(const CapturedStandardError&) = delete;

  [[nodiscard]] std::string text() const {
    std::string text(10'000, '\0');
    const ssize_t length = read(reading_.get(), text.data(), text.size());
    text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return text;
  }

 private:
  FileDescriptor saved_;
  FileDescriptor reading_;
};

TEST(QuillonSystemLoggingTest, WithoutAJournalStandardErrorGetsTheLines) {
  const auto logger = makeSystemLogger({.identifier = "host", .minimumLevel = QuillonLogLevel::warn});
  std::string text;

  const bool wasCalled = testing::callWithEmptyRunFolder([&] {
    const CapturedStandardError captured;
    logger->info([] { return std::string("dropped"); }, "feed");
    logger->warn([] { return std::string("kept"); }, "feed");
    text = captured.text();
  });

  if (!wasCalled) GTEST_SKIP() << "this process may not mount";
  EXPECT_TRUE(text.ends_with("Z warn [feed] kept\n")) << text;
  EXPECT_EQ(text.find("dropped"), std::string::npos);
}

}  // namespace
}  // namespace quillon
