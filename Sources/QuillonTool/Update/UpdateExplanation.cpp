#include "QuillonTool/Update/UpdateExplanation.h"

#include <cstdint>

namespace quillon {
namespace {

using Code = VeskUpdateInstallerError::Code;

constexpr auto kLastCode = static_cast<std::uint8_t>(Code::relaunchFailed);

}  // namespace

std::string_view explanation(Code code) noexcept {
  switch (code) {
    case Code::replacementHelperLaunchFailed:
      return "The launcher service of the application refused to start the installer, or could not. Nothing was "
             "changed. The system log says more; an application that is not signed by a trusted team is always "
             "refused.";
    case Code::replacementHelperProtocolFailure:
      return "The conversation with the launcher service of the application broke. If the installer was started, it "
             "leaves a report, which the next run shows.";
    case Code::replacementHelperLaunchTimedOut:
      return "Starting the installer took too long. If it was started after all, it leaves a report, which the next "
             "run shows.";
    case Code::authorizationDenied:
      return "An administrator has to allow this update, and none did. Nothing was changed. Ask one to update the "
             "application.";
    case Code::authorizationCancelled:
      return "The dialog in which an administrator allows this update was closed. Nothing was changed.";
    case Code::missingArchiveURL:
      return "The feed does not say where the update can be downloaded. Tell its publisher.";
    case Code::downloadFailed:
      return "The update cannot be downloaded from where the feed says. Check the connection and try again later.";
    case Code::writeFailed:
      return "The update cannot be stored: neither in the folder for application data nor in the one for temporary "
             "files is there room or permission.";
    case Code::unzipFailed:
      return "The downloaded archive cannot be unpacked: it is damaged or no zip archive, or the disk is full.";
    case Code::launchFailed:
      return "The installer document of the update cannot be opened.";
    case Code::invalidArchive:
      return "What the archive holds cannot be read as an application.";
    case Code::noAppBundleFound:
      return "The archive holds no application. Tell the publisher of the feed.";
    case Code::multipleAppBundlesFound:
      return "The archive holds more than one application. Tell the publisher of the feed.";
    case Code::bundleIdentifierMismatch:
      return "The archive holds another application than the installed one.";
    case Code::teamIdentifierMismatch:
      return "The update was signed by another team than the installed application. It was not installed.";
    case Code::nonNewerBundleVersion:
      return "The archive holds no newer version than the installed one, whatever the feed says.";
    case Code::minimumOSVersionUnsupported:
      return "The update needs a newer operating system.";
    case Code::missingExecutable:
      return "The update has no program in it. Tell the publisher of the feed.";
    case Code::signatureValidationFailed:
      return "The code signature of the update is not valid: it was damaged or changed on its way, or was signed by "
             "nobody whom this machine trusts. It was not installed.";
    case Code::replacementHelperUnavailable:
      return "This copy of the application cannot replace itself: its installer or launcher service is missing. "
             "Install it again by hand.";
    case Code::replacementLaunchFailed:
      return "The report of an earlier failure cannot be removed from the folder for application data.";
    case Code::destinationNotWritable:
      return "The folder of the application cannot be changed. The old version is still installed.";
    case Code::replacementFailed:
      return "The new version could not take the place of the old one, which is still installed. The disk may be full.";
    case Code::relaunchFailed:
      return "The new version could not be started; the old one was put back.";
  }
  return {};
}

std::string_view explanationOfReport(std::string_view errorDescription) noexcept {
  const std::string_view name = errorDescription.substr(0, errorDescription.find('('));
  for (std::uint8_t value = 0; value <= kLastCode; ++value) {
    const auto code = static_cast<Code>(value);
    if (caseName(code) == name) return explanation(code);
  }
  return "The installer failed.";
}

bool isDownloadFailure(Code code) noexcept {
  return code == Code::missingArchiveURL || code == Code::downloadFailed || code == Code::writeFailed;
}

}  // namespace quillon
