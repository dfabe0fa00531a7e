#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QuillonCore/Network/QuillonSystemURLTransfers.h"
#include "QuillonCore/Network/QuillonURLFailure.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonURLError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateURLSessionInstallerNetworkClient.h"
#include "Support/FakeURLTransfers.h"
#include "Support/MisbehavingServer.h"
#include "Support/NginxServer.h"
#include "Support/ProcessResources.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using testing::FakeURLTransfers;
using testing::MisbehavingServer;
using testing::NginxServer;
using testing::ProcessResources;
using testing::readFile;
using testing::TemporaryDirectory;
using testing::waitForResources;
using testing::writeFile;
using Progress = VeskUpdateInstallerDownloadProgress;

class VeskUpdateURLSessionInstallerNetworkClientTest : public ::testing::Test {
 protected:
  VeskUpdateURLSessionInstallerNetworkClient clientOf(std::shared_ptr<const QuillonURLTransferring> transfers) const {
    return {std::move(transfers),
            [this] { return makeSystemDownloadBuffer({QuillonURL::fileURL(folder_.path().string())}); }};
  }
  QuillonURLErrorCode failureOf(VeskUpdateURLSessionInstallerNetworkClient client, const QuillonURL& url) {
    try {
      (void)client.data(url, handler_, stopSource_.get_token());
    } catch (const QuillonURLError& error) {
      return error.code();
    }
    ADD_FAILURE() << "the download did not fail";
    return QuillonURLErrorCode::unknown;
  }

  const std::shared_ptr<const QuillonURLTransferring> system_ =
      makeSystemURLTransfers({.usesProxiesOfEnvironment = false});
  TemporaryDirectory folder_;
  std::stop_source stopSource_;
  std::vector<Progress> reports_;
  VeskUpdateInstallerDownloadProgressHandler handler_ = [this](const Progress& progress) {
    reports_.push_back(progress);
  };
};

TEST_F(VeskUpdateURLSessionInstallerNetworkClientTest, AnArchiveIsDownloadedToItsPlace) {
  const NginxServer server;
  const std::string content(3'000'000, 'z');
  writeFile(server.documents() / "archive.zip", content);

  const auto download = clientOf(system_).data(server.url("/archive.zip"), handler_, {});
  download.data->writeAtomically(QuillonPosixFileManager(), QuillonURL::fileURL((folder_ / "archive.zip").string()),
                                 {});

  EXPECT_EQ(download.response.httpStatusCode, 200);
  EXPECT_TRUE(readFile(folder_ / "archive.zip") == content);
  EXPECT_EQ(reports_.front(), (Progress{0, 3'000'000}));
  EXPECT_EQ(reports_.back(), (Progress{3'000'000, 3'000'000}));
}

TEST_F(VeskUpdateURLSessionInstallerNetworkClientTest, AFileURLIsDownloadedWithoutAStatus) {
  writeFile(folder_ / "source", "bytes");

  const auto download = clientOf(system_).data(QuillonURL::fileURL((folder_ / "source").string()), handler_, {});

  EXPECT_EQ(download.data->size(), 5U);
  EXPECT_FALSE(download.response.httpStatusCode);
}

TEST_F(VeskUpdateURLSessionInstallerNetworkClientTest, AStatusIsNotJudged) {
  const NginxServer server;

  EXPECT_EQ(clientOf(system_).data(server.url("/missing"), nullptr, {}).response.httpStatusCode, 404);
}

TEST_F(VeskUpdateURLSessionInstallerNetworkClientTest, AServerThatClosesWithinItsHeaderSentABadResponse) {
  const MisbehavingServer server([](MisbehavingServer::Connection& connection) {
    (void)connection.readRequest();
    connection.send("HTTP/1.1 200 OK\r\nContent-");
  });

  EXPECT_EQ(failureOf(clientOf(system_), server.url()), QuillonURLErrorCode::badServerResponse);
}

TEST_F(VeskUpdateURLSessionInstallerNetworkClientTest, ACancelledDownloadDoesNotBegin) {
  stopSource_.request_stop();
  const auto transfers = std::make_shared<FakeURLTransfers>([](const auto& request, auto&, const auto& stopToken) {
    EXPECT_TRUE(stopToken.stop_requested());
    throw cancelledTransfer(request.url);
  });

  EXPECT_EQ(failureOf(clientOf(transfers), QuillonURL::fileURL("/")), QuillonURLErrorCode::cancelled);
}

TEST_F(VeskUpdateURLSessionInstallerNetworkClientTest, ACancellationReachesTheTaskThatRuns) {
  const auto transfers = std::make_shared<FakeURLTransfers>([&](const auto& request, auto&, const auto& stopToken) {
    EXPECT_FALSE(stopToken.stop_requested());
    stopSource_.request_stop();
    EXPECT_TRUE(stopToken.stop_requested());
    throw cancelledTransfer(request.url);
  });

  EXPECT_EQ(failureOf(clientOf(transfers), QuillonURL::fileURL("/")), QuillonURLErrorCode::cancelled);
}

TEST_F(VeskUpdateURLSessionInstallerNetworkClientTest, CancellationsAtEveryReportLeaveNothing) {
  const NginxServer server;
  std::string content;
  content.resize(24'000'000, 'z');
  writeFile(server.documents() / "archive.zip", content);
  (void)clientOf(system_).data(server.url("/archive.zip"), nullptr, {});
  const ProcessResources before = ProcessResources::current();

  int cancelled = 0;
  for (bool isWhole = false; !isWhole;) {
    std::stop_source stop;
    int reports = 0;
    const auto stopLater = [&](const Progress&) {
      if (reports++ == cancelled) stop.request_stop();
    };
    try {
      const auto download = clientOf(system_).data(server.url("/archive.zip"), stopLater, stop.get_token());
      EXPECT_EQ(download.data->size(), content.size());
      isWhole = true;
    } catch (const QuillonURLError& error) {
      ASSERT_EQ(error.code(), QuillonURLErrorCode::cancelled) << error.description();
      ++cancelled;
    }
  }

  EXPECT_GE(cancelled, 3);
  EXPECT_TRUE(waitForResources(before));
  EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

}  // namespace
}  // namespace quillon
