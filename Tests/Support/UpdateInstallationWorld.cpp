#include "Support/UpdateInstallationWorld.h"

#include <algorithm>
#include <cctype>
#include <exception>
#include <string_view>
#include <system_error>
#include <thread>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Runtime/QuillonMainThreadCall.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonURLError.h"
#include "Support/ApplicationBundleBuilder.h"

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

class BytesInMemory final : public VeskUpdateInstallerDownloadedData {
 public:
  explicit BytesInMemory(std::string bytes) : bytes_(std::move(bytes)) {}
  [[nodiscard]] std::uint64_t size() const noexcept override { return bytes_.size(); }
  void writeAtomically(const QuillonFileManaging& fileManager, const QuillonURL& file,
                       const std::stop_token& /*stopToken*/) override {
    fileManager.createFile(file, bytes_);  // does not wait for the disk, which hundreds of runs would
  }

 private:
  const std::string bytes_;
};

constexpr std::size_t kUUIDLength = 36;

bool isUUID(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isDash = i == 8 || i == 13 || i == 18 || i == 23;
    if (isDash ? text[i] != '-' : std::isxdigit(static_cast<unsigned char>(text[i])) == 0) return false;
  }
  return text.size() == kUUIDLength;
}

std::string withoutUUIDs(const fs::path& path) {
  fs::path result;
  for (const fs::path& component : path) {
    std::string name = component.string();
    if (name.size() >= kUUIDLength && isUUID(std::string_view(name).substr(name.size() - kUUIDLength))) {
      name.replace(name.size() - kUUIDLength, kUUIDLength, "UUID");
    }
    result /= name;
  }
  return result.string();
}

}  // namespace

std::vector<std::string> itemsBelow(const std::vector<fs::path>& roots, const fs::path& base) {
  std::vector<std::string> names;
  for (const fs::path& root : roots) {
    if (!fs::is_directory(root)) continue;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
      const fs::path path = fs::relative(entry.path(), base);
      if (path.string().find(".app/") == std::string::npos) names.push_back(withoutUUIDs(path));
    }
  }
  std::ranges::sort(names);
  return names;
}

void Interactions::at(int n, std::function<void()> action) {
  const std::lock_guard guard(lock_);
  chosen_ = n;
  action_ = std::move(action);
}

void Interactions::happen() {
  std::function<void()> action;
  {
    const std::lock_guard guard(lock_);
    if (++count_ != chosen_) return;
    action = action_;
  }
  action();
}

int Interactions::count() const {
  const std::lock_guard guard(lock_);
  return count_;
}

VeskUpdateInstallerDownload FakeInstallerNetworkClient::data(
    const QuillonURL& url, const VeskUpdateInstallerDownloadProgressHandler& progressHandler,
    std::stop_token stopToken) {
  requested.push_back(url.absoluteString());
  interactions_->happen();
  const auto answer = answers.find(url.absoluteString());
  if (stopToken.stop_requested()) throw QuillonURLError(QuillonURLErrorCode::cancelled, "cancelled");
  VeskUpdateInstallerDownload download = answer != answers.end() ? answer->second(progressHandler, stopToken)
                                                                 : deliver(url, "archive", 200, progressHandler);
  if (afterReports) afterReports();
  return download;
}

VeskUpdateInstallerDownload FakeInstallerNetworkClient::deliver(
    const QuillonURL& url, const std::string& bytes, std::optional<std::int32_t> statusCode,
    const VeskUpdateInstallerDownloadProgressHandler& progressHandler) {
  const auto size = static_cast<std::int64_t>(bytes.size());
  if (progressHandler) {
    for (const std::int64_t received : {std::int64_t{0}, size / 2, size}) {
      progressHandler({.bytesReceived = received, .expectedBytes = size});
    }
  }
  return {.data = std::make_unique<BytesInMemory>(bytes),
          .response = {.url = url, .httpStatusCode = statusCode, .expectedContentLength = size}};
}

bool FakeUnzipper::unzip(const std::string& archivePath, const std::string& destinationPath,
                         std::stop_token stopToken) noexcept {
  archivePaths.push_back(archivePath);
  archiveContents.push_back(readFile(archivePath));
  interactions_->happen();
  if (content) return content(destinationPath, stopToken);
  if (stopToken.stop_requested()) return false;
  const fs::path application = fs::path(destinationPath) / "Example.app";
  fs::remove_all(application);
  makeApplicationBundle(application, {.version = "2.0", .build = "2"});
  return true;
}

bool FakeInstallerLauncher::open(const QuillonURL& url) noexcept {
  interactions_->happen();
  opened.push_back(url.path());
  return answer;
}

VeskAppBundleReplacementLaunchResult FakeHelperLauncher::launchReplacement(
    const VeskAppBundleReplacementRequest& request,
    const VeskAppBundleInstallerLaunchProgressHandler& progressHandler) noexcept {
  requests.push_back(request);
  for (const VeskAppBundleInstallerLaunchProgress& event : events) progressHandler(event);
  if (onLaunch) onLaunch(request);
  return answer;
}

UpdateInstallationWorld::UpdateInstallationWorld()
    : files(std::make_shared<FaultInjectingFileManager>(std::make_shared<const QuillonPosixFileManager>())),
      network(std::make_shared<FakeInstallerNetworkClient>(interactions)),
      unzipper(std::make_shared<FakeUnzipper>(interactions)),
      launcher(std::make_shared<FakeInstallerLauncher>(interactions)),
      replacementLauncher(std::make_shared<FakeHelperLauncher>(interactions)) {
  fs::create_directories(temporary);
  fs::permissions(temporary, fs::perms::all | fs::perms::sticky_bit);  // as a folder that all users share
  writeFile(helper, "#!/bin/sh\n");
  fs::permissions(helper, fs::perms::owner_all);
  files->placeWorkingFolders({QuillonURL::fileURL(support.string())}, QuillonURL::fileURL(temporary.string()));
  network->afterReports = [this] { onMainThread(*mainThread, [] {}); };
  files->beforeEveryChange([this] { interactions->happen(); });
  validator->onValidation = [this](int, const QuillonURL&) { interactions->happen(); };
}

VeskUpdateInstallerRequest UpdateInstallationWorld::installerRequest() const {
  return {.archiveURL = QuillonURL::parse("https://example.org/first/Example.zip"),
          .fallbackArchiveURL = std::nullopt,
          .archiveFileName = "Example.zip",
          .installerFileName = "Example.pkg",
          .applicationName = "Example",
          .installerSubdirectoryName = "Installer"};
}

VeskAppBundleUpdateRequest UpdateInstallationWorld::appBundleRequest() const {
  return {.archiveURL = QuillonURL::parse("https://example.org/first/Example.zip"),
          .fallbackArchiveURL = std::nullopt,
          .archiveFileName = "Example.zip",
          .applicationName = "Example",
          .installedApplicationURL = QuillonURL::fileURL((folder / "Applications/Example.app").string()),
          .hostIdentity = {.bundleIdentifier = "org.example.App",
                           .applicationVersion = "1.0",
                           .applicationBuild = 1,
                           .expectedTeamIdentifier = std::nullopt},
          .helperExecutableURL = QuillonURL::fileURL(helper.string()),
          .installerSubdirectoryName = "Update",
          .failureReportAttemptIdentifier = "attempt-1"};
}

VeskUpdateInstallerCoordinator UpdateInstallationWorld::makeCoordinator() {
  const auto texts = std::make_shared<const VeskUpdateLocalizationBundle>(
      files, QuillonURL::fileURL((folder / "Host.app").string()), languages);
  return {files,
          network,
          unzipper,
          launcher,
          validator,
          replacementLauncher,
          [this] { return userContext; },
          mainThread,
          std::make_shared<const VeskUpdateProgressWindowPresenter>(std::make_shared<RecordingProgressWindows>(), files,
                                                                    QuillonURL::fileURL((folder / "Host.app").string()),
                                                                    texts),
          texts,
          formattedByteCount};
}

void UpdateInstallationWorld::openWindow() {
  windowRecord = std::make_shared<ProgressWindowRecord>();
  window_ = std::make_shared<RecordingProgressWindow>("Example Update", mainThread.get(), windowRecord);
  windowRecord->onState = [this, window = std::weak_ptr(window_)](const std::string& state) {
    interactions->happen();
    if (!state.ends_with("]") || !pressesButton) return;
    mainThread->post([window] {
      if (const auto open = window.lock()) open->press();
    });
  };
}

std::string UpdateInstallationWorld::run(const std::function<void(std::stop_token stopToken)>& operation) {
  std::stop_source end;
  std::string outcome;
  std::jthread thread([&] {
    try {
      operation(cancellation.get_token());
      outcome = "done";
    } catch (const QuillonCancellationError&) {
      outcome = "cancelled";
    } catch (const std::exception& error) {
      outcome = error.what();
    }
    end.request_stop();
  });
  mainThread->run(end.get_token());
  thread.join();
  mainThread->drain();
  return outcome;
}

std::string UpdateInstallationWorld::install(const VeskUpdateInstallerRequest& request) {
  const VeskUpdateInstallerCoordinator coordinator = makeCoordinator();
  return run([&](const std::stop_token& stopToken) {
    coordinator.install(request, std::exchange(window_, nullptr), stopToken);
  });
}

std::string UpdateInstallationWorld::install(const VeskAppBundleUpdateRequest& request) {
  const VeskUpdateInstallerCoordinator coordinator = makeCoordinator();
  return run([&](const std::stop_token& stopToken) {
    coordinator.install(
        request, std::exchange(window_, nullptr), [this](const auto& progress) { launchProgress.push_back(progress); },
        stopToken);
  });
}

std::vector<std::string> UpdateInstallationWorld::leftBehind() const {
  return itemsBelow({support, temporary}, folder.path());
}

}  // namespace quillon::testing
