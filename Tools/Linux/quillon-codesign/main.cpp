// quillon-codesign: verifies, displays and makes code signatures of bundles and Mach-O files.

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/CodeSignatureVerdict.h"
#include "CodeSignature/CodeSigner.h"
#include "CodeSignature/SignatureDescription.h"
#include "CodesignArguments.h"
#include "QuillonCore/Runtime/Posix/CommandProcess.h"

namespace quillon {
namespace {

constexpr int kFailure = 1;
constexpr int kWrongArguments = 2;

void printError(const std::string& text) {
  std::fputs(text.c_str(), stderr);
}

int verify(const std::string& path, const CodesignArguments& arguments) {
  const CodeSignatureVerdict verdict =
      verifyCode(QuillonURL::fileURL(path), {.isStrict = arguments.isStrict, .isDeep = arguments.isDeep});
  if (verdict.isValid() && arguments.verbosity > 0) {
    printError(path + ": valid on disk\n");
    if (verdict.meetsDesignatedRequirement) printError(path + ": satisfies its Designated Requirement\n");
  }
  printError(verdict.text(path));
  return verdict.exitStatus();
}

int display(const std::string& path, const CodesignArguments& arguments) {
  const TrustAnchors anchors = TrustAnchors::system();
  printError(describeSignature(QuillonURL::fileURL(path), anchors));
  if (arguments.verbosity > 0) {
    for (const std::string& refusal : anchors.refusals) printError(refusal + "\n");
  }
  return 0;
}

/// The time that reproducible builds hand to their tools, in decimal seconds since 1970.
std::optional<std::chrono::sys_seconds> reproducibleTime() {
  const char* variable = std::getenv("SOURCE_DATE_EPOCH");
  if (variable == nullptr) return std::nullopt;
  constexpr std::uint32_t kLastSecond = std::numeric_limits<std::uint32_t>::max();  // in 2106
  const std::string_view text(variable);
  std::uint64_t seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (error != std::errc() || end != text.data() + text.size() || seconds > kLastSecond) {
    throw QuillonError("SOURCE_DATE_EPOCH is not a number of seconds since 1970: " + std::string(text));
  }
  return std::chrono::sys_seconds(std::chrono::seconds(seconds));
}

int sign(const std::string& path, const CodesignArguments& arguments) {
  SigningOptions options;
  if (!arguments.keyFile.empty()) {
    options.identity =
        SigningIdentity::load(QuillonURL::fileURL(arguments.keyFile), QuillonURL::fileURL(arguments.certificateFile));
  }
  options.identifier = arguments.identifier;
  options.replacesSignature = arguments.replacesSignature;
  options.signsNestedCode = arguments.isDeep;
  options.signingTime = reproducibleTime();
  if (!arguments.entitlementsFile.empty()) {
    options.entitlements = Entitlements::load(QuillonURL::fileURL(arguments.entitlementsFile));
  }
  options.isRuntimeHardened = arguments.isRuntimeHardened;
  const SignedCode signedCode = signCode(QuillonURL::fileURL(path), options);
  if (arguments.verbosity > 0) {
    printError(path + ": signed " + signedCode.format + " [" + signedCode.identifier + "]\n");
  }
  return 0;
}

int run(const std::string& path, const CodesignArguments& arguments) {
  switch (arguments.operation) {
    case CodesignArguments::Operation::verify:
      return verify(path, arguments);
    case CodesignArguments::Operation::display:
      return display(path, arguments);
    case CodesignArguments::Operation::sign:
      return sign(path, arguments);
    case CodesignArguments::Operation::help:
    case CodesignArguments::Operation::version:
      break;
  }
  return 0;
}

std::string errorText(const std::string& path, const CodeSignatureError& error) {
  CodeSignatureVerdict verdict;
  verdict.message = error.description();
  verdict.details = error.details();
  verdict.subcomponent = error.subcomponent();
  return verdict.text(path);
}

int runReportingErrors(const std::string& path, const CodesignArguments& arguments) {
  try {
    return run(path, arguments);
  } catch (const CodeSignatureError& error) {
    printError(errorText(path, error));
  } catch (const QuillonSystemError& error) {
    printError(path + ": " + (error.isPOSIX(ENOENT) ? "No such file or directory" : error.description()) + "\n");
  } catch (const QuillonError& error) {
    printError(path + ": " + error.description() + "\n");
  }
  return kFailure;
}

int runAll(const std::vector<std::string>& commandLine) {
  const CodesignArguments arguments = parseCodesignArguments(commandLine);
  if (arguments.operation == CodesignArguments::Operation::help) {
    std::fputs(codesignUsage().c_str(), stdout);
    return 0;
  }
  if (arguments.operation == CodesignArguments::Operation::version) {
    std::puts("quillon-codesign " QUILLON_VERSION);
    return 0;
  }
  int status = 0;
  for (const std::string& path : arguments.paths) {
    const int result = runReportingErrors(path, arguments);
    // Code that is invalid outweighs code that is valid but not what it says.
    if (status != kFailure && result != 0) status = result;
  }
  return status;
}

}  // namespace
}  // namespace quillon

int main(int argumentCount, char** argumentValues) {
  quillon::prepareCommandProcess();
  try {
    return quillon::runAll({argumentValues + 1, argumentValues + argumentCount});
  } catch (const quillon::CodesignArgumentError& error) {
    quillon::printError("quillon-codesign: " + error.description() + "\n" + quillon::codesignUsage());
    return quillon::kWrongArguments;
  } catch (const std::exception& error) {
    quillon::printError(std::string("quillon-codesign: ") + error.what() + "\n");
    return quillon::kFailure;
  }
}
