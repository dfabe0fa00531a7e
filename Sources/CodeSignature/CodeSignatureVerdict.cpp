#include "CodeSignature/CodeSignatureVerdict.h"

#include "CodeSignature/BundleLocation.h"
#include "CodeSignature/CodeSignatureVerifier.h"
#include "CodeSignature/RequirementEvaluation.h"

namespace quillon {
namespace {

CodeSignatureVerdict failed(const CodeSignatureError& error) {
  CodeSignatureVerdict verdict;
  verdict.failure = error.code();
  verdict.message = error.description();
  verdict.details = error.details();
  verdict.subcomponent = error.subcomponent();
  return verdict;
}

}  // namespace

std::string CodeSignatureVerdict::text(const std::string& path) const {
  if (isValid()) return meetsDesignatedRequirement ? "" : path + ": does not satisfy its designated Requirement\n";
  std::string text = path + ": " + message + "\n";
  for (const std::string& detail : details) text += detail + "\n";
  if (!subcomponent.empty()) text += "In subcomponent: " + subcomponent + "\n";
  return text;
}

CodeSignatureVerdict verifyBundle(const QuillonURL& bundle, const VerificationOptions& options) {
  try {
    const BundleLayout layout = openBundleAt(bundle);
    CodeSignatureVerifier verifier(layout.bundle, options);
    const LoadedSignature signature = verifier.verify(layout);
    CodeSignatureVerdict verdict;
    verdict.meetsDesignatedRequirement =
        meetsRequirement(requirementSubject(signature, layout), signature.designatedRequirement());
    return verdict;
  } catch (const CodeSignatureError& error) {
    return failed(error);
  } catch (const QuillonSystemError& error) {
    CodeSignatureVerdict verdict;
    verdict.message = error.isPOSIX(ENOENT) ? "No such file or directory" : error.description();
    return verdict;
  }
}

}  // namespace quillon
