#pragma once

#include <string>
#include <vector>

#include "CodeSignature/BundleLink.h"
#include "CodeSignature/CodeObject.h"
#include "CodeSignature/CodeSignatureVerdict.h"
#include "CodeSignature/LoadedSignature.h"
#include "CodeSignature/ResourceScan.h"
#include "CodeSignature/ResourceSeal.h"

namespace quillon {

/// Verifies code and the code nested in it, in the order that decides which failure is reported: for each architecture
/// directories, message and certificates, special slots, pages; then, once, resources and structure.
class CodeSignatureVerifier {
 public:
  /// `outermost` is borrowed: the bundle that no link may leave, or a single file.
  CodeSignatureVerifier(const CodeObject& outermost, const VerificationOptions& options);

  /// Verifies the outermost code. The signature of each architecture, this machine's first. Throws CodeSignatureError,
  /// and QuillonSystemError when the code cannot be read.
  [[nodiscard]] std::vector<LoadedSignature> verify();

  /// Verifies code nested in the outermost bundle, at `path` below it; `outer` are the bundles around it. Throws as
  /// `verify`.
  [[nodiscard]] std::vector<LoadedSignature> verifyNested(const CodeObject& object, const std::string& path,
                                                          const std::vector<SealedScope>& outer);

 private:
  struct Code;
  class ResourceCheck;
  [[nodiscard]] std::vector<LoadedSignature> verifyCode(const Code& code, bool isFull);
  [[nodiscard]] LoadedSignature verifyArchitecture(const Code& code, const CodeRepresentation& architecture,
                                                   bool isFull) const;
  void checkResources(const Code& code, const std::vector<LoadedSignature>& signatures);
  void checkStructure(const Code& code, const std::vector<LoadedSignature>& signatures) const;
  void verifyNestedCode(const Code& outer, const std::string& path, const std::string& requirement,
                        const std::vector<SealedScope>& scopes);
  void verifyOtherVersions(const Code& framework, const RequirementExpression& requirement);

  const CodeObject& outermost_;
  bool isStrict_;
  bool isDeep_;
  TrustAnchors anchors_;
};

}  // namespace quillon
