#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

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

/// Of a body that nobody needs to guess the kind of, which could delay it.
const std::string kHeader = "HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\nContent-Length: 8000\r\n\r\n";

/// A server of one connection, which answers with `bytes` and is silent then, until the client closes.
class SilentServer {
 public:
  explicit SilentServer(
      std::string bytes, std::function<void()> whenAnswered = [] {})
      : thread_([this, bytes = std::move(bytes), whenAnswered = std::move(whenAnswered)] {
          const FileDescriptor connection(accept(socket_.descriptor.get(), nullptr, nullptr));
          std::array<char, 4096> request{};
          if (read(connection.get(), request.data(), request.size()) <= 0) return;
          EXPECT_EQ(write(connection.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
          whenAnswered();
          while (read(connection.get(), request.data(), request.size()) > 0) {
          }
        }) {}

  [[nodiscard]] QuillonURL url() const {
    return QuillonURL::parse("http://127.0.0.1:" + std::to_string(socket_.port) + "/").value();
  }

 private:
  const testing::ListeningSocket socket_ = testing::ListeningSocket::make();
  std::jthread thread_;
};

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

TEST_F(QuillonSystemURLTransfersTest, WhatAReceiverThrowsAtTheResponseEndsTheTransferBeforeItsBodyComes) {
  const SilentServer server(kHeader);
  receiver_.onResponse = [] { throw std::runtime_error("not wanted"); };

  EXPECT_THROW(load(server.url()), std::runtime_error);
}

TEST_F(QuillonSystemURLTransfersTest, WhatAReceiverThrowsAtTheFirstBytesEndsTheTransferBeforeMoreComes) {
  const SilentServer server(kHeader + std::string(4000, 'f'));
  receiver_.onData = [] { throw std::runtime_error("full"); };

  EXPECT_THROW(load(server.url()), std::runtime_error);

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
    const SilentServer server("", [this] { stopSource_.request_stop(); });

    EXPECT_EQ(failureOf(server.url()), QuillonURLErrorCode::cancelled);
  }
}

}  // namespace
}  // namespace quillon
