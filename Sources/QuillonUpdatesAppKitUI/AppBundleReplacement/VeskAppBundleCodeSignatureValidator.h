#pragma once

#include <memory>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Contracts/QuillonProcessRunning.h"
#include "QuillonCore/Runtime/QuillonSystemLog.h"
#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonCore/Values/QuillonSystemVersion.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSigningTool.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateValidating.h"

namespace quillon {

/// Checks identifier, version, system requirement, executable, code signature and team of a bundle, in that order.
///
/// Each rejection goes once to the diagnostic log, with what was expected and what was found, and is thrown once.
class VeskAppBundleCodeSignatureValidator final : public VeskAppBundleUpdateValidating {
 public:
  /// An Info.plist larger than this is no property list that an application ships (bytes).
  static constexpr std::size_t kLargestInfoPlist = std::size_t{8} << 20;

  explicit VeskAppBundleCodeSignatureValidator(std::shared_ptr<const QuillonFileManaging> fileManager,
                                               QuillonDiagnosticLog diagnosticLog = writeToSystemLog,
                                               std::shared_ptr<QuillonProcessRunning> processRunner = nullptr,
                                               std::string codeSigningToolPath = systemCodeSigningToolPath(),
                                               QuillonSystemVersion systemVersion = QuillonSystemVersion::running());

  void validateAppBundle(const QuillonURL& bundle, const VeskAppBundleUpdateHostIdentity& hostIdentity,
                         std::stop_token stopToken = {}) const override;

 private:
  using InfoPlist = QuillonPropertyListValue::Dictionary;

  [[nodiscard]] InfoPlist loadInfoPlist(const QuillonURL& bundle) const;
  void checkBundleIdentifier(const InfoPlist& info, const QuillonURL& bundle,
                             const VeskAppBundleUpdateHostIdentity& hostIdentity) const;
  void checkVersion(const InfoPlist& info, const VeskAppBundleUpdateHostIdentity& hostIdentity) const;
  void checkMinimumSystemVersion(const InfoPlist& info) const;
  void checkExecutable(const InfoPlist& info, const QuillonURL& bundle) const;
  void checkSignature(const QuillonURL& bundle, const std::stop_token& stopToken) const;
  void checkTeam(const QuillonURL& bundle, const std::string& expectedTeam, const std::stop_token& stopToken) const;
  /// Runs the code-signing tool on the bundle. Throws QuillonCancellationError when a stop was requested meanwhile, and
  /// signatureValidationFailed when what the tool was shown was not that bundle all along.
  [[nodiscard]] QuillonProcessResult runTool(std::vector<std::string> arguments, const QuillonURL& bundle,
                                             const std::stop_token& stopToken) const;
  void requireBundleAt(const std::string& path, const QuillonURL& bundle) const;
  void log(std::string_view message) const;

  std::shared_ptr<const QuillonFileManaging> fileManager_;
  QuillonDiagnosticLog diagnosticLog_;
  std::shared_ptr<QuillonProcessRunning> processRunner_;
  std::string codeSigningToolPath_;
  QuillonSystemVersion systemVersion_;
};

}  // namespace quillon
