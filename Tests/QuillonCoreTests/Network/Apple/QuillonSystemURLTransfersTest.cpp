#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "QuillonCore/Network/QuillonSystemURLTransfers.h"
#include "QuillonCore/Values/QuillonURLError.h"
#include "Support/CannedWebServer.h"
#include "Support/ListeningSocket.h"
#include "Support/RecordingURLReceiver.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::AllOf;
using testing::CannedWebServer;
using ::testing::HasSubstr;
using testing::ListeningSocket;
using ::testing::Not;
using testing::RecordingURLReceiver;

class QuillonSystemURLTransfersTest : public ::testing::Test {
 protected:
  void load(const QuillonURLRequest& request) { transfers_->transfer(request, receiver_, stopSource_.get_token()); }
  void load(const QuillonURL& url) { load(QuillonURLRequest{.url = url}); }

  QuillonURLErrorCode failureOf(const QuillonURLRequest& request) {
    try {
      load(request);
    } catch (const QuillonURLError& error) {
      return error.code();
    }
    ADD_FAILURE() << "the transfer did not fail";
    return QuillonURLErrorCode::unknown;
  }
  QuillonURLErrorCode failureOf(const QuillonURL& url) { return failureOf(QuillonURLRequest{.url = url}); }

  std::shared_ptr<const QuillonURLTransferring> transfers_ = makeSystemURLTransfers();
  RecordingURLReceiver receiver_;
  std::stop_source stopSource_;
};

/// Takes one connection, reads until the request has come, and says `nothing` but what `then` does.
void serveSilently(const ListeningSocket& socket, const std::function<void()>& then) {
  const FileDescriptor connection(accept(socket.descriptor.get(), nullptr, nullptr));
  std::array<char, 4096> piece{};
  if (read(connection.get(), piece.data(), piece.size()) <= 0) return;
  then();
  while (read(connection.get(), piece.data(), piece.size()) > 0) {
  }
}

TEST_F(QuillonSystemURLTransfersTest, AFileIsReadWithoutAStatus) {
  const testing::TemporaryDirectory folder;
  testing::writeFile(folder / "a feed", "from a file");

  load(QuillonURL::fileURL((folder / "a feed").string()));

  EXPECT_EQ(receiver_.body, "from a file");
  EXPECT_FALSE(receiver_.response->httpStatusCode);
}

TEST_F(QuillonSystemURLTransfersTest, FieldsOfTheRequestAreSent) {
  const CannedWebServer server({{"/feed", "feed"}});

  load({.url = server.url("/feed"), .headerFields = {{"X-Asked", "for"}}});

  EXPECT_THAT(server.lastRequest(), AllOf(HasSubstr("GET /feed HTTP/1.1\r\n"), HasSubstr("X-Asked: for\r\n")));
}

TEST_F(QuillonSystemURLTransfersTest, AFieldThatIsNoTextIsRefused) {
  const CannedWebServer server({{"/feed", "feed"}});

  EXPECT_EQ(failureOf({.url = server.url("/feed"), .headerFields = {{"X-Asked", "\xFF"}}}),
            QuillonURLErrorCode::badURL);
}

TEST_F(QuillonSystemURLTransfersTest, ARedirectIsFollowed) {
  const CannedWebServer server({{"/feed", "feed"}}, {{"/moved", "/feed"}});

  load(server.url("/moved"));

  EXPECT_EQ(receiver_.body, "feed");
  EXPECT_EQ(receiver_.responseCount, 1);
  EXPECT_EQ(receiver_.response->url, server.url("/feed"));
}

TEST_F(QuillonSystemURLTransfersTest, ARedirectToAFileIsRefused) {
  const CannedWebServer server({}, {{"/moved", "file:///etc/passwd"}});

  EXPECT_EQ(failureOf(server.url("/moved")), QuillonURLErrorCode::unsupportedURL);

  EXPECT_FALSE(receiver_.response);
}

TEST_F(QuillonSystemURLTransfersTest, CredentialsGoOnlyToTheServerThatTheyWereMeantFor) {
  const CannedWebServer elsewhere({{"/feed", "feed"}});
  const CannedWebServer server({{"/feed", "feed"}},
                               {{"/here", "/feed"}, {"/there", elsewhere.url("/feed").absoluteString()}});
  const std::vector<QuillonHTTPHeaderField> fields{{"Authorization", "Bearer secret"}, {"X-Asked", "for"}};

  load({.url = server.url("/here"), .headerFields = fields});
  load({.url = server.url("/there"), .headerFields = fields});

  EXPECT_THAT(server.lastRequest(), HasSubstr("Bearer secret"));
  EXPECT_THAT(elsewhere.lastRequest(), AllOf(HasSubstr("X-Asked: for"), Not(HasSubstr("secret"))));
}

TEST_F(QuillonSystemURLTransfersTest, WhatAReceiverThrowsAtTheResponseEndsTheTransfer) {
  const CannedWebServer server({{"/feed", "feed"}});
  receiver_.onResponse = [] { throw std::runtime_error("not wanted"); };

  EXPECT_THROW(load(server.url("/feed")), std::runtime_error);

  EXPECT_EQ(receiver_.body, "");
}

TEST_F(QuillonSystemURLTransfersTest, WhatAReceiverThrowsAtTheFirstBytesEndsTheTransfer) {
  const CannedWebServer server({{"/large", std::string(8'000'000, 'f')}});
  receiver_.onData = [] { throw std::runtime_error("full"); };

  EXPECT_THROW(load(server.url("/large")), std::runtime_error);

  EXPECT_EQ(receiver_.pieces, 1);
}

TEST_F(QuillonSystemURLTransfersTest, AStopWhileBytesArriveIsTheErrorCancelled) {
  const CannedWebServer server({{"/large", std::string(8'000'000, 'f')}});
  receiver_.onData = [this] { stopSource_.request_stop(); };

  EXPECT_EQ(failureOf(server.url("/large")), QuillonURLErrorCode::cancelled);

  EXPECT_LT(receiver_.body.size(), 8'000'000U);
}

TEST_F(QuillonSystemURLTransfersTest, AStopWhileTheServerIsSilentIsTheErrorCancelled) {
  for (const auto& transfers : {makeSystemURLTransfers(), makeSharedURLTransfers()}) {
    transfers_ = transfers;
    stopSource_ = {};
    const ListeningSocket socket = ListeningSocket::make();
    const std::jthread server([&] { serveSilently(socket, [this] { stopSource_.request_stop(); }); });

    EXPECT_EQ(failureOf(QuillonURL::parse("http://127.0.0.1:" + std::to_string(socket.port) + "/").value()),
              QuillonURLErrorCode::cancelled);
  }
}

}  // namespace
}  // namespace quillon
