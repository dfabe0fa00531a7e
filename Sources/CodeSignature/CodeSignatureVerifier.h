#pragma once

#include <string>
#include <vector>

#include "CodeSignature/BundleLayout.h"
#include "CodeSignature/BundleLink.h"
#include "CodeSignature/CodeSignatureVerdict.h"
#include "CodeSignature/LoadedSignature.h"
#include "CodeSignature/ResourceScan.h"
#include "CodeSignature/ResourceSeal.h"

namespace quillon {

/// Verifies a bundle and the bundles nested in it, in the order that decides which failure is reported: directories,
/// message and certificates, special slots, code, resources, structure.
class CodeSignatureVerifier {
 public:
  /// `outermost` is borrowed: the folder that no link may leave.
  CodeSignatureVerifier(const FileDescriptor& outermost, const VerificationOptions& options);

  /// Verifies the outermost bundle. Throws CodeSignatureError, and QuillonSystemError when the code cannot be read.
  [[nodiscard]] LoadedSignature verify(const BundleLayout& layout);

  /// Verifies a bundle nested in the outermost one. `support` is the path of its support folder below the outermost
  /// bundle, `outer` are the bundles around it. Throws as `verify`.
  [[nodiscard]] LoadedSignature verifyNested(const BundleLayout& layout, const std::string& support,
                                             const std::vector<SealedScope>& outer);

 private:
  struct Bundle;
  class ResourceCheck;
  [[nodiscard]] LoadedSignature verifyBundle(const Bundle& bundle, bool isFull);
  void verifyNestedCode(const Bundle& outer, const std::string& path, const std::string& requirement,
                        const std::vector<SealedScope>& scopes);
  void checkResources(const Bundle& bundle, const LoadedSignature& signature);
  void checkStructure(const Bundle& bundle, const LoadedSignature& signature) const;

  const FileDescriptor& outermost_;
  bool isStrict_;
  bool isDeep_;
  TrustAnchors anchors_;
};

}  // namespace quillon
