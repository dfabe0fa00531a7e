#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSignatureValidator.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Text/QuillonPathComponent.h"
#include "QuillonCore/Text/QuillonPlainText.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonCore/VeskVersionComparator.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSignatureOutput.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleSystemRequirement.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"

namespace quillon {
namespace {

using Code = VeskUpdateInstallerError::Code;

/// A fixed phrase followed by key=value fragments.
class Message {
 public:
  explicit Message(std::string_view phrase) : text_(phrase) {}
  Message& with(std::string_view key, std::string_view value) {
    text_.append(" ").append(key).append("=").append(orEmptyMark(value));
    return *this;
  }
  Message& with(std::string_view key, std::int64_t value) { return with(key, std::to_string(value)); }
  [[nodiscard]] const std::string& text() const noexcept { return text_; }

 private:
  std::string text_;
};

/// Names a file in a folder, and cannot write a line of its own where the name is printed.
bool isPlainFileName(std::string_view name) {
  return isSinglePathComponent(name) && singleLineText(name) == name;
}

}  // namespace

VeskAppBundleCodeSignatureValidator::VeskAppBundleCodeSignatureValidator(
    std::shared_ptr<const QuillonFileManaging> fileManager, QuillonDiagnosticLog diagnosticLog,
    std::shared_ptr<QuillonProcessRunning> processRunner, std::string codeSigningToolPath,
    QuillonSystemVersion systemVersion)
    : fileManager_(std::move(fileManager)),
      diagnosticLog_(std::move(diagnosticLog)),
      processRunner_(processRunner ? std::move(processRunner) : makeSystemProcessRunner()),
      codeSigningToolPath_(std::move(codeSigningToolPath)),
      systemVersion_(systemVersion) {}

void VeskAppBundleCodeSignatureValidator::validateAppBundle(const QuillonURL& bundle,
                                                            const VeskAppBundleUpdateHostIdentity& hostIdentity,
                                                            std::stop_token stopToken) const {
  const InfoPlist info = loadInfoPlist(bundle);
  checkBundleIdentifier(info, bundle, hostIdentity);
  checkVersion(info, hostIdentity);
  checkMinimumSystemVersion(info);
  checkExecutable(info, bundle);
  checkSignature(bundle, stopToken);
  if (hostIdentity.expectedTeamIdentifier) checkTeam(bundle, *hostIdentity.expectedTeamIdentifier, stopToken);
}

VeskAppBundleCodeSignatureValidator::InfoPlist VeskAppBundleCodeSignatureValidator::loadInfoPlist(
    const QuillonURL& bundle) const {
  try {
    const QuillonURL file = bundle.appendingPathComponent("Contents/Info.plist");
    QuillonPropertyListValue list = readPropertyList(fileManager_->contentsOfFile(file, kLargestInfoPlist));
    if (auto* const dictionary = list.getIf<InfoPlist>()) return std::move(*dictionary);
  } catch (const VeskUpdateInstallerError&) {
    throw;
  } catch (const QuillonError&) {
    throw VeskUpdateInstallerError::invalidArchive();
  }
  throw VeskUpdateInstallerError::invalidArchive();
}

void VeskAppBundleCodeSignatureValidator::checkBundleIdentifier(
    const InfoPlist& info, const QuillonURL& bundle, const VeskAppBundleUpdateHostIdentity& hostIdentity) const {
  const std::string& identifier = stringOrEmpty(info, "CFBundleIdentifier");
  if (identifier == hostIdentity.bundleIdentifier) return;
  log(Message("bundle identifier mismatch")
          .with("expectedBundleID", hostIdentity.bundleIdentifier)
          .with("actualBundleID", identifier)
          .with("stagedApp", bundle.path())
          .text());
  throw VeskUpdateInstallerError(Code::bundleIdentifierMismatch);
}

void VeskAppBundleCodeSignatureValidator::checkVersion(const InfoPlist& info,
                                                       const VeskAppBundleUpdateHostIdentity& hostIdentity) const {
  const std::string& version = stringOrEmpty(info, "CFBundleShortVersionString");
  const std::string& buildText = stringOrEmpty(info, "CFBundleVersion");
  const std::int64_t build = decimalNumber<std::int64_t>(buildText).value_or(0);
  if (build > hostIdentity.applicationBuild) return;
  if (build < hostIdentity.applicationBuild) {
    log(Message("candidate build is older than host")
            .with("candidateVersion", version)
            .with("candidateBuild", buildText)
            .with("hostVersion", hostIdentity.applicationVersion)
            .with("hostBuild", hostIdentity.applicationBuild)
            .text());
    throw VeskUpdateInstallerError(Code::nonNewerBundleVersion);
  }
  if (hostIdentity.allowsSameBuildReplacement) return;
  if (VeskVersionComparator::compareVersion(version, hostIdentity.applicationVersion) == ComparisonResult::descending) {
    return;
  }
  log(Message("candidate version is not newer")
          .with("candidateVersion", version)
          .with("candidateBuild", build)
          .with("hostVersion", hostIdentity.applicationVersion)
          .with("hostBuild", hostIdentity.applicationBuild)
          .with("allowsSameBuildReplacement", "false")
          .text());
  throw VeskUpdateInstallerError(Code::nonNewerBundleVersion);
}

void VeskAppBundleCodeSignatureValidator::checkMinimumSystemVersion(const InfoPlist& info) const {
  const std::string& required = stringOrEmpty(info, "LSMinimumSystemVersion");
  if (required.empty() || compareRequiredSystemVersion(required, systemVersion_) != ComparisonResult::descending) {
    return;
  }
  const std::string current = std::to_string(systemVersion_.major) + "." + std::to_string(systemVersion_.minor) + "." +
                              std::to_string(systemVersion_.patch);
  log(Message("minimum macOS version unsupported").with("required", required).with("current", current).text());
  throw VeskUpdateInstallerError(Code::minimumOSVersionUnsupported);
}

void VeskAppBundleCodeSignatureValidator::checkExecutable(const InfoPlist& info, const QuillonURL& bundle) const {
  const std::string& name = stringOrEmpty(info, "CFBundleExecutable");
  if (name.empty()) {
    log(Message("missing CFBundleExecutable").with("stagedApp", bundle.path()).text());
    throw VeskUpdateInstallerError(Code::missingExecutable);
  }
  const QuillonURL executable = bundle.appendingPathComponent("Contents/MacOS").appendingPathComponent(name);
  if (isPlainFileName(name) && fileManager_->fileExists(executable) && !fileManager_->directoryExists(executable)) {
    return;
  }
  log(Message("missing executable").with("executableName", name).with("expectedPath", executable.path()).text());
  throw VeskUpdateInstallerError(Code::missingExecutable);
}

QuillonProcessResult VeskAppBundleCodeSignatureValidator::runTool(std::vector<std::string> arguments,
                                                                  const QuillonURL& bundle,
                                                                  const std::stop_token& stopToken) const {
  const std::string path = fileManager_->pathForOtherPrograms(bundle);
  requireBundleAt(path, bundle);
  arguments.push_back(path);
  QuillonProcessResult result = processRunner_->run(codeSigningToolPath_, arguments, stopToken);
  // A tool that was killed has said nothing about the bundle.
  if (stopToken.stop_requested()) throw QuillonCancellationError();
  requireBundleAt(path, bundle);
  return result;
}

void VeskAppBundleCodeSignatureValidator::requireBundleAt(const std::string& path, const QuillonURL& bundle) const {
  try {
    const auto shown = fileManager_->itemStatus(QuillonURL::fileURL(path));
    const auto meant = fileManager_->itemStatus(bundle);
    if (shown && meant && shown->identity == meant->identity) return;
  } catch (const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): what cannot be compared is not the same
  }
  log(Message("the code signing tool is not shown the bundle")
          .with("shownApp", path)
          .with("stagedApp", bundle.path())
          .text());
  throw VeskUpdateInstallerError::signatureValidationFailed();
}

void VeskAppBundleCodeSignatureValidator::checkSignature(const QuillonURL& bundle,
                                                         const std::stop_token& stopToken) const {
  const QuillonProcessResult result = runTool({"--verify", "--strict", "--deep"}, bundle, stopToken);
  if (result.status == 0) return;
  log(Message("code signature verification failed")
          .with("status", result.status)
          .with("output", printableOutput(result.output))
          .with("stagedApp", bundle.path())
          .text());
  throw VeskUpdateInstallerError::signatureValidationFailed();
}

void VeskAppBundleCodeSignatureValidator::checkTeam(const QuillonURL& bundle, const std::string& expectedTeam,
                                                    const std::stop_token& stopToken) const {
  const QuillonProcessResult result = runTool({"-dv", "--verbose=4"}, bundle, stopToken);
  if (result.status != 0) {
    log(Message("code signature metadata read failed")
            .with("status", result.status)
            .with("output", printableOutput(result.output))
            .with("stagedApp", bundle.path())
            .text());
    throw VeskUpdateInstallerError::signatureValidationFailed();
  }
  const std::optional<std::string> team = teamIdentifierInOutput(result.output);
  if (!team) {
    log(Message("code signature metadata did not include TeamIdentifier")
            .with("output", printableOutput(result.output))
            .with("stagedApp", bundle.path())
            .text());
    throw VeskUpdateInstallerError::signatureValidationFailed();
  }
  if (*team == expectedTeam) return;
  log(Message("team identifier mismatch")
          .with("expectedTeamID", expectedTeam)
          .with("actualTeamID", *team)
          .with("stagedApp", bundle.path())
          .text());
  throw VeskUpdateInstallerError(Code::teamIdentifierMismatch);
}

void VeskAppBundleCodeSignatureValidator::log(std::string_view message) const {
  diagnosticLog_(std::string("VeskAppBundleCodeSignatureValidator: ").append(message));
}

}  // namespace quillon
