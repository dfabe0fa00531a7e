#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "CodeSignature/FileOpening.h"
#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// Info.plist files have some thousand bytes.
inline constexpr std::size_t kInformationLengthLimit = 4 << 20;

/// How the parts of a bundle are arranged in its folder.
enum class BundleForm : std::uint8_t {
  contents,   ///< in `Contents`, executables in its folder `MacOS`
  framework,  ///< versions side by side in `Versions`; the link `Versions/Current` names the one that counts
  flat,       ///< in the bundle's own folder
};

/// An opened bundle, and where its parts are.
struct BundleLayout {
  /// Absolute path of the bundle, for messages.
  std::string path;
  FileDescriptor bundle;
  BundleForm form = BundleForm::contents;
  /// Path of the support folder below the bundle: "Contents", "Versions/A", or empty for the bundle's own folder.
  std::string supportName;
  /// The support folder, to which all paths in signatures are relative.
  FileDescriptor support;
  /// Path of Info.plist below the support folder.
  std::string informationPath;
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

  [[nodiscard]] std::string supportPath() const { return supportName.empty() ? path : path + "/" + supportName; }
  [[nodiscard]] bool isInformationMain() const { return mainExecutable == informationPath; }
  /// Whether resources are in a folder `Resources`, rather than beside the executable.
  [[nodiscard]] bool hasResourcesFolder() const;
  /// Whether CFBundlePackageType says application.
  [[nodiscard]] bool isApplication() const;
  /// Name of the bundle without extension.
  [[nodiscard]] std::string baseName() const;
  /// The text that Info.plist has for `key`; empty when it has none.
  [[nodiscard]] std::string informationText(std::string_view key) const;
};

/// Takes over the open folder `bundle` and opens what is in it, following no link but `Versions/Current`, which must
/// name a folder beside it. Throws CodeSignatureError: badBundleFormat, noMainExecutable, regularFileRequired,
/// badPropertyList for an Info.plist of unreasonable size; and QuillonSystemError.
[[nodiscard]] BundleLayout openBundle(FileDescriptor bundle, std::string path);

}  // namespace quillon
