#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateSystemUnzipper.h"
#include "Support/FakeProcessRunner.h"
#include "Support/ReportFifo.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using testing::FakeProcessRunner;
using testing::TemporaryDirectory;

TEST(VeskUpdateSystemUnzipperTest, TheToolIsToldToExtractTheArchiveIntoTheFolder) {
  const auto runner = std::make_shared<FakeProcessRunner>();
  VeskUpdateSystemUnzipper unzipper(runner, "/usr/bin/tool");

  EXPECT_TRUE(unzipper.unzip("/tmp/a b.zip", "/tmp/a folder"));

  EXPECT_THAT(runner->commands,
              ElementsAre(std::vector<std::string>{"/usr/bin/tool", "-x", "-k", "/tmp/a b.zip", "/tmp/a folder"}));
}

TEST(VeskUpdateSystemUnzipperTest, OnlyTheStatus0IsASuccess) {
  const auto runner = std::make_shared<FakeProcessRunner>();
  VeskUpdateSystemUnzipper unzipper(runner, "/usr/bin/tool");
  for (const std::int32_t status : {1, 2, 255, 137}) {
    runner->answer = [status](const auto&) { return QuillonProcessResult{.status = status, .output = {}}; };

    EXPECT_FALSE(unzipper.unzip("a.zip", "folder")) << status;
  }
}

TEST(VeskUpdateSystemUnzipperTest, AToolThatCannotBeStartedIsAFailure) {
  const TemporaryDirectory folder;

  EXPECT_FALSE(VeskUpdateSystemUnzipper(makeSystemProcessRunner(), (folder / "missing").string())
                   .unzip((folder / "a.zip").string(), folder.path().string()));
}

TEST(VeskUpdateSystemUnzipperTest, TheToolsOwnVerdictCounts) {
  const TemporaryDirectory folder;
  const std::string tool = (folder / "tool").string();
  testing::writeScript(tool, "[ \"$1\" = -x ] && [ \"$2\" = -k ] && cp \"$3\" \"$4/unpacked\"");
  testing::writeFile(folder / "a.zip", "content");
  VeskUpdateSystemUnzipper unzipper(makeSystemProcessRunner(), tool);

  EXPECT_TRUE(unzipper.unzip((folder / "a.zip").string(), folder.path().string()));
  EXPECT_FALSE(unzipper.unzip((folder / "missing.zip").string(), folder.path().string()));

  EXPECT_EQ(testing::readFile(folder / "unpacked"), "content");
}

class VeskUpdateSystemUnzipperToolTest : public ::testing::Test {
 protected:
  VeskUpdateSystemUnzipperToolTest() {
    testing::writeFile(folder_ / "source/document", "content");
    const auto made = makeSystemProcessRunner()->run(
        tool_, {"-c", "-k", (folder_ / "source").string(), (folder_ / "archive.zip").string()});
    EXPECT_EQ(made.status, 0) << made.output;
  }
  bool unzip(const std::string& archive) {
    return VeskUpdateSystemUnzipper(makeSystemProcessRunner(), tool_)
        .unzip((folder_ / archive).string(), destination_.string());
  }

  const std::string tool_ = std::string(QUILLON_BINARY_FOLDER) + "/quillon-ditto";
  const TemporaryDirectory folder_;
  const std::filesystem::path destination_ = folder_ / "unpacked";
};

TEST_F(VeskUpdateSystemUnzipperToolTest, AnArchiveIsUnpackedIntoTheFolder) {
  EXPECT_TRUE(unzip("archive.zip"));

  EXPECT_EQ(testing::readFile(destination_ / "document"), "content");
}

TEST_F(VeskUpdateSystemUnzipperToolTest, ADamagedArchiveIsAFailure) {
  std::string bytes = testing::readFile(folder_ / "archive.zip");
  bytes[bytes.find("content")] = 'C';
  testing::writeFile(folder_ / "archive.zip", bytes);

  EXPECT_FALSE(unzip("archive.zip"));

  EXPECT_FALSE(std::filesystem::exists(destination_));
}

TEST_F(VeskUpdateSystemUnzipperToolTest, AnArchiveThatIsNotThereIsAFailure) {
  EXPECT_FALSE(unzip("missing.zip"));
}

TEST(VeskUpdateSystemUnzipperTest, AStopEndsTheToolAndIsAFailure) {
  const TemporaryDirectory folder;
  const testing::ReportFifo started(folder / "started");
  const testing::ReportFifo never(folder / "never");
  const std::string tool = (folder / "tool").string();
  testing::writeScript(tool, "echo > '" + started.path().string() + "'; read line < '" + never.path().string() + "'");
  std::stop_source stop;
  const std::jthread stopper([&] {
    (void)started.read();
    stop.request_stop();
  });

  EXPECT_FALSE(VeskUpdateSystemUnzipper(makeSystemProcessRunner(), tool).unzip("a.zip", "folder", stop.get_token()));
}

}  // namespace
}  // namespace quillon
