// The promises of a connection to a launcher service, held by NSXPCConnection.

#include <cstdint>
#include <optional>
#include <utility>

#include "Contracts/VeskAppBundleInstallerLauncherServiceConnectionContract.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/Apple/VeskAppBundleInstallerLauncherServiceListener.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleNSXPCInstallerLauncherServiceConnectionFactory.h"
#include "Support/Apple/XPCServiceProcess.h"

namespace quillon {
namespace {

using testing::LauncherService;
using testing::LauncherServiceEnd;

constexpr const char* kServiceName = "org.example.App.Quillon.UpdateInstallerLauncherService";

std::optional<LauncherService> startXPCService(LauncherServiceEnd& end) {
  const auto process = testing::XPCServiceProcess::start(kServiceName, [&end] {
    serveXPCConnections([&end](std::int32_t /*hostProcessIdentifier*/, auto progressSender) {
      return end.makeService(std::move(progressSender));
    });
  });
  if (!process) return std::nullopt;
  return LauncherService{.connect =
                             [process](auto errorHandler, auto progressHandler) {
                               return VeskAppBundleNSXPCInstallerLauncherServiceConnectionFactory().make(
                                   kServiceName, std::move(errorHandler), std::move(progressHandler));
                             },
                         .crash = [process] { process->crash(); }};
}

INSTANTIATE_TEST_SUITE_P(Apple, VeskAppBundleInstallerLauncherServiceConnectionContract,
                         ::testing::Values(testing::LauncherServiceConnectionImplementation{"XPC", startXPCService}),
                         [](const auto& run) { return run.param.name; });

}  // namespace
}  // namespace quillon
