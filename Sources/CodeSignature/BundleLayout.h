#pragma once

#include <string>

#include "CodeSignature/FileOpening.h"
#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// An opened bundle (`X/Contents`), and where its parts are.
struct BundleLayout {
  /// Absolute path of the bundle, for messages.
  std::string path;
  FileDescriptor bundle;
  /// The `Contents` folder, to which all paths in signatures are relative.
  FileDescriptor support;
  /// Bytes of Info.plist; empty when there is none.
  std::string informationBytes;
  bool hasInformation = false;
  /// Whether Info.plist could not be read as a property list with a dictionary.
  bool isInformationMalformed = false;
  /// The dictionary of Info.plist; empty when there is none.
  QuillonPropertyListValue information{QuillonPropertyListValue::Dictionary{}};
  /// Path of the main executable below the support folder; Info.plist itself in a bundle without executable.
  std::string mainExecutable;
  /// Open for reading.
  FileDescriptor mainExecutableFile;

  [[nodiscard]] std::string supportPath() const { return path + "/Contents"; }
  [[nodiscard]] bool isInformationMain() const { return mainExecutable == "Info.plist"; }
  /// Whether CFBundlePackageType says application.
  [[nodiscard]] bool isApplication() const;
  /// Name of the bundle without extension.
  [[nodiscard]] std::string baseName() const;
  /// The text that Info.plist has for `key`; empty when it has none.
  [[nodiscard]] std::string informationText(std::string_view key) const;
};

/// Takes over the open folder `bundle` and opens what is in it, following no links. Throws CodeSignatureError:
/// badBundleFormat, signatureUnsupported for layouts other than `X/Contents`, noMainExecutable, regularFileRequired,
/// badPropertyList for an Info.plist of unreasonable size; and QuillonSystemError.
[[nodiscard]] BundleLayout openBundle(FileDescriptor bundle, std::string path);

/// Opens nested code at `path` below the support folder of another bundle. Throws as `openBundle` does;
/// CodeSignatureError: unsignedCode for a file that is no bundle, signatureUnsupported for a Mach-O file.
[[nodiscard]] BundleLayout openNestedBundle(const FileDescriptor& support, const std::string& path,
                                            const std::string& absolutePath);

}  // namespace quillon
