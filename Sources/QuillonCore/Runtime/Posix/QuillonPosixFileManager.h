#pragma once

#include "QuillonCore/Contracts/QuillonFileManaging.h"

namespace quillon {

/// The file system through POSIX calls on folder descriptors.
class QuillonPosixFileManager : public QuillonFileManaging {
 public:
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
};

}  // namespace quillon
