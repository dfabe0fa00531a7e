#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/QuillonMainThreadQueue.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerCoordinator.h"
#include "Support/FaultInjectingFileManager.h"
#include "Support/RecordingProgressWindow.h"
#include "Support/ReplacementWorld.h"
#include "Support/TemporaryDirectory.h"

namespace quillon::testing {

/// Counts the moments at which an operation touches anything outside of it, from whatever thread, and calls an action
/// at one of them.
class Interactions {
 public:
  /// Calls `action` at the n-th moment, counted from 1.
  void at(int n, std::function<void()> action);
  void happen();
  [[nodiscard]] int count() const;

 private:
  mutable std::mutex lock_;
  int count_ = 0;                 // guarded by lock_
  int chosen_ = 0;                // guarded by lock_
  std::function<void()> action_;  // guarded by lock_
};

/// Every file and folder below those of `roots` that are folders, relative to `base` and sorted. What is in an
/// application bundle is left out; a UUID at the end of a name is written "UUID".
[[nodiscard]] std::vector<std::string> itemsBelow(const std::vector<std::filesystem::path>& roots,
                                                  const std::filesystem::path& base);

/// Delivers archives from memory.
class FakeInstallerNetworkClient final : public VeskUpdateInstallerNetworkClient {
 public:
  using Answer = std::function<VeskUpdateInstallerDownload(
      const VeskUpdateInstallerDownloadProgressHandler& progressHandler, const std::stop_token& stopToken)>;

  explicit FakeInstallerNetworkClient(std::shared_ptr<Interactions> interactions)
      : interactions_(std::move(interactions)) {}

  [[nodiscard]] VeskUpdateInstallerDownload data(const QuillonURL& url,
                                                 const VeskUpdateInstallerDownloadProgressHandler& progressHandler,
                                                 std::stop_token stopToken) override;

  /// The whole of `bytes` with that status code, in two chunks that are reported, if anybody listens.
  [[nodiscard]] static VeskUpdateInstallerDownload deliver(
      const QuillonURL& url, const std::string& bytes, std::optional<std::int32_t> statusCode,
      const VeskUpdateInstallerDownloadProgressHandler& progressHandler = {});

  /// By the location's text; every other location delivers "archive" with status 200.
  std::map<std::string, Answer> answers;
  std::vector<std::string> requested;
  /// Called before a download is handed over.
  std::function<void()> afterReports;

 private:
  const std::shared_ptr<Interactions> interactions_;
};

/// Makes what an archive holds.
class FakeUnzipper final : public VeskUpdateArchiveUnzipping {
 public:
  explicit FakeUnzipper(std::shared_ptr<Interactions> interactions) : interactions_(std::move(interactions)) {}

  [[nodiscard]] bool unzip(const std::string& archivePath, const std::string& destinationPath,
                           std::stop_token stopToken = {}) noexcept override;

  /// Makes the content in the folder; false is a damaged archive. The default makes Example.app.
  std::function<bool(const std::filesystem::path& destination, const std::stop_token& stopToken)> content;
  std::vector<std::string> archivePaths;
  /// What the archives held when they were unpacked.
  std::vector<std::string> archiveContents;

 private:
  const std::shared_ptr<Interactions> interactions_;
};

class FakeInstallerLauncher final : public VeskUpdateInstallerLaunching {
 public:
  explicit FakeInstallerLauncher(std::shared_ptr<Interactions> interactions) : interactions_(std::move(interactions)) {}

  [[nodiscard]] bool open(const QuillonURL& url) noexcept override;

  bool answer = true;
  std::vector<std::string> opened;

 private:
  const std::shared_ptr<Interactions> interactions_;
};

class FakeHelperLauncher final : public VeskAppBundleUpdateHelperLaunching {
 public:
  explicit FakeHelperLauncher(std::shared_ptr<Interactions> interactions) : interactions_(std::move(interactions)) {}

  [[nodiscard]] VeskAppBundleReplacementLaunchResult launchReplacement(
      const VeskAppBundleReplacementRequest& request,
      const VeskAppBundleInstallerLaunchProgressHandler& progressHandler) noexcept override;

  VeskAppBundleReplacementLaunchResult answer = VeskAppBundleReplacementLaunchResult::launched();
  /// Reported in this order.
  std::vector<VeskAppBundleInstallerLaunchProgress> events;
  /// Called with the request before the answer.
  std::function<void(const VeskAppBundleReplacementRequest& request)> onLaunch;
  std::vector<VeskAppBundleReplacementRequest> requests;

 private:
  const std::shared_ptr<Interactions> interactions_;
};

/// A coordinator with fakes at its outer ports, the real file system in a folder of its own, and the test's thread as
/// main thread.
class UpdateInstallationWorld {
 public:
  UpdateInstallationWorld();

  [[nodiscard]] VeskUpdateInstallerRequest installerRequest() const;
  [[nodiscard]] VeskAppBundleUpdateRequest appBundleRequest() const;
  [[nodiscard]] VeskUpdateInstallerCoordinator makeCoordinator();

  /// Shows a window for the next operation. Its button is pressed when it appears if `pressesButton` says so.
  void openWindow();
  /// Runs an operation to its end: "done", "cancelled", or what the error says.
  std::string install(const VeskUpdateInstallerRequest& request);
  std::string install(const VeskAppBundleUpdateRequest& request);
  /// Runs `operation` on a thread of its own while this one is the main thread.
  std::string run(const std::function<void(std::stop_token stopToken)>& operation);

  /// Every file and folder below the working folders, relative to `folder`, sorted; a UUID is written "UUID".
  [[nodiscard]] std::vector<std::string> leftBehind() const;

  TemporaryDirectory folder;
  std::filesystem::path support = folder / "Support";
  std::filesystem::path temporary = folder / "Temporary";
  std::filesystem::path helper = folder / "helper";
  std::shared_ptr<Interactions> interactions = std::make_shared<Interactions>();
  std::shared_ptr<FaultInjectingFileManager> files;
  std::shared_ptr<FakeInstallerNetworkClient> network;
  std::shared_ptr<FakeUnzipper> unzipper;
  std::shared_ptr<FakeInstallerLauncher> launcher;
  std::shared_ptr<FakeValidator> validator = std::make_shared<FakeValidator>();
  std::shared_ptr<FakeHelperLauncher> replacementLauncher;
  std::optional<VeskAppBundleLaunchdUserContext> userContext;
  std::shared_ptr<QuillonMainThreadQueue> mainThread = std::make_shared<QuillonMainThreadQueue>();
  std::shared_ptr<ProgressWindowRecord> windowRecord;
  bool pressesButton = true;
  /// Best first. Without texts of its own in folder/Host.app the host shows English ones.
  std::vector<std::string> languages = {"en"};
  /// Writes sizes; without one the coordinator does.
  VeskUpdateInstallerCoordinator::ByteCountFormatter formattedByteCount = [](std::int64_t byteCount) {
    return std::to_string(byteCount) + " B";
  };
  /// The cancellation of the operations that run.
  std::stop_source cancellation;
  std::vector<VeskAppBundleInstallerLaunchProgress> launchProgress;

 private:
  std::shared_ptr<RecordingProgressWindow> window_;
};

}  // namespace quillon::testing
