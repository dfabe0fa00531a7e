#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "QuillonCore/Network/Posix/FileURLTransfer.h"
#include "QuillonCore/Values/QuillonURLError.h"
#include "Support/RecordingURLReceiver.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using testing::RecordingURLReceiver;
using testing::TemporaryDirectory;
using testing::writeFile;

class FileURLTransferTest : public ::testing::Test {
 protected:
  QuillonURL urlOf(const std::string& name) const { return QuillonURL::fileURL((folder_ / name).string()); }

  QuillonURLErrorCode failureOf(const QuillonURL& url) {
    try {
      transferFile(url, receiver_, stopSource_.get_token());
    } catch (const QuillonURLError& error) {
      return error.code();
    }
    ADD_FAILURE() << "the transfer did not fail";
    return QuillonURLErrorCode::unknown;
  }

  TemporaryDirectory folder_;
  RecordingURLReceiver receiver_;
  std::stop_source stopSource_;
};

TEST_F(FileURLTransferTest, AFileArrivesWithItsLengthAndNoStatus) {
  const std::string content(700'000, 'x');
  writeFile(folder_ / "archive.zip", content);

  transferFile(urlOf("archive.zip"), receiver_, stopSource_.get_token());

  EXPECT_EQ(receiver_.body, content);
  EXPECT_EQ(receiver_.response, (QuillonURLResponse{.url = urlOf("archive.zip"), .expectedContentLength = 700'000}));
}

TEST_F(FileURLTransferTest, AnEmptyFileIsAResponseWithoutData) {
  writeFile(folder_ / "empty", "");

  transferFile(urlOf("empty"), receiver_, stopSource_.get_token());

  EXPECT_EQ(receiver_.response->expectedContentLength, 0);
}

TEST_F(FileURLTransferTest, ALinkIsFollowed) {
  writeFile(folder_ / "archive.zip", "bytes");
  std::filesystem::create_symlink("archive.zip", folder_ / "link");

  transferFile(urlOf("link"), receiver_, stopSource_.get_token());

  EXPECT_EQ(receiver_.body, "bytes");
}

TEST_F(FileURLTransferTest, WhatIsNoFileIsAnErrorAndHoldsNothingUp) {
  writeFile(folder_ / "file", "");
  ASSERT_EQ(mkfifo((folder_ / "fifo").c_str(), 0600), 0);

  EXPECT_EQ(failureOf(urlOf("missing")), QuillonURLErrorCode::fileDoesNotExist);
  EXPECT_EQ(failureOf(urlOf("file/below")), QuillonURLErrorCode::fileDoesNotExist);
  EXPECT_EQ(failureOf(QuillonURL::fileURL(folder_.path().string())), QuillonURLErrorCode::fileIsDirectory);
  EXPECT_EQ(failureOf(urlOf("fifo")), QuillonURLErrorCode::unsupportedURL);
  EXPECT_EQ(failureOf(QuillonURL::fileURL("/dev/zero")), QuillonURLErrorCode::unsupportedURL);
  EXPECT_FALSE(receiver_.response);
}

TEST_F(FileURLTransferTest, AFileOfOthersIsAnError) {
  if (geteuid() == 0) GTEST_SKIP() << "root reads every file";
  writeFile(folder_ / "closed", "x");
  ASSERT_EQ(chmod((folder_ / "closed").c_str(), 0), 0);

  EXPECT_EQ(failureOf(urlOf("closed")), QuillonURLErrorCode::noPermissionsToReadFile);
}

TEST_F(FileURLTransferTest, AFileThatBecomesShorterIsAnError) {
  writeFile(folder_ / "file", std::string(1000, 'x'));
  receiver_.onResponse = [this] { std::filesystem::resize_file(folder_ / "file", 10); };

  EXPECT_EQ(failureOf(urlOf("file")), QuillonURLErrorCode::networkConnectionLost);
}

TEST_F(FileURLTransferTest, ACancelledTransferStopsBetweenTwoPieces) {
  writeFile(folder_ / "file", std::string(6'000'000, 'x'));
  receiver_.onData = [this] { stopSource_.request_stop(); };

  EXPECT_EQ(failureOf(urlOf("file")), QuillonURLErrorCode::cancelled);
  EXPECT_LT(receiver_.body.size(), 6'000'000U);
}

TEST_F(FileURLTransferTest, ACancelledTransferDoesNotBegin) {
  stopSource_.request_stop();

  EXPECT_EQ(failureOf(urlOf("missing")), QuillonURLErrorCode::cancelled);
}

}  // namespace
}  // namespace quillon
