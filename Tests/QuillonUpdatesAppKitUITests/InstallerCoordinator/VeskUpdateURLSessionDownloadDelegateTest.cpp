#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonURLError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateURLSessionDownloadDelegate.h"

namespace quillon {
namespace {

using Progress = VeskUpdateInstallerDownloadProgress;

const QuillonURL kURL = QuillonURL::parse("https://example.com/archive.zip").value();

/// What a test sees of a buffer that the delegate owns.
struct BufferRecord {
  std::string bytes;
  std::vector<std::uint64_t> reservations;
  std::uint64_t claimedSize = 0;
  int failsWith = 0;  // an errno value
};

class RecordingBuffer final : public VeskUpdateInstallerDownloadBuffer {
 public:
  explicit RecordingBuffer(BufferRecord& record) : record_(record) {}
  void reserve(std::uint64_t bytes) override {
    failIfTold();
    record_.reservations.push_back(bytes);
  }
  void append(std::string_view bytes, const std::stop_token& stopToken) override {
    failIfTold();
    if (stopToken.stop_requested()) throw QuillonCancellationError();
    record_.bytes.append(bytes);
  }
  [[nodiscard]] std::uint64_t size() const noexcept override { return record_.claimedSize + record_.bytes.size(); }
  void writeAtomically(const QuillonFileManaging&, const QuillonURL&, const std::stop_token&) override {}

 private:
  void failIfTold() const {
    if (record_.failsWith != 0) throw QuillonSystemError::posix(record_.failsWith, "write a download in", "/spool");
  }

  BufferRecord& record_;
};

class VeskUpdateURLSessionDownloadDelegateTest : public ::testing::Test {
 protected:
  void receiveResponse(std::int64_t expectedContentLength) {
    delegate_.didReceiveResponse({.url = kURL, .httpStatusCode = 200, .expectedContentLength = expectedContentLength});
  }
  VeskUpdateInstallerDownload result() { return continuation_.get_future().get(); }
  QuillonURLErrorCode failure() {
    try {
      (void)result();
    } catch (const QuillonURLError& error) {
      return error.code();
    }
    ADD_FAILURE() << "the download did not fail";
    return QuillonURLErrorCode::unknown;
  }
  template <typename Action>
  QuillonURLErrorCode failureOf(Action action) {
    try {
      action();
    } catch (const QuillonURLError& error) {
      return error.code();
    }
    ADD_FAILURE() << "nothing was thrown";
    return QuillonURLErrorCode::unknown;
  }

  std::promise<VeskUpdateInstallerDownload> continuation_;
  std::stop_source stopSource_;
  std::vector<Progress> reports_;
  BufferRecord record_;
  VeskUpdateURLSessionDownloadDelegate delegate_{[this](const Progress& progress) { reports_.push_back(progress); },
                                                 std::make_unique<RecordingBuffer>(record_), continuation_,
                                                 stopSource_.get_token()};
};

TEST_F(VeskUpdateURLSessionDownloadDelegateTest, EveryPieceIsReportedWithTheWholeLength) {
  receiveResponse(10);
  delegate_.didReceiveData("0123");
  delegate_.didReceiveData("456789");
  delegate_.didComplete(nullptr);

  EXPECT_EQ(reports_, (std::vector<Progress>{{0, 10}, {4, 10}, {10, 10}}));
  EXPECT_EQ(record_.bytes, "0123456789");
  EXPECT_EQ(record_.reservations, std::vector<std::uint64_t>{10});
  const VeskUpdateInstallerDownload download = result();
  EXPECT_EQ(download.data->size(), 10U);
  EXPECT_EQ(download.response.httpStatusCode, 200);
}

TEST_F(VeskUpdateURLSessionDownloadDelegateTest, AnExpectedLengthOfZeroOrLessIsAbsent) {
  receiveResponse(0);
  receiveResponse(-1);
  delegate_.didReceiveData("0123");

  EXPECT_EQ(reports_, (std::vector<Progress>{{0, std::nullopt}, {0, std::nullopt}, {4, std::nullopt}}));
  EXPECT_EQ(reports_.back().progressFraction(), std::nullopt);
}

TEST_F(VeskUpdateURLSessionDownloadDelegateTest, MoreBytesThanAnnouncedStayAFractionOfOne) {
  receiveResponse(2);
  delegate_.didReceiveData("0123");

  EXPECT_EQ(reports_.back(), (Progress{4, 2}));
  EXPECT_EQ(reports_.back().progressFraction(), 1.0);
}

TEST_F(VeskUpdateURLSessionDownloadDelegateTest, TheLastResponseCounts) {
  receiveResponse(10);
  receiveResponse(-1);
  delegate_.didComplete(nullptr);

  EXPECT_EQ(result().response.expectedContentLength, -1);
}

TEST_F(VeskUpdateURLSessionDownloadDelegateTest, AnErrorIsPassedOnUnchanged) {
  receiveResponse(10);
  delegate_.didComplete(std::make_exception_ptr(QuillonURLError(QuillonURLErrorCode::cancelled, "stopped")));

  EXPECT_EQ(failure(), QuillonURLErrorCode::cancelled);
}

TEST_F(VeskUpdateURLSessionDownloadDelegateTest, AnEndWithoutResponseIsABadOne) {
  delegate_.didComplete(nullptr);

  EXPECT_EQ(failure(), QuillonURLErrorCode::badServerResponse);
  EXPECT_TRUE(reports_.empty());
}

TEST_F(VeskUpdateURLSessionDownloadDelegateTest, NothingAfterTheEndChangesAnything) {
  receiveResponse(4);
  delegate_.didComplete(nullptr);

  delegate_.didComplete(nullptr);
  delegate_.didComplete(std::make_exception_ptr(QuillonURLError(QuillonURLErrorCode::timedOut, "late")));
  receiveResponse(4);
  delegate_.didReceiveData("late");

  EXPECT_EQ(result().data->size(), 0U);
  EXPECT_EQ(reports_, (std::vector<Progress>{{0, 4}}));
}

TEST_F(VeskUpdateURLSessionDownloadDelegateTest, AnAnnouncedLengthIsReservedUpToALimit) {
  receiveResponse(std::int64_t{10} * 1024 * 1024 * 1024);

  EXPECT_EQ(record_.reservations.back(), VeskUpdateURLSessionDownloadDelegate::kMaximumReservedBytes);
}

TEST_F(VeskUpdateURLSessionDownloadDelegateTest, ADownloadPastTheLimitIsAnError) {
  constexpr auto kLimit = static_cast<std::int64_t>(VeskUpdateURLSessionDownloadDelegate::kMaximumBytes);

  EXPECT_EQ(failureOf([&] { receiveResponse(kLimit + 1); }), QuillonURLErrorCode::dataLengthExceedsMaximum);
  receiveResponse(-1);
  record_.claimedSize = kLimit;
  EXPECT_EQ(failureOf([&] { delegate_.didReceiveData("x"); }), QuillonURLErrorCode::dataLengthExceedsMaximum);
}

TEST_F(VeskUpdateURLSessionDownloadDelegateTest, AFullVolumeIsAnErrorOfWriting) {
  record_.failsWith = ENOSPC;
  EXPECT_EQ(failureOf([&] { receiveResponse(10); }), QuillonURLErrorCode::cannotWriteToFile);
  record_.failsWith = EDQUOT;
  EXPECT_EQ(failureOf([&] { delegate_.didReceiveData("x"); }), QuillonURLErrorCode::cannotWriteToFile);
}

TEST_F(VeskUpdateURLSessionDownloadDelegateTest, MoreThanAFileOrMemoryTakesIsAnErrorOfLength) {
  record_.failsWith = EFBIG;
  EXPECT_EQ(failureOf([&] { delegate_.didReceiveData("x"); }), QuillonURLErrorCode::dataLengthExceedsMaximum);
  record_.failsWith = ENOMEM;
  EXPECT_EQ(failureOf([&] { delegate_.didReceiveData("x"); }), QuillonURLErrorCode::dataLengthExceedsMaximum);
}

TEST_F(VeskUpdateURLSessionDownloadDelegateTest, ABufferThatIsStoppedIsACancelledDownload) {
  receiveResponse(10);
  stopSource_.request_stop();

  EXPECT_EQ(failureOf([&] { delegate_.didReceiveData("x"); }), QuillonURLErrorCode::cancelled);
}

TEST_F(VeskUpdateURLSessionDownloadDelegateTest, WithoutAHandlerNobodyIsTold) {
  std::promise<VeskUpdateInstallerDownload> continuation;
  VeskUpdateURLSessionDownloadDelegate delegate(nullptr, std::make_unique<RecordingBuffer>(record_), continuation,
                                                stopSource_.get_token());

  delegate.didReceiveResponse({.url = kURL});
  delegate.didReceiveData("x");
  delegate.didComplete(nullptr);

  EXPECT_EQ(continuation.get_future().get().data->size(), 1U);
}

}  // namespace
}  // namespace quillon
