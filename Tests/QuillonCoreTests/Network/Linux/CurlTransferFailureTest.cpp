// How transfers end that do not end well: cancelled at every point, and by servers that break the protocol.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netdb.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>

#include "QuillonCore/Network/Linux/CurlTransfer.h"
#include "QuillonCore/Values/QuillonURLError.h"
#include "Support/BlockingQueue.h"
#include "Support/ListeningSocket.h"
#include "Support/MisbehavingServer.h"
#include "Support/NginxServer.h"
#include "Support/ProcessResources.h"
#include "Support/RecordingURLReceiver.h"
#include "Support/TLSConversation.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using testing::BlockingQueue;

/// A lookup of "stuck.invalid" says so here, and goes on when it is told to.
struct StuckLookup {
  BlockingQueue<bool> began;
  BlockingQueue<bool> mayEnd;
  BlockingQueue<bool> ended;

  /// Returns when nothing of the lookup is left to disturb the next one.
  void end() {
    mayEnd.push(true);
    ended.pop();
  }
};

StuckLookup& stuckLookup() {
  static StuckLookup lookup;
  return lookup;
}

}  // namespace
}  // namespace quillon

// Stands before the system's resolver for every library of this program.
extern "C" int getaddrinfo(const char* name, const char* service, const addrinfo* hints, addrinfo** result) {
  using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
  const std::string_view host = name == nullptr ? "" : name;
  if (host == "stuck.invalid") {
    quillon::stuckLookup().began.push(true);
    quillon::stuckLookup().mayEnd.pop();
    quillon::stuckLookup().ended.push(true);
  }
  if (host.ends_with(".invalid")) return EAI_NONAME;
  static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
  return next(name, service, hints, result);
}

namespace quillon {
namespace {

using ::testing::HasSubstr;
using testing::ListeningSocket;
using testing::MisbehavingServer;
using testing::NginxServer;
using ::testing::Not;
using testing::ProcessResources;
using testing::RecordingURLReceiver;
using testing::TLSConversation;
using testing::TLSCredentials;
using testing::waitForResources;
using testing::writeFile;
using Connection = MisbehavingServer::Connection;
using std::chrono::milliseconds;

class CurlTransferFailureTest : public ::testing::Test {
 protected:
  QuillonURLError failureOf(const QuillonURL& url, milliseconds timeout = std::chrono::seconds(60)) {
    try {
      CurlTransfer(configuration_, receiver_, stopSource_.get_token()).run({.url = url, .timeout = timeout});
    } catch (const QuillonURLError& error) {
      return error;
    }
    ADD_FAILURE() << "the transfer did not fail";
    return {QuillonURLErrorCode::unknown, ""};
  }

  /// The error when a server sends `answer` and closes.
  QuillonURLError failureAfter(std::string_view answer) {
    const MisbehavingServer server([&](Connection& connection) {
      (void)connection.readRequest();
      connection.send(answer);
    });
    return failureOf(server.url());
  }

  QuillonURLTransferConfiguration configuration_{.usesProxiesOfEnvironment = false};
  std::stop_source stopSource_;
  RecordingURLReceiver receiver_;
};

// Servers

TEST_F(CurlTransferFailureTest, LessThanAnnouncedIsALostConnection) {
  const QuillonURLError error = failureAfter("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly this");

  EXPECT_EQ(error.code(), QuillonURLErrorCode::networkConnectionLost);
  EXPECT_THAT(error.description(), HasSubstr("91 bytes remaining"));
  EXPECT_EQ(receiver_.body, "only this");
}

TEST_F(CurlTransferFailureTest, MoreThanAnnouncedIsABadResponse) {
  const QuillonURLError error = failureAfter("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nmore than that");

  EXPECT_EQ(error.code(), QuillonURLErrorCode::badServerResponse);
  EXPECT_THAT(error.description(), HasSubstr("more than the 4 bytes that it announced"));
}

TEST_F(CurlTransferFailureTest, MoreThanAnnouncedInTheSamePieceAsTheLastByteIsABadResponse) {
  std::latch isReceived(1);
  receiver_.onResponse = [&] { isReceived.count_down(); };
  const MisbehavingServer server([&](Connection& connection) {
    (void)connection.readRequest();
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\n");
    isReceived.wait();
    connection.send("more than that");
    connection.waitUntilClosed();
  });

  EXPECT_EQ(failureOf(server.url()).code(), QuillonURLErrorCode::badServerResponse);
}

TEST_F(CurlTransferFailureTest, AChunkedBodyWithoutItsEndIsALostConnection) {
  const QuillonURLError error =
      failureAfter("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nfeed\r\n100\r\nmore");

  EXPECT_EQ(error.code(), QuillonURLErrorCode::networkConnectionLost);
}

TEST_F(CurlTransferFailureTest, AConnectionThatIsResetIsLost) {
  std::latch didArrive(1);
  receiver_.onData = [&] { didArrive.count_down(); };
  const MisbehavingServer server([&](Connection& connection) {
    (void)connection.readRequest();
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly this");
    didArrive.wait();
    connection.reset();
  });

  EXPECT_EQ(failureOf(server.url()).code(), QuillonURLErrorCode::networkConnectionLost);
}

TEST_F(CurlTransferFailureTest, AConnectionThatIsClosedBeforeTheResponseIsLost) {
  EXPECT_EQ(failureAfter("").code(), QuillonURLErrorCode::networkConnectionLost);
  EXPECT_FALSE(receiver_.response);
}

TEST_F(CurlTransferFailureTest, AConnectionThatIsClosedWithinTheHeaderBringsNoResponse) {
  const MisbehavingServer server([](Connection& connection) {
    (void)connection.readRequest();
    connection.send("HTTP/1.1 200 OK\r\nContent-");
  });

  CurlTransfer(configuration_, receiver_, stopSource_.get_token()).run({.url = server.url()});

  EXPECT_FALSE(receiver_.response);
  EXPECT_EQ(receiver_.body, "");
}

TEST_F(CurlTransferFailureTest, WhatIsNoHTTPIsABadResponse) {
  EXPECT_EQ(failureAfter("220 mail.example.com ESMTP\r\n").code(), QuillonURLErrorCode::badServerResponse);
}

TEST_F(CurlTransferFailureTest, ManyHeaderFieldsEndAtTheLimit) {
  configuration_.maximumHeaderBytes = 4096;
  const MisbehavingServer server([](Connection& connection) {
    (void)connection.readRequest();
    connection.send("HTTP/1.1 200 OK\r\n");
    while (connection.send("X-Field: value\r\n")) {
    }
  });

  const QuillonURLError error = failureOf(server.url());

  EXPECT_EQ(error.code(), QuillonURLErrorCode::badServerResponse);
  EXPECT_THAT(error.description(), HasSubstr("a header of more than 4096 bytes"));
}

TEST_F(CurlTransferFailureTest, ManyInterimResponsesEndAtTheLimit) {
  const MisbehavingServer server([](Connection& connection) {
    (void)connection.readRequest();
    while (connection.send("HTTP/1.1 103 Early Hints\r\nLink: </style.css>\r\n\r\n")) {
    }
  });

  EXPECT_EQ(failureOf(server.url()).code(), QuillonURLErrorCode::badServerResponse);
}

TEST_F(CurlTransferFailureTest, AHeaderFieldWithoutEndIsABadResponse) {
  const MisbehavingServer server([](Connection& connection) {
    (void)connection.readRequest();
    connection.send("HTTP/1.1 200 OK\r\nX-Field: ");
    const std::string block(4096, 'x');
    while (connection.send(block)) {
    }
  });

  EXPECT_EQ(failureOf(server.url()).code(), QuillonURLErrorCode::badServerResponse);
}

TEST_F(CurlTransferFailureTest, AnEncodingThatCannotBeUndoneIsAnError) {
  const QuillonURLError error =
      failureAfter("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 12\r\n\r\nthis is none");

  EXPECT_EQ(error.code(), QuillonURLErrorCode::cannotDecodeContentData);
}

TEST_F(CurlTransferFailureTest, AServerThatSaysNothingTimesOut) {
  const MisbehavingServer server([](Connection& connection) { connection.waitUntilClosed(); });

  const QuillonURLError error = failureOf(server.url(), milliseconds(30));

  EXPECT_EQ(error.code(), QuillonURLErrorCode::timedOut);
  EXPECT_THAT(error.description(), HasSubstr("nothing arrived for 30 ms"));
}

TEST_F(CurlTransferFailureTest, AServerThatStallsInTheBodyTimesOut) {
  const MisbehavingServer server([](Connection& connection) {
    (void)connection.readRequest();
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly this");
    connection.waitUntilClosed();
  });

  EXPECT_EQ(failureOf(server.url(), milliseconds(30)).code(), QuillonURLErrorCode::timedOut);
  EXPECT_EQ(receiver_.body, "only this");
}

TEST_F(CurlTransferFailureTest, WhatArrivedIsHandedOnBeforeAShortTimeoutEnds) {
  // A timeout below the time for which what arrives is gathered; a busy machine may not answer in it at once.
  const MisbehavingServer server([](Connection& connection) {
    (void)connection.readRequest();
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly this");
    connection.waitUntilClosed();
  });

  for (int attempt = 0; attempt < 100 && receiver_.responseCount == 0; ++attempt) {
    EXPECT_EQ(failureOf(server.url(), milliseconds(5)).code(), QuillonURLErrorCode::timedOut);
  }

  EXPECT_EQ(receiver_.responseCount, 1);
  EXPECT_EQ(receiver_.body, "only this");
}

TEST_F(CurlTransferFailureTest, InterimResponsesAndTrailersAreNoResponses) {
  const MisbehavingServer server([](Connection& connection) {
    (void)connection.readRequest();
    connection.send(
        "HTTP/1.1 103 Early Hints\r\nLink: </style.css>\r\n\r\n"
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\nTrailer: X-Sum\r\n\r\n"
        "4\r\nfeed\r\n0\r\nX-Sum: 1\r\n\r\n");
  });

  CurlTransfer(configuration_, receiver_, stopSource_.get_token()).run({.url = server.url()});

  EXPECT_EQ(receiver_.responseCount, 1);
  EXPECT_EQ(receiver_.response->httpStatusCode, 200);
  EXPECT_FALSE(receiver_.response->valueForHeaderField("Link"));
  EXPECT_EQ(receiver_.response->expectedContentLength, -1);
  EXPECT_EQ(receiver_.body, "feed");
}

TEST_F(CurlTransferFailureTest, NobodyAtThePortIsAnErrorWithoutSecrets) {
  const std::uint16_t port = ListeningSocket::make().port;
  const std::string origin = "127.0.0.1:" + std::to_string(port);

  const QuillonURLError error =
      failureOf(QuillonURL::parse("http://someone:secret@" + origin + "/hidden?key=secret").value());

  EXPECT_EQ(error.code(), QuillonURLErrorCode::cannotConnectToHost);
  EXPECT_THAT(error.description(), HasSubstr("Cannot load http://" + origin + ": "));
  EXPECT_THAT(error.description(), Not(HasSubstr("secret")));
  EXPECT_THAT(error.description(), Not(HasSubstr("hidden")));
}

TEST_F(CurlTransferFailureTest, AHostThatNobodyKnowsIsAnError) {
  EXPECT_EQ(failureOf(QuillonURL::parse("http://missing.invalid/").value()).code(),
            QuillonURLErrorCode::cannotFindHost);
}

TEST_F(CurlTransferFailureTest, WhatTheReceiverThrowsEndsTheTransfer) {
  const NginxServer server;
  writeFile(server.documents() / "feed", "feed");
  receiver_.onData = [] { throw std::runtime_error("full"); };

  EXPECT_THROW(CurlTransfer(configuration_, receiver_, stopSource_.get_token()).run({.url = server.url("/feed")}),
               std::runtime_error);
}

// Servers that speak TLS

QuillonURL secureURL(const MisbehavingServer& server) {
  return QuillonURL::parse("https://localhost:" + std::to_string(server.port()) + "/").value();
}

TEST_F(CurlTransferFailureTest, ATLSConnectionThatIsCutOffInABodyOfUnknownLengthIsLost) {
  const TLSCredentials credentials;
  configuration_.certificateAuthorityFile = credentials.certificateAuthorityFile();
  std::atomic<bool> isClosed = false;
  const MisbehavingServer server([&](Connection& connection) {
    TLSConversation conversation(credentials, connection);
    (void)conversation.readUntil("\r\n\r\n");
    conversation.send("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nonly this");
    if (isClosed) conversation.close();
  });

  EXPECT_EQ(failureOf(secureURL(server)).code(), QuillonURLErrorCode::networkConnectionLost);

  isClosed = true;
  receiver_ = {};
  CurlTransfer(configuration_, receiver_, stopSource_.get_token()).run({.url = secureURL(server)});
  EXPECT_EQ(receiver_.body, "only this") << "as whole as a server can say";
}

/// A frame of HTTP/2 (RFC 9113, section 4.1).
std::string frame(char type, char flags, char stream, std::string_view payload) {
  std::string bytes = {'\0', '\0', static_cast<char>(payload.size()), type, flags, '\0', '\0', '\0', stream};
  return bytes.append(payload);
}

class CurlTransferHTTP2FailureTest : public CurlTransferFailureTest {
 protected:
  static constexpr char kData = 0;
  static constexpr char kHeaders = 1;
  static constexpr char kResetStream = 3;
  static constexpr char kSettings = 4;
  static constexpr char kGoAway = 7;
  static constexpr char kEndOfStream = 1;
  static constexpr char kEndOfHeaders = 4;

  CurlTransferHTTP2FailureTest() { configuration_.certificateAuthorityFile = credentials_.certificateAuthorityFile(); }

  /// Answers the first stream with status 200, a body's first part, and `lastFrame`; cuts the connection off if that is
  /// empty, and leaves its end to the client otherwise.
  void serve(Connection& connection, const std::string& lastFrame) const {
    TLSConversation conversation(credentials_, connection);
    (void)conversation.readUntil("SM\r\n\r\n");  // of the client's preface
    conversation.send(frame(kSettings, 0, 0, ""));
    // "\x88" is the field ":status: 200" (RFC 7541, appendix A).
    conversation.send(frame(kHeaders, kEndOfHeaders, 1, "\x88") + frame(kData, 0, 1, "only this") + lastFrame);
    if (!lastFrame.empty()) connection.waitUntilClosed();
  }

  const TLSCredentials credentials_{"h2"};
};

TEST_F(CurlTransferHTTP2FailureTest, AStreamThatIsResetIsALostConnection) {
  // Without an error a server may reset only a request of which it needs no more; what came is not all of it either.
  for (const std::string_view code : {std::string_view("\0\0\0\2", 4), std::string_view("\0\0\0\0", 4)}) {
    const MisbehavingServer server([&](Connection& connection) { serve(connection, frame(kResetStream, 0, 1, code)); });

    EXPECT_EQ(failureOf(secureURL(server)).code(), QuillonURLErrorCode::networkConnectionLost);
  }
}

TEST_F(CurlTransferHTTP2FailureTest, AServerThatGoesAwayInABodyIsALostConnection) {
  const MisbehavingServer server([&](Connection& connection) {
    serve(connection, frame(kGoAway, 0, 0, std::string_view("\0\0\0\0\0\0\0\2", 8)));
  });

  EXPECT_EQ(failureOf(secureURL(server)).code(), QuillonURLErrorCode::networkConnectionLost);
}

TEST_F(CurlTransferHTTP2FailureTest, AStreamThatIsCutOffIsALostConnection) {
  const MisbehavingServer server([&](Connection& connection) { serve(connection, ""); });

  EXPECT_EQ(failureOf(secureURL(server)).code(), QuillonURLErrorCode::networkConnectionLost);
}

TEST_F(CurlTransferHTTP2FailureTest, AStreamThatEndsIsWhole) {
  const MisbehavingServer server(
      [&](Connection& connection) { serve(connection, frame(kData, kEndOfStream, 1, " and that")); });

  CurlTransfer(configuration_, receiver_, stopSource_.get_token()).run({.url = secureURL(server)});

  EXPECT_EQ(receiver_.body, "only this and that");
}

// Cancellation

TEST_F(CurlTransferFailureTest, ACancelledTransferDoesNotBegin) {
  const MisbehavingServer server([](Connection&) {});
  stopSource_.request_stop();

  EXPECT_EQ(failureOf(server.url()).code(), QuillonURLErrorCode::cancelled);
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(CurlTransferFailureTest, ACancellationDoesNotWaitForTheResolver) {
  std::thread canceller([&] {
    stuckLookup().began.pop();
    stopSource_.request_stop();
  });

  const QuillonURLError error = failureOf(QuillonURL::parse("http://stuck.invalid/").value());
  stuckLookup().end();
  canceller.join();

  EXPECT_EQ(error.code(), QuillonURLErrorCode::cancelled);
}

TEST_F(CurlTransferFailureTest, ALookupThatNeverEndsTimesOut) {
  const QuillonURLError error = failureOf(QuillonURL::parse("http://stuck.invalid/").value(), milliseconds(30));
  stuckLookup().began.pop();
  stuckLookup().end();

  EXPECT_EQ(error.code(), QuillonURLErrorCode::timedOut);
}

TEST_F(CurlTransferFailureTest, ACancellationEndsTheWaitForAConnection) {
  const ListeningSocket nobody = ListeningSocket::make();  // connects, and is never served
  std::thread canceller([&] { stopSource_.request_stop(); });

  const QuillonURLError error =
      failureOf(QuillonURL::parse("http://127.0.0.1:" + std::to_string(nobody.port) + "/").value());
  canceller.join();

  EXPECT_EQ(error.code(), QuillonURLErrorCode::cancelled);
}

TEST_F(CurlTransferFailureTest, ACancellationEndsTheWaitForTheResponse) {
  const MisbehavingServer server([&](Connection& connection) {
    (void)connection.readRequest();
    stopSource_.request_stop();
    connection.waitUntilClosed();
  });

  EXPECT_EQ(failureOf(server.url()).code(), QuillonURLErrorCode::cancelled);
}

TEST_F(CurlTransferFailureTest, ACancellationEndsTheHandshake) {
  const MisbehavingServer server([&](Connection& connection) {
    stopSource_.request_stop();
    connection.waitUntilClosed();
  });

  const QuillonURLError error =
      failureOf(QuillonURL::parse("https://127.0.0.1:" + std::to_string(server.port()) + "/").value());

  EXPECT_EQ(error.code(), QuillonURLErrorCode::cancelled);
}

TEST_F(CurlTransferFailureTest, ACancellationWithTheResponseBringsNoBody) {
  const NginxServer server;
  writeFile(server.documents() / "feed", std::string(1'000'000, 'f'));
  receiver_.onResponse = [&] { stopSource_.request_stop(); };

  EXPECT_EQ(failureOf(server.url("/feed")).code(), QuillonURLErrorCode::cancelled);
  EXPECT_EQ(receiver_.body, "");
}

TEST_F(CurlTransferFailureTest, ACancellationBetweenTwoPiecesBringsNoFurtherOne) {
  const NginxServer server;
  writeFile(server.documents() / "feed", std::string(10'000'000, 'f'));
  std::size_t sizeAtStop = 0;
  receiver_.onData = [&] {
    sizeAtStop = receiver_.body.size();
    stopSource_.request_stop();
  };

  EXPECT_EQ(failureOf(server.url("/feed")).code(), QuillonURLErrorCode::cancelled);
  EXPECT_EQ(receiver_.body.size(), sizeAtStop);
}

TEST_F(CurlTransferFailureTest, ACancellationEndsAChainOfRedirects) {
  int count = 0;
  const MisbehavingServer server([&](Connection& connection) {
    (void)connection.readRequest();
    if (++count == 3) stopSource_.request_stop();
    connection.send("HTTP/1.1 302 Found\r\nLocation: /\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
  });

  EXPECT_EQ(failureOf(server.url()).code(), QuillonURLErrorCode::cancelled);
  EXPECT_LE(server.connectionCount(), 4);
}

TEST_F(CurlTransferFailureTest, ACancellationWithTheLastByteIsEitherWay) {
  const NginxServer server;
  writeFile(server.documents() / "feed", "f");
  receiver_.onData = [&] { stopSource_.request_stop(); };

  try {
    CurlTransfer(configuration_, receiver_, stopSource_.get_token()).run({.url = server.url("/feed")});
  } catch (const QuillonURLError& error) {
    EXPECT_EQ(error.code(), QuillonURLErrorCode::cancelled);
  }

  EXPECT_EQ(receiver_.body, "f");
}

TEST_F(CurlTransferFailureTest, NothingIsLeftOfFailedAndCancelledTransfers) {
  const MisbehavingServer server([&](Connection& connection) {
    const std::string request = connection.readRequest();
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nonly this");
    if (request.starts_with("GET /stall")) connection.waitUntilClosed();
  });
  (void)failureOf(server.url());
  const ProcessResources before = ProcessResources::current();

  for (int i = 0; i < 10; ++i) {
    stopSource_ = {};
    receiver_.onData = nullptr;
    (void)failureOf(server.url());
    (void)failureOf(QuillonURL::parse("http://missing.invalid/").value());
    receiver_.onData = [this] { stopSource_.request_stop(); };
    (void)failureOf(server.url("/stall"));
  }

  EXPECT_TRUE(waitForResources(before));
}

}  // namespace
}  // namespace quillon
