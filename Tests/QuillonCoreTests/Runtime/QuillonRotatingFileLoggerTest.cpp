#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <barrier>
#include <chrono>
#include <filesystem>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "QuillonCore/Runtime/QuillonRotatingFileLogger.h"
#include "Support/FixedClock.h"
#include "Support/ScopedFileLengthLimit.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using testing::readFile;
using testing::ScopedFileLengthLimit;
using testing::TemporaryDirectory;

constexpr std::string_view kStart = "2024-06-05T00:00:00.000000Z info [c] ";
/// Bytes of a line whose text has four characters.
constexpr std::size_t kLine = kStart.size() + 5;

class QuillonRotatingFileLoggerTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::filesystem::path file(const std::string& suffix = "") const {
    return folder_.path() / "logs" / "app" / ("host.log" + suffix);
  }

  [[nodiscard]] std::unique_ptr<QuillonRotatingFileLogger> make(std::uint64_t limit = 1 << 20,
                                                                unsigned oldFiles = 2) const {
    return std::make_unique<QuillonRotatingFileLogger>(
        QuillonRotatingFileLoggerSettings{.file = QuillonURL::fileURL(file().string()),
                                          .fileSizeLimit = limit,
                                          .oldFileCount = oldFiles,
                                          .minimumLevel = QuillonLogLevel::info},
        std::make_shared<testing::FixedClock>(std::chrono::sys_days(std::chrono::year(2024) / 6 / 5)));
  }

  static void log(QuillonLogger& logger, const std::string& text) {
    logger.info([&text] { return text; }, "c");
  }

  static std::string line(const std::string& text) { return std::string(kStart) + text + "\n"; }

  /// The texts of all files, oldest file first; fails the test at a line that is not whole.
  [[nodiscard]] std::vector<std::string> texts(unsigned oldFiles) const {
    std::vector<std::string> all;
    for (unsigned number = oldFiles + 1; number-- > 0;) {
      const std::filesystem::path path = file(number == 0 ? "" : "." + std::to_string(number));
      if (!std::filesystem::exists(path)) continue;
      std::istringstream lines(readFile(path));
      for (std::string text; std::getline(lines, text);) {
        EXPECT_TRUE(text.starts_with(kStart)) << text;
        all.push_back(text.substr(std::min(text.size(), kStart.size())));
      }
    }
    return all;
  }

  TemporaryDirectory folder_;
};

TEST_F(QuillonRotatingFileLoggerTest, LinesAreAppendedToAFileOfTheUsersAlone) {
  log(*make(), "one");
  log(*make(), "two");

  EXPECT_EQ(readFile(file()), line("one") + line("two"));
  struct stat status {};
  ASSERT_EQ(stat(file().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  ASSERT_EQ(stat(file().parent_path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST_F(QuillonRotatingFileLoggerTest, ALineThatDoesNotFitStartsAnotherFile) {
  const auto logger = make(2 * kLine);

  for (const char* const text : {"1111", "2222", "3333"}) log(*logger, text);

  EXPECT_EQ(readFile(file(".1")), line("1111") + line("2222"));
  EXPECT_EQ(readFile(file()), line("3333"));
}

TEST_F(QuillonRotatingFileLoggerTest, TheOldestFileIsGivenUp) {
  const auto logger = make(kLine, 2);

  for (const char* const text : {"1111", "2222", "3333", "4444"}) log(*logger, text);

  EXPECT_EQ(texts(9), (std::vector<std::string>{"2222", "3333", "4444"}));
  EXPECT_FALSE(std::filesystem::exists(file(".3")));
}

TEST_F(QuillonRotatingFileLoggerTest, WithoutOldFilesTheFileStartsAnew) {
  const auto logger = make(kLine, 0);

  log(*logger, "1111");
  log(*logger, "2222");

  EXPECT_EQ(readFile(file()), line("2222"));
  EXPECT_FALSE(std::filesystem::exists(file(".1")));
}

TEST_F(QuillonRotatingFileLoggerTest, ALineLongerThanTheLimitHasAFileToItself) {
  const auto logger = make(10);

  log(*logger, "1111");
  log(*logger, "2222");

  EXPECT_EQ(readFile(file(".1")), line("1111"));
  EXPECT_EQ(readFile(file()), line("2222"));
}

TEST_F(QuillonRotatingFileLoggerTest, AnotherLoggerThatStartedAnotherFileIsNoticed) {
  const auto first = make(2 * kLine);
  const auto second = make(2 * kLine);
  log(*first, "1111");
  log(*second, "2222");

  log(*first, "3333");
  log(*second, "4444");

  EXPECT_EQ(readFile(file(".1")), line("1111") + line("2222"));
  EXPECT_EQ(readFile(file()), line("3333") + line("4444"));
}

TEST_F(QuillonRotatingFileLoggerTest, ARemovedFolderIsMadeAgain) {
  const auto logger = make();
  log(*logger, "1111");
  std::filesystem::remove_all(folder_.path() / "logs");

  log(*logger, "2222");

  EXPECT_EQ(readFile(file()), line("2222"));
}

TEST_F(QuillonRotatingFileLoggerTest, MessagesThatCannotBeWrittenAreCounted) {
  const auto logger = make();
  testing::writeFile(folder_.path() / "logs", "in the way");
  log(*logger, "1111");
  log(*logger, "2222");
  std::filesystem::remove(folder_.path() / "logs");

  log(*logger, "3333");
  log(*logger, "4444");

  EXPECT_EQ(readFile(file()),
            "2024-06-05T00:00:00.000000Z warn [log] 2 messages were lost\n" + line("3333") + line("4444"));
}

TEST_F(QuillonRotatingFileLoggerTest, ALineOfWhichTheDiskTookTheBeginningIsEnded) {
  const auto logger = make();
  log(*logger, "1111");
  {
    const ScopedFileLengthLimit full(kLine + 10);
    log(*logger, "2222");
    log(*logger, "3333");
  }

  log(*logger, "4444");

  EXPECT_EQ(readFile(file()), line("1111") + line("2222").substr(0, 10) +
                                  "\n2024-06-05T00:00:00.000000Z warn [log] 2 messages were lost\n" + line("4444"));
}

TEST_F(QuillonRotatingFileLoggerTest, ASymbolicLinkIsNotFollowed) {
  const auto logger = make();
  std::filesystem::create_directories(file().parent_path());
  testing::writeFile(folder_ / "other", "");
  std::filesystem::create_symlink(folder_ / "other", file());

  log(*logger, "1111");

  EXPECT_EQ(readFile(folder_ / "other"), "");
}

TEST_F(QuillonRotatingFileLoggerTest, AFileThatIsNoneIsNotWaitedFor) {
  const auto logger = make();
  std::filesystem::create_directories(file().parent_path());
  ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);

  log(*logger, "1111");

  EXPECT_TRUE(std::filesystem::is_fifo(file()));
}

TEST_F(QuillonRotatingFileLoggerTest, NoLineOfSeveralThreadsIsLostOrMixed) {
  constexpr int kThreads = 4;
  constexpr int kMessages = 50;
  constexpr unsigned kOldFiles = 200;
  const auto logger = make(4 * kLine, kOldFiles);
  std::barrier start(kThreads);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);

  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      start.arrive_and_wait();
      for (int i = 0; i < kMessages; ++i) log(*logger, std::to_string(1000 + thread * kMessages + i));
    });
  }
  for (std::thread& thread : threads) thread.join();

  const std::vector<std::string> all = texts(kOldFiles);
  EXPECT_EQ(all.size(), static_cast<std::size_t>(kThreads * kMessages));
  EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), all.size());
}

TEST_F(QuillonRotatingFileLoggerTest, NoLineOfSeveralProcessesIsLostOrMixed) {
  constexpr int kProcesses = 3;
  constexpr int kMessages = 50;
  constexpr unsigned kOldFiles = 200;
  std::vector<pid_t> children;

  for (int process = 0; process < kProcesses; ++process) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      const auto logger = make(4 * kLine, kOldFiles);
      for (int i = 0; i < kMessages; ++i) log(*logger, std::to_string(1000 + process * kMessages + i));
      _exit(0);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
  }

  const std::vector<std::string> all = texts(kOldFiles);
  EXPECT_EQ(all.size(), static_cast<std::size_t>(kProcesses * kMessages));
  EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), all.size());
}

}  // namespace
}  // namespace quillon
