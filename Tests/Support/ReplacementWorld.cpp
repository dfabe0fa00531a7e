#include "Support/ReplacementWorld.h"

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/ReplacementRequestBuilder.h"

namespace quillon::testing {

bool FakeRelauncher::relaunchApplication(const QuillonURL& applicationURL) noexcept {
  relaunched.emplace_back(applicationURL, versionOfApplicationBundle(applicationURL.path()));
  return answer;
}

void FakeValidator::validateAppBundle(const QuillonURL& bundle, const VeskAppBundleUpdateHostIdentity& /*hostIdentity*/,
                                      std::stop_token /*stopToken*/) const {
  validated.push_back(bundle);
  if (onValidation) onValidation(static_cast<int>(validated.size()), bundle);
}

ReplacementWorld::ReplacementWorld()
    : files(std::make_shared<FaultInjectingFileManager>(std::make_shared<const QuillonPosixFileManager>())) {
  makeApplicationBundle(installed, {.version = "1.0", .build = "1"});
  makeApplicationBundle(staged, {.version = "2.0", .build = "2"});
}

VeskAppBundleReplacementRequest ReplacementWorld::request() const {
  return makeReplacementRequest(staged, installed);
}

VeskAppBundleReplacementExecutor ReplacementWorld::makeExecutor() {
  return {files,     relauncher, permission,
          privilege, ownership,  [this](std::string_view line) { log.emplace_back(line); },
          validator};
}

std::optional<VeskUpdateInstallerError> ReplacementWorld::replace() {
  return replace(request());
}

std::optional<VeskUpdateInstallerError> ReplacementWorld::replace(const VeskAppBundleReplacementRequest& request) {
  try {
    (void)makeExecutor().executeReplacement(request);
    return std::nullopt;
  } catch (const VeskUpdateInstallerError& error) {
    return error;
  }
}

std::string ReplacementWorld::installedVersion() const {
  return versionOfApplicationBundle(installed);
}

std::string ReplacementWorld::stagedVersion() const {
  return versionOfApplicationBundle(staged);
}

std::vector<std::string> ReplacementWorld::destinationNames() const {
  return files->contentsOfDirectory(QuillonURL::fileURL(installed.parent_path().string()));
}

}  // namespace quillon::testing
