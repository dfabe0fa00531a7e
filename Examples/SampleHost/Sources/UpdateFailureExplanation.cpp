#include "UpdateFailureExplanation.h"

#include <algorithm>
#include <array>

namespace sample {
namespace {

struct Explanation {
  std::string_view failure;
  std::string_view text;
};

constexpr std::string_view kForeign =
    "The downloaded update is damaged, or does not come from the maker of the application.";
constexpr std::string_view kNoAnswer = "The installer did not answer.";

constexpr std::array kExplanations{
    Explanation{"authorizationDenied", "An administrator has to allow the update."},
    Explanation{"writeFailed", "The update could not be stored. There may be too little space on the disk."},
    Explanation{"unzipFailed", "The update could not be unpacked. There may be too little space on the disk."},
    Explanation{"invalidArchive", kForeign},
    Explanation{"noAppBundleFound", kForeign},
    Explanation{"multipleAppBundlesFound", kForeign},
    Explanation{"bundleIdentifierMismatch", kForeign},
    Explanation{"teamIdentifierMismatch", kForeign},
    Explanation{"missingExecutable", kForeign},
    Explanation{"signatureValidationFailed", kForeign},
    Explanation{"nonNewerBundleVersion", "The downloaded update is not newer than this version."},
    Explanation{"minimumOSVersionUnsupported", "The update needs a newer version of the system."},
    Explanation{"replacementHelperLaunchFailed", "The installer could not be started."},
    Explanation{"replacementHelperUnavailable", "This copy of the application is incomplete."},
    Explanation{"replacementHelperLaunchTimedOut", kNoAnswer},
    Explanation{"replacementHelperProtocolFailure", kNoAnswer},
    Explanation{"replacementLaunchFailed", "The report of an earlier update cannot be removed."},
    Explanation{"destinationNotWritable", "The folder of the application cannot be changed."},
    Explanation{
        "replacementFailed",
        "The new version could not be put in place, so the old one was kept. There may be too little space on the "
        "disk."},
    Explanation{"relaunchFailed", "The new version could not be started, so the old one was kept."}};

}  // namespace

std::optional<std::string> explanationOfUpdateFailure(std::string_view failure) {
  const std::string_view name = failure.substr(0, failure.find('('));
  const auto* const found = std::ranges::find(kExplanations, name, &Explanation::failure);
  if (found == kExplanations.end()) return std::nullopt;
  return std::string(found->text);
}

}  // namespace sample
