#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QuillonCore/Contracts/QuillonFileManaging.h"

namespace quillon::testing {

/// Counts the changes made through a file manager and interferes with one of them.
class FaultInjectingFileManager final : public QuillonFileManaging {
 public:
  explicit FaultInjectingFileManager(std::shared_ptr<const QuillonFileManaging> real) : real_(std::move(real)) {}

  /// Makes the n-th change, counted from 1, fail with the errno value `code` before it does anything.
  void failChange(int n, int code);
  /// Calls `action` right after the n-th change.
  void afterChange(int n, std::function<void()> action);
  /// Calls `action` right before the n-th change.
  void beforeChange(int n, std::function<void()> action);
  /// Calls `action` before every change.
  void beforeEveryChange(std::function<void()> action);
  /// Makes every change below `folder`, itself included, fail with the errno value `code`.
  void failChangesBelow(QuillonURL folder, int code);
  /// Makes every folder of that name one that cannot be listed (EACCES), which no folder is to root.
  void closeFoldersNamed(std::string name);
  /// Makes every folder of that name one that can be listed, and whose items cannot be looked at (EACCES).
  void closeItemsInFoldersNamed(std::string name);
  /// Answers with these folders instead of the user's own.
  void placeWorkingFolders(std::vector<QuillonURL> applicationSupport, QuillonURL temporary);
  [[nodiscard]] bool didFail() const noexcept { return didFail_; }
  [[nodiscard]] int changes() const noexcept { return changes_; }

  [[nodiscard]] std::optional<QuillonFileStatus> itemStatus(const QuillonURL& item) const override;
  [[nodiscard]] bool fileExists(const QuillonURL& item) const noexcept override;
  [[nodiscard]] bool directoryExists(const QuillonURL& item) const noexcept override;
  [[nodiscard]] bool isExecutableFile(const QuillonURL& item) const noexcept override;
  [[nodiscard]] bool isWritableDirectory(const QuillonURL& item) const noexcept override;
  [[nodiscard]] std::string contentsOfFile(const QuillonURL& file, std::size_t limit) const override;
  [[nodiscard]] std::vector<std::string> contentsOfDirectory(const QuillonURL& directory) const override;
  [[nodiscard]] QuillonURL resolvingSymbolicLinks(const QuillonURL& item) const override;
  [[nodiscard]] std::string pathForOtherPrograms(const QuillonURL& item) const override;
  [[nodiscard]] std::unique_ptr<QuillonPinnedDirectory> pinDirectory(const QuillonURL& directory) const override;
  [[nodiscard]] std::uint32_t effectiveUserIdentifier() const noexcept override;
  [[nodiscard]] QuillonURL temporaryDirectory() const override;
  [[nodiscard]] std::vector<QuillonURL> applicationSupportDirectories() const override;
  void createDirectory(const QuillonURL& directory) const override;
  [[nodiscard]] std::unique_ptr<QuillonPinnedDirectory> createPrivateDirectory(
      const QuillonURL& directory) const override;
  void writeFileAtomically(const QuillonURL& file, std::string_view bytes) const override;
  void createFile(const QuillonURL& file, std::string_view bytes) const override;
  void moveItem(const QuillonURL& item, const QuillonURL& destination) const override;
  void copyItem(const QuillonURL& item, const QuillonURL& destination) const override;
  void removeItem(const QuillonURL& item) const override;
  void removeEmptyDirectory(const QuillonURL& directory) const override;
  void changeOwner(const QuillonURL& item, std::uint32_t userIdentifier, std::uint32_t groupIdentifier) const override;
  void changeOwnerOfDescendants(const QuillonURL& directory, std::uint32_t userIdentifier,
                                std::uint32_t groupIdentifier) const override;
  bool changeOwnerOfFile(const QuillonURL& file, std::uint32_t userIdentifier, std::uint32_t groupIdentifier,
                         std::size_t limit, bool (*mayBeChanged)(std::string_view bytes)) const override;
  std::optional<QuillonFileFailure> releaseQuarantine(const QuillonURL& root) const override;
  void synchronizeVolume(const QuillonURL& directory) const override;

 private:
  template <typename Change>
  auto change(const QuillonURL& item, Change&& perform) const;

  std::shared_ptr<const QuillonFileManaging> real_;
  int failing_ = 0;
  int failingCode_ = 0;
  int watchedAfter_ = 0;
  int watchedBefore_ = 0;
  std::function<void()> after_;
  std::function<void()> before_;
  std::function<void()> beforeEvery_;
  std::optional<QuillonURL> closedFolder_;
  int closedFolderCode_ = 0;
  std::optional<std::string> unlistedName_;
  std::optional<std::string> unsearchedName_;
  std::vector<QuillonURL> applicationSupport_;
  std::optional<QuillonURL> temporary_;
  mutable int changes_ = 0;
  mutable bool didFail_ = false;
};

}  // namespace quillon::testing
