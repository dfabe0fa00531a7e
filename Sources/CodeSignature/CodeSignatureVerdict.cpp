#include "CodeSignature/CodeSignatureVerdict.h"

#include "CodeSignature/CodeObject.h"
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
  verdict.architecture = error.architecture();
  return verdict;
}

}  // namespace

std::string CodeSignatureVerdict::text(const std::string& path) const {
  if (isValid()) return meetsDesignatedRequirement ? "" : path + ": does not satisfy its designated Requirement\n";
  std::string text = path + ": " + message + "\n";
  for (const std::string& detail : details) text += detail + "\n";
  if (!subcomponent.empty()) text += "In subcomponent: " + subcomponent + "\n";
  if (!architecture.empty()) text += "In architecture: " + architecture + "\n";
  return text;
}

CodeSignatureVerdict verifyCode(const QuillonURL& item, const VerificationOptions& options) {
  try {
    const CodeObject object = CodeObject::openAt(item);
    CodeSignatureVerifier verifier(object, options);
    const std::vector<LoadedSignature> signatures = verifier.verify();
    CodeSignatureVerdict verdict;
    verdict.meetsDesignatedRequirement = meetsRequirement(signatures, designatedRequirement(signatures));
    return verdict;
  } catch (const CodeSignatureError& error) {
    return failed(error);
  } catch (const QuillonSystemError& error) {
    if (error.isPOSIX(EACCES)) return failed(CodeSignatureError(CodeSignatureErrorCode::notReadable));
    CodeSignatureVerdict verdict;
    verdict.message = error.isPOSIX(ENOENT) ? "No such file or directory" : error.description();
    return verdict;
  }
}

}  // namespace quillon
