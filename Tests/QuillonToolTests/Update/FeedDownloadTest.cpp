#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stop_token>
#include <string>

#include "QuillonTool/Update/FeedDownload.h"
#include "QuillonTool/Update/UpdateFailure.h"
#include "Support/FakeNetworkClient.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kFeed = "<plist version=\"1.0\"><array><dict/></array></plist>";

class FeedDownloadTest : public ::testing::Test {
 protected:
  void answer(const std::string& body, std::optional<std::int32_t> status) {
    network_.answer(url_, QuillonURLData{.body = body, .response = {.url = url_, .httpStatusCode = status}});
  }
  [[nodiscard]] std::string failure() const {
    try {
      (void)downloadFeed(network_, url_, {});
      return {};
    } catch (const UpdateFailure& error) {
      return error.code() + ": " + error.description();
    }
  }

  const QuillonURL url_ = QuillonURL::parse("https://example.org/feed.plist").value();
  testing::FakeNetworkClient network_;
};

TEST_F(FeedDownloadTest, NoCacheMayAnswerByItself) {
  answer(kFeed, 200);

  EXPECT_EQ(downloadFeed(network_, url_, {}).size(), 1U);

  EXPECT_THAT(network_.requests().front().headerFields, ElementsAre(QuillonHTTPHeaderField{"Cache-Control", "no-cache"},
                                                                    QuillonHTTPHeaderField{"Pragma", "no-cache"}));
}

TEST_F(FeedDownloadTest, AFileHasNoStatus) {
  answer(kFeed, std::nullopt);

  EXPECT_EQ(downloadFeed(network_, url_, {}).size(), 1U);
}

TEST_F(FeedDownloadTest, AnyOtherStatusThanSuccessIsAFailureThatNamesIt) {
  for (const std::int32_t status : {199, 300, 404, 503}) {
    answer(kFeed, status);
    EXPECT_THAT(failure(), HasSubstr("https://example.org/feed.plist with status " + std::to_string(status)));
  }
}

TEST_F(FeedDownloadTest, WhatIsNoFeedIsSaidToBeNone) {
  answer("<html>", 200);
  EXPECT_THAT(failure(),
              StartsWith("noFeed: What is at https://example.org/feed.plist is no update feed: Feed failed"));
  answer("<plist version=\"1.0\"><array/></plist>", 200);
  EXPECT_THAT(failure(), HasSubstr("Feed not found"));
}

TEST_F(FeedDownloadTest, ATransportThatFailsSaysWhy) {
  network_.answer(url_, QuillonURLError(QuillonURLErrorCode::cannotConnectToHost, "Refused"));

  EXPECT_EQ(failure(), "feedNotLoaded: The feed cannot be loaded: Refused. Try again later.");
}

TEST_F(FeedDownloadTest, WithoutANetworkNoNameIsKnown) {
  for (const auto code : {QuillonURLErrorCode::notConnectedToInternet, QuillonURLErrorCode::cannotFindHost}) {
    network_.answer(url_, QuillonURLError(code, "no network"));
    EXPECT_THAT(failure(), StartsWith("offline: "));
  }
}

TEST_F(FeedDownloadTest, AStopIsACancellation) {
  std::stop_source source;
  source.request_stop();

  EXPECT_THROW((void)downloadFeed(network_, url_, source.get_token()), QuillonCancellationError);
}

}  // namespace
}  // namespace quillon
