// A host application's first use of the installed package: builds the installer's command line for itself.

#include <cstdio>
#include <optional>

#include "QuillonCore/VeskVersionComparator.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRequest.h"

int main() {
  using namespace quillon;
  const VeskAppBundleReplacementRequest request{
      .stagedApplicationURL = QuillonURL::fileURL("/staging/Example.app"),
      .installedApplicationURL = QuillonURL::fileURL("/Applications/Example.app"),
      .helperExecutableURL = std::nullopt,
      .hostIdentity = std::nullopt,
      .shouldRequestAuthorizationIfNeeded = false,
      .launchUserContext = std::nullopt,
      .failureReportURL = std::nullopt,
      .failureReportAttemptIdentifier = std::nullopt,
  };
  for (const std::string& word : request.helperArguments(42)) std::puts(word.c_str());
  return VeskVersionComparator::compareVersion("2.0", "1.9") == ComparisonResult::descending ? 0 : 1;
}
