// The locations of an archive and the name of an installer document in a feed, the application's name and the name of a
// working folder, one a line. Whatever they are, an update writes and removes nothing but the archive, a file right in
// its working folder, works below its own folders only, and opens nothing but a document right in the working folder.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/QuillonMainThreadQueue.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerCoordinator.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace {

using namespace quillon;

constexpr std::string_view kSupport = "/support";
constexpr std::string_view kTemporary = "/temporary";

void require(bool condition) {
  if (!condition) std::abort();
}

std::string takeLine(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  std::string line(text.substr(0, end));
  text.remove_prefix(std::min(end + 1, text.size()));
  return line;
}

/// Written apart from the check that is tested.
void requireFileName(std::string_view name) {
  require(!name.empty() && name != "." && name != "..");
  for (const char c : name) require(c != '/' && c != '\0');
}

void requireOrdinaryPath(std::string_view path) {
  require(path.starts_with('/') && path.size() > 1);
  path.remove_prefix(1);
  for (;;) {
    const std::size_t slash = std::min(path.find('/'), path.size());
    requireFileName(path.substr(0, slash));
    if (slash == path.size()) return;
    path.remove_prefix(slash + 1);
  }
}

void requireBelowWorkingFolders(const std::string& path) {
  requireOrdinaryPath(path);
  require(path.starts_with(std::string(kSupport) + "/") || path.starts_with(std::string(kTemporary) + "/"));
}

void requireDirectChild(const std::string& path, const std::string& folder) {
  requireOrdinaryPath(path);
  require(path.starts_with(folder + "/"));
  requireFileName(std::string_view(path).substr(folder.size() + 1));
}

/// What an update did with names.
struct Deeds {
  std::string archive;
  std::string folder;
  std::vector<std::string> removed;
  std::optional<std::string> opened;
};

/// A file system of folders without content that lets its user do everything an update needs, and nothing else.
class NoFiles final : public QuillonFileManaging {
 public:
  explicit NoFiles(Deeds& deeds) : deeds_(deeds) {}

  std::optional<QuillonFileStatus> itemStatus(const QuillonURL& item) const override {
    requireOrdinaryPath(item.path());
    return std::nullopt;
  }
  bool fileExists(const QuillonURL&) const noexcept override { return false; }
  bool directoryExists(const QuillonURL&) const noexcept override { return false; }
  bool isExecutableFile(const QuillonURL&) const noexcept override { return true; }
  bool isWritableDirectory(const QuillonURL&) const noexcept override { return true; }
  std::string contentsOfFile(const QuillonURL&, std::size_t) const override { fail(); }
  std::vector<std::string> contentsOfDirectory(const QuillonURL& directory) const override {
    if (directory.path().starts_with("/host")) fail();
    if (deeds_.folder.empty()) {  // before anything is unpacked, what an earlier attempt has left is looked for
      requireBelowWorkingFolders(directory.path());
    } else {
      require(directory.path() == deeds_.folder);
    }
    return {};
  }
  QuillonURL resolvingSymbolicLinks(const QuillonURL& item) const override { return item; }
  std::unique_ptr<QuillonPinnedDirectory> pinDirectory(const QuillonURL&) const override { fail(); }
  std::uint32_t effectiveUserIdentifier() const noexcept override { return 0; }
  QuillonURL temporaryDirectory() const override { return QuillonURL::fileURL(kTemporary); }
  std::vector<QuillonURL> applicationSupportDirectories() const override { return {QuillonURL::fileURL(kSupport)}; }

  void createDirectory(const QuillonURL& directory) const override {
    requireOrdinaryPath(directory.path());
    require(directory.path().starts_with(kSupport) || directory.path().starts_with(kTemporary));
    // The second place of an archive is as safe as the first.
    if (directory.path().starts_with(kSupport)) fail();
  }
  void createFile(const QuillonURL& file, std::string_view) const override {
    requireBelowWorkingFolders(file.path());
    deeds_.archive = file.path();
  }
  void removeItem(const QuillonURL& item) const override {
    requireBelowWorkingFolders(item.path());
    deeds_.removed.push_back(item.path());
  }

  std::unique_ptr<QuillonPinnedDirectory> createPrivateDirectory(const QuillonURL&) const override { std::abort(); }
  void writeFileAtomically(const QuillonURL&, std::string_view) const override { std::abort(); }
  void moveItem(const QuillonURL&, const QuillonURL&) const override { std::abort(); }
  void copyItem(const QuillonURL&, const QuillonURL&) const override { std::abort(); }
  void removeEmptyDirectory(const QuillonURL&) const override { std::abort(); }
  void changeOwner(const QuillonURL&, std::uint32_t, std::uint32_t) const override { std::abort(); }
  void changeOwnerOfDescendants(const QuillonURL&, std::uint32_t, std::uint32_t) const override { std::abort(); }
  bool changeOwnerOfFile(const QuillonURL&, std::uint32_t, std::uint32_t, std::size_t,
                         bool (*)(std::string_view)) const override {
    std::abort();
  }
  std::optional<QuillonFileFailure> releaseQuarantine(const QuillonURL&) const override { std::abort(); }
  void synchronizeVolume(const QuillonURL&) const override { std::abort(); }

 private:
  [[noreturn]] static void fail() { throw QuillonSystemError::posix(ENOENT, "use", "a file that is not there"); }

  Deeds& deeds_;
};

class EmptyDownload final : public VeskUpdateInstallerDownloadedData {
 public:
  std::uint64_t size() const noexcept override { return 0; }
  void writeAtomically(const QuillonFileManaging& fileManager, const QuillonURL& file,
                       const std::stop_token& /*stopToken*/) override {
    fileManager.createFile(file, "");
  }
};

class AnswersAll final : public VeskUpdateInstallerNetworkClient {
 public:
  VeskUpdateInstallerDownload data(const QuillonURL& url, const VeskUpdateInstallerDownloadProgressHandler&,
                                   std::stop_token) override {
    return {.data = std::make_unique<EmptyDownload>(), .response = {.url = url, .httpStatusCode = 200}};
  }
};

class NotesFolder final : public VeskUpdateArchiveUnzipping {
 public:
  explicit NotesFolder(Deeds& deeds) : deeds_(deeds) {}
  bool unzip(const std::string& archivePath, const std::string& destinationPath, std::stop_token) noexcept override {
    require(archivePath == deeds_.archive);
    deeds_.folder = destinationPath;
    return true;
  }

 private:
  Deeds& deeds_;
};

class NotesDocument final : public VeskUpdateInstallerLaunching {
 public:
  explicit NotesDocument(Deeds& deeds) : deeds_(deeds) {}
  bool open(const QuillonURL& url) noexcept override {
    deeds_.opened = url.path();
    return true;
  }

 private:
  Deeds& deeds_;
};

/// Runs an update with these names; true when it ended well.
template <typename Request>
bool install(const Request& request, Deeds& deeds) {
  const auto files = std::make_shared<NoFiles>(deeds);
  const QuillonURL host = QuillonURL::fileURL("/host");
  const auto texts = std::make_shared<const VeskUpdateLocalizationBundle>(files, host, std::vector<std::string>{});
  const VeskUpdateInstallerCoordinator coordinator(
      files, std::make_shared<AnswersAll>(), std::make_shared<NotesFolder>(deeds),
      std::make_shared<NotesDocument>(deeds), nullptr, nullptr, nullptr, std::make_shared<QuillonMainThreadQueue>(),
      std::make_shared<const VeskUpdateProgressWindowPresenter>(nullptr, files, host, texts), texts);
  try {
    if constexpr (std::is_same_v<Request, VeskAppBundleUpdateRequest>) {
      coordinator.install(request, nullptr, nullptr);
    } else {
      coordinator.install(request, nullptr);
    }
    return true;
  } catch (const QuillonError&) {
    return false;
  }
}

void checkInstaller(const VeskUpdateInstallerRequest& request) {
  Deeds deeds;
  const bool isOpened = install(request, deeds);
  require(isOpened == deeds.opened.has_value());
  if (deeds.opened) requireDirectChild(*deeds.opened, deeds.folder);
  if (deeds.folder.empty()) return;
  requireDirectChild(deeds.archive, deeds.folder);
  require(deeds.removed == std::vector<std::string>{deeds.archive});
}

void checkAppBundle(const VeskAppBundleUpdateRequest& request) {
  Deeds deeds;
  require(!install(request, deeds));  // there is no bundle in any folder
  require(!deeds.opened);
  if (deeds.folder.empty()) return;
  requireBelowWorkingFolders(deeds.folder);
  requireDirectChild(deeds.archive, deeds.folder);
  // The archive and the folders of the attempt.
  require(deeds.removed.size() == 3 && deeds.removed.front() == deeds.archive);
  require(std::ranges::find(deeds.removed, deeds.folder) != deeds.removed.end());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::string location = takeLine(input);
  const std::string installerName = takeLine(input);
  const std::string applicationName = takeLine(input);
  const std::string folderName = takeLine(input);

  QuillonPropertyListValue::Dictionary entry;
  entry.emplace(VeskUpdateFeedKeys::installerURL, QuillonPropertyListValue(location));
  entry.emplace(VeskUpdateFeedKeys::appBundleInstallerURL, QuillonPropertyListValue(location));
  entry.emplace(VeskUpdateFeedKeys::installerName, QuillonPropertyListValue(installerName));

  auto installer = VeskUpdateInstallerRequest::makeFromFeed(entry, applicationName);
  requireFileName(installer.archiveFileName);
  requireFileName(installer.installerFileName);
  checkInstaller(installer);
  installer.archiveURL = QuillonURL::parse("https://example.org/");
  installer.archiveFileName = location;
  installer.installerFileName = installerName;
  installer.installerSubdirectoryName = folderName;
  checkInstaller(installer);

  auto appBundle = VeskAppBundleUpdateRequest::makeFromFeed(entry, applicationName, QuillonURL::fileURL("/Example.app"),
                                                            {}, QuillonURL::fileURL("/helper"), folderName, {});
  checkAppBundle(appBundle);
  appBundle.archiveURL = QuillonURL::parse("https://example.org/");
  appBundle.archiveFileName = location;
  checkAppBundle(appBundle);
  return 0;
}
