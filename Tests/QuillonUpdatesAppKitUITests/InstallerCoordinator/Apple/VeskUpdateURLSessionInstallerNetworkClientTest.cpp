// Downloads through a URL session of the platform.

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "QuillonCore/Network/QuillonSystemURLTransfers.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Values/QuillonURLError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadMemory.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateURLSessionInstallerNetworkClient.h"
#include "Support/CannedWebServer.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using Progress = VeskUpdateInstallerDownloadProgress;

class VeskUpdateURLSessionInstallerNetworkClientTest : public ::testing::Test {
 protected:
  VeskUpdateInstallerDownload download(const std::string& path) {
    const auto handler = [this](const Progress& progress) {
      reports_.push_back(progress);
      if (reports_.size() == reportsUntilStop_) stopSource_.request_stop();
    };
    return client_.data(server_.url(path), handler, stopSource_.get_token());
  }

  const std::string archive_ = std::string(3'000'000, 'z');
  const testing::CannedWebServer server_{{{"/archive.zip", archive_}, {"/empty", ""}}};
  VeskUpdateURLSessionInstallerNetworkClient client_{
      makeSystemURLTransfers(), [] { return std::make_unique<VeskUpdateInstallerDownloadMemory>(); }};
  std::stop_source stopSource_;
  std::size_t reportsUntilStop_ = 0;
  std::vector<Progress> reports_;
};

TEST_F(VeskUpdateURLSessionInstallerNetworkClientTest, AnArchiveArrivesWholeAndEveryPieceIsReported) {
  const testing::TemporaryDirectory folder;

  const auto download = this->download("/archive.zip");
  download.data->writeAtomically(QuillonPosixFileManager(), QuillonURL::fileURL((folder / "archive.zip").string()), {});

  EXPECT_EQ(download.response.httpStatusCode, 200);
  EXPECT_TRUE(testing::readFile(folder / "archive.zip") == archive_);
  EXPECT_EQ(reports_.front(), (Progress{0, 3'000'000}));
  EXPECT_EQ(reports_.back(), (Progress{3'000'000, 3'000'000}));
  EXPECT_GT(reports_.size(), 2U);
}

TEST_F(VeskUpdateURLSessionInstallerNetworkClientTest, AnEmptyArchiveHasNoExpectation) {
  EXPECT_EQ(download("/empty").data->size(), 0U);

  EXPECT_EQ(reports_, (std::vector<Progress>{{0, std::nullopt}}));
}

TEST_F(VeskUpdateURLSessionInstallerNetworkClientTest, AStatusIsNotJudged) {
  EXPECT_EQ(download("/missing").response.httpStatusCode, 404);
}

TEST_F(VeskUpdateURLSessionInstallerNetworkClientTest, ADownloadThatIsCancelledInItsMiddleReportsNothingMore) {
  reportsUntilStop_ = 3;

  try {
    (void)download("/archive.zip");
    FAIL() << "the download was not cancelled";
  } catch (const QuillonURLError& error) {
    EXPECT_EQ(error.code(), QuillonURLErrorCode::cancelled);
  }

  EXPECT_LT(reports_.back().bytesReceived, 3'000'000);
}

}  // namespace
}  // namespace quillon
