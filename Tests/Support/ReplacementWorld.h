#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementExecutor.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "Support/FaultInjectingFileManager.h"
#include "Support/TemporaryDirectory.h"

namespace quillon::testing {

class FakeRelauncher final : public VeskAppBundleReplacementRelaunching {
 public:
  [[nodiscard]] bool relaunchApplication(const QuillonURL& applicationURL) noexcept override;

  bool answer = true;
  /// What was relaunched, and the version found there at that time.
  std::vector<std::pair<QuillonURL, std::string>> relaunched;
};

class FakePrivilegeChecker final : public VeskAppBundleReplacementPrivilegeChecking {
 public:
  [[nodiscard]] bool processCanReplaceNonWritableDestination() const noexcept override { return answer; }
  bool answer = false;
};

/// Accepts every bundle unless told otherwise, and notes what it was asked.
class FakeValidator final : public VeskAppBundleUpdateValidating {
 public:
  void validateAppBundle(const QuillonURL& bundle, const VeskAppBundleUpdateHostIdentity& hostIdentity,
                         std::stop_token stopToken = {}) const override;

  /// Called with the number of the validation, from 1; may throw.
  std::function<void(int number, const QuillonURL& bundle)> onValidation;
  mutable std::vector<QuillonURL> validated;
};

/// Version 1.0 of an application installed, version 2.0 staged, both complete, in a folder of their own, and an
/// executor with fakes at its outer ports and the real file system.
class ReplacementWorld {
 public:
  ReplacementWorld();

  [[nodiscard]] VeskAppBundleReplacementRequest request() const;
  /// Runs the replacement; the error it ended with, if any.
  std::optional<VeskUpdateInstallerError> replace();
  std::optional<VeskUpdateInstallerError> replace(const VeskAppBundleReplacementRequest& request);
  [[nodiscard]] VeskAppBundleReplacementExecutor makeExecutor();

  [[nodiscard]] std::string installedVersion() const;
  [[nodiscard]] std::string stagedVersion() const;
  /// Names in the folder of the installed bundle.
  [[nodiscard]] std::vector<std::string> destinationNames() const;

  TemporaryDirectory folder;
  std::filesystem::path installed = folder / "Applications/Example.app";
  std::filesystem::path staged = folder / "Staging/Example.app";
  std::shared_ptr<FaultInjectingFileManager> files;
  std::shared_ptr<FakeRelauncher> relauncher = std::make_shared<FakeRelauncher>();
  std::shared_ptr<FakePrivilegeChecker> privilege = std::make_shared<FakePrivilegeChecker>();
  std::shared_ptr<FakeValidator> validator = std::make_shared<FakeValidator>();
  std::shared_ptr<VeskAppBundleReplacementPermissionChecking> permission;
  std::shared_ptr<VeskAppBundleReplacementOwnershipMatching> ownership;
  std::vector<std::string> log;
};

}  // namespace quillon::testing
