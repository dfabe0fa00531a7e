#include <gtest/gtest.h>

#include <string>

#include "QuillonCore/Network/QuillonSystemURLTransfers.h"
#include "QuillonCore/Values/QuillonURLError.h"
#include "Support/NginxServer.h"
#include "Support/RecordingURLReceiver.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using testing::NginxServer;
using testing::RecordingURLReceiver;
using testing::TemporaryDirectory;
using testing::writeFile;

class QuillonSystemURLTransfersTest : public ::testing::Test {
 protected:
  void load(const QuillonURL& url) { transfers_->transfer({.url = url}, receiver_, stopSource_.get_token()); }

  QuillonURLErrorCode failureOf(const QuillonURL& url) {
    try {
      load(url);
    } catch (const QuillonURLError& error) {
      return error.code();
    }
    ADD_FAILURE() << "the transfer did not fail";
    return QuillonURLErrorCode::unknown;
  }

  const std::shared_ptr<const QuillonURLTransferring> transfers_ =
      makeSystemURLTransfers({.usesProxiesOfEnvironment = false});
  RecordingURLReceiver receiver_;
  std::stop_source stopSource_;
};

TEST_F(QuillonSystemURLTransfersTest, AFileIsRead) {
  const TemporaryDirectory folder;
  writeFile(folder / "feed", "from a file");

  load(QuillonURL::fileURL((folder / "feed").string()));

  EXPECT_EQ(receiver_.body, "from a file");
  EXPECT_FALSE(receiver_.response->httpStatusCode);
}

TEST_F(QuillonSystemURLTransfersTest, AServerIsAsked) {
  const NginxServer server;
  writeFile(server.documents() / "feed", "from a server");

  load(server.url("/feed"));

  EXPECT_EQ(receiver_.body, "from a server");
}

TEST_F(QuillonSystemURLTransfersTest, OtherSchemesAreRefused) {
  EXPECT_EQ(failureOf(QuillonURL::parse("ftp://example.com/feed").value()), QuillonURLErrorCode::unsupportedURL);
  EXPECT_EQ(failureOf(QuillonURL::parse("data:text/plain,feed").value()), QuillonURLErrorCode::unsupportedURL);
}

TEST_F(QuillonSystemURLTransfersTest, AURLThatNamesNoValidHostIsRefused) {
  EXPECT_EQ(failureOf(QuillonURL::parse("http://a@b@c/").value()), QuillonURLErrorCode::badURL);
}

TEST_F(QuillonSystemURLTransfersTest, ACancelledTransferDoesNotBegin) {
  stopSource_.request_stop();

  EXPECT_EQ(failureOf(QuillonURL::parse("ftp://example.com/feed").value()), QuillonURLErrorCode::cancelled);
}

}  // namespace
}  // namespace quillon
