#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "CodeSignature/CodeSigner.h"

namespace quillon::testing {

/// Makes a bundle on the disk, step by step: `X/Contents` with Info.plist and, unless it has none, a script as main
/// executable in `MacOS`. Each call changes the disk at once.
class SignedBundleBuilder {
 public:
  /// Begins a bundle at `path`; its identifier is "com.example." and the name without extension, in lower case.
  explicit SignedBundleBuilder(std::filesystem::path path, std::string_view packageType = "APPL");

  /// Writes a script that prints a line as main executable, named like the bundle.
  SignedBundleBuilder& withScript();
  /// Writes a main executable of these bytes, named like the bundle.
  SignedBundleBuilder& withExecutable(std::string_view content);
  /// Writes a file; `path` is relative to `Contents`.
  SignedBundleBuilder& withFile(std::string_view path, std::string_view content);
  SignedBundleBuilder& withLink(std::string_view path, std::string_view target);
  /// Adds a text entry to Info.plist.
  SignedBundleBuilder& withInformation(std::string_view key, std::string_view value);
  /// Two resources, a localized one, a link and a helper script beside the main executable.
  SignedBundleBuilder& withUsualContents();

  /// Signs with the identity that tests share.
  SignedBundleBuilder& sign();
  SignedBundleBuilder& sign(const SigningOptions& options);
  SignedBundleBuilder& signAdHoc();

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
  [[nodiscard]] std::filesystem::path contents() const { return path_ / "Contents"; }
  [[nodiscard]] std::filesystem::path operator/(std::string_view path) const { return contents() / path; }
  [[nodiscard]] std::filesystem::path executable() const { return contents() / "MacOS" / path_.stem(); }
  [[nodiscard]] QuillonURL url() const { return QuillonURL::fileURL(path_.string()); }

 private:
  void writeInformation() const;

  std::filesystem::path path_;
  std::string information_;  // entries in XML
};

/// The options of `SignedBundleBuilder::sign`.
[[nodiscard]] SigningOptions sharedSigningOptions();

}  // namespace quillon::testing
