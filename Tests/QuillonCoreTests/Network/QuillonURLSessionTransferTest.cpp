#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>

#include "QuillonCore/Network/QuillonURLSessionTransfer.h"
#include "QuillonCore/Values/QuillonURLError.h"
#include "Support/RecordingURLReceiver.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using testing::RecordingURLReceiver;

QuillonURL url(const std::string& text) {
  return QuillonURL::parse(text).value();
}

class QuillonURLSessionTransferTest : public ::testing::Test {
 protected:
  QuillonURLErrorCode failure() {
    try {
      transfer_.wait();
    } catch (const QuillonURLError& error) {
      EXPECT_THAT(error.description(), HasSubstr("https://example.com"));
      return error.code();
    }
    ADD_FAILURE() << "the transfer did not fail";
    return QuillonURLErrorCode::unknown;
  }

  RecordingURLReceiver receiver_;
  QuillonURLSessionTransfer transfer_{{.url = url("https://example.com/archive.zip")}, receiver_};
};

TEST_F(QuillonURLSessionTransferTest, WhatTheSessionTellsOnAnotherThreadReachesTheReceiverBeforeTheEnd) {
  const std::jthread session([this] {
    EXPECT_TRUE(transfer_.didReceiveResponse({.url = url("https://example.com/archive.zip"), .httpStatusCode = 200}));
    EXPECT_TRUE(transfer_.didReceiveData("ab"));
    EXPECT_TRUE(transfer_.didReceiveData("cd"));
    transfer_.didFinish();
  });

  transfer_.wait();

  EXPECT_EQ(receiver_.response->httpStatusCode, 200);
  EXPECT_EQ(receiver_.body, "abcd");
}

TEST_F(QuillonURLSessionTransferTest, ACodeOfTheDomainOfURLErrorsIsHandedOnUnchanged) {
  transfer_.didFail("NSURLErrorDomain", -999, "cancelled");
  EXPECT_EQ(failure(), QuillonURLErrorCode::cancelled);

  QuillonURLSessionTransfer other({.url = url("https://example.com/")}, receiver_);
  other.didFail("NSURLErrorDomain", -1019, "a call is active");
  try {
    other.wait();
    FAIL() << "the transfer did not fail";
  } catch (const QuillonURLError& error) {
    EXPECT_EQ(static_cast<int>(error.code()), -1019);
    EXPECT_THAT(error.description(), HasSubstr("a call is active"));
  }
}

TEST_F(QuillonURLSessionTransferTest, ACodeOfAnotherDomainIsUnknown) {
  transfer_.didFail("NSPOSIXErrorDomain", -999, "not what it looks like");

  EXPECT_EQ(failure(), QuillonURLErrorCode::unknown);
}

TEST_F(QuillonURLSessionTransferTest, WhatAReceiverThrowsCancelsTheTransferAndIsThrownInsteadOfThat) {
  receiver_.onData = [] { throw std::runtime_error("full"); };

  EXPECT_FALSE(transfer_.didReceiveData("ab"));
  transfer_.didFail("NSURLErrorDomain", -999, "cancelled");

  EXPECT_THROW(transfer_.wait(), std::runtime_error);
}

TEST_F(QuillonURLSessionTransferTest, AReceiverThatThrewHearsNothingMore) {
  receiver_.onData = [] { throw std::runtime_error("full"); };

  EXPECT_FALSE(transfer_.didReceiveData("ab"));
  EXPECT_FALSE(transfer_.didReceiveData("cd"));

  EXPECT_EQ(receiver_.body, "ab");
}

TEST_F(QuillonURLSessionTransferTest, ASecondEndChangesNothing) {
  transfer_.didFinish();
  transfer_.didFail("NSURLErrorDomain", -1001, "timed out");

  EXPECT_NO_THROW(transfer_.wait());
}

TEST_F(QuillonURLSessionTransferTest, ARedirectMayLeadToAnotherServerWhichGetsNoCredentials) {
  QuillonURLSessionTransfer transfer({.url = url("https://example.com/archive.zip"),
                                      .headerFields = {{"Authorization", "Bearer secret"}, {"Accept", "*/*"}}},
                                     receiver_);

  const auto within = transfer.requestAfterRedirect(url("https://example.com/moved.zip"));
  const auto elsewhere = transfer.requestAfterRedirect(url("https://mirror.example.net/archive.zip"));

  ASSERT_TRUE(within && elsewhere);
  EXPECT_EQ(within->url, url("https://example.com/moved.zip"));
  EXPECT_EQ(within->headerFields.size(), 2U);
  EXPECT_EQ(elsewhere->url, url("https://mirror.example.net/archive.zip"));
  ASSERT_EQ(elsewhere->headerFields.size(), 1U);
  EXPECT_EQ(elsewhere->headerFields.front().name, "Accept");
}

TEST_F(QuillonURLSessionTransferTest, ARedirectMayNotLeadFromASecureConnectionToAPlainOne) {
  EXPECT_FALSE(transfer_.requestAfterRedirect(url("http://example.com/archive.zip")));
  transfer_.didFail("NSURLErrorDomain", -999, "cancelled");

  EXPECT_EQ(failure(), QuillonURLErrorCode::secureConnectionFailed);
}

TEST_F(QuillonURLSessionTransferTest, ARedirectThatTheSessionCannotFollowIsABadURL) {
  EXPECT_TRUE(transfer_.requestAfterRedirect(url("https://example.com/moved.zip")));
  transfer_.didRefuseRedirect();
  EXPECT_FALSE(transfer_.didReceiveData("moved"));
  transfer_.didFail("NSURLErrorDomain", -999, "cancelled");

  EXPECT_EQ(failure(), QuillonURLErrorCode::badURL);
  EXPECT_EQ(receiver_.body, "");
}

TEST_F(QuillonURLSessionTransferTest, ARedirectToWhatIsNoURLIsRefused) {
  EXPECT_FALSE(transfer_.requestAfterRedirect(std::nullopt));
  transfer_.didFinish();

  EXPECT_EQ(failure(), QuillonURLErrorCode::redirectToNonExistentLocation);
}

}  // namespace
}  // namespace quillon
