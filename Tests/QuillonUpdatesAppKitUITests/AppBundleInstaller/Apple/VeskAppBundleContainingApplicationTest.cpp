// The running program, as Foundation knows it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleContainingApplication.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

TEST(VeskAppBundleContainingApplicationTest, AServiceThatRunsInItsPlaceFindsTheApplicationAroundIt) {
  const testing::TemporaryDirectory folder;
  const auto application = std::filesystem::canonical(folder.path()) / "Größe.app";
  const auto service =
      application / "Contents/XPCServices/org.example.xpc/Contents/MacOS" / kInstallerLauncherServiceExecutableName;
  std::filesystem::create_directories(service.parent_path());
  std::filesystem::copy_file(QUILLON_TEST_PROGRAM_FOLDER "/ContainingApplicationReporter", service);

  const QuillonProcessResult result = makeSystemProcessRunner()->run(service.string(), {});

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, ::testing::EndsWith(application.string() + "\n"));
}

}  // namespace
}  // namespace quillon
