#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CodeSignature/BundleLayout.h"
#include "CodeSignature/CodeRepresentation.h"
#include "CodeSignature/MachOFile.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Something that has one signature: a bundle, or a single file. Opened once; everything is read from the descriptors
/// that were opened then.
class CodeObject {
 public:
  /// Opens the code at `item`: a folder is a bundle; the main executable of a bundle stands for the bundle; every other
  /// file is for itself. Links in the path itself are followed. Throws what `openBundle` and `readMachOFile` throw,
  /// CodeSignatureError(badObjectFormat) for what is neither folder nor file, and QuillonSystemError.
  [[nodiscard]] static CodeObject openAt(const QuillonURL& item);

  /// Opens the code at `path` below the support folder of a bundle, following no link. Throws as `openAt`, and
  /// CodeSignatureError(notReadable) for what cannot be opened.
  [[nodiscard]] static CodeObject openNested(const FileDescriptor& support, const std::string& path,
                                             const std::string& absolutePath);

  explicit CodeObject(BundleLayout bundle);
  CodeObject(FileDescriptor file, std::string path);

  /// Absolute path of the bundle or file.
  [[nodiscard]] const std::string& path() const noexcept { return path_; }
  /// Null for a single file.
  [[nodiscard]] const BundleLayout* bundle() const noexcept { return bundle_.get(); }
  /// The main executable, or the single file.
  [[nodiscard]] const FileDescriptor& mainFile() const noexcept;
  [[nodiscard]] std::string mainPath() const;
  /// Absent for code that is no object file.
  [[nodiscard]] const std::optional<MachOFile>& objectFile() const noexcept { return objectFile_; }
  /// The code of each architecture, this machine's first; one for code that is no object file.
  [[nodiscard]] const std::vector<std::unique_ptr<CodeRepresentation>>& architectures() const noexcept {
    return architectures_;
  }
  [[nodiscard]] const CodeRepresentation& native() const { return *architectures_.front(); }
  /// As displays name it: "app bundle with Mach-O thin (arm64)", "generic".
  [[nodiscard]] std::string formatName() const;

 private:
  void addArchitectures();

  std::string path_;
  // Behind pointers, because the representations refer to them.
  std::unique_ptr<BundleLayout> bundle_;
  std::unique_ptr<FileDescriptor> file_;
  std::optional<MachOFile> objectFile_;
  std::vector<std::unique_ptr<CodeRepresentation>> architectures_;
};

}  // namespace quillon
