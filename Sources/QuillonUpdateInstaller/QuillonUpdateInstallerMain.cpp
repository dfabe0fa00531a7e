#include "QuillonUpdateInstaller/QuillonUpdateInstallerMain.h"

#include <cstdlib>
#include <exception>

#include "QuillonUpdateInstaller/QuillonUpdateInstallerFailureRecorder.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementExecutor.h"

namespace quillon {

void QuillonUpdateInstallerMain::run(const std::vector<std::string>& arguments) noexcept {
  std::exit(execute(arguments));  // NOLINT(concurrency-mt-unsafe): the command has one thread
}

int QuillonUpdateInstallerMain::execute(const std::vector<std::string>& arguments) noexcept {
  std::optional<QuillonUpdateInstallerArguments> parsed;
  try {
    install(arguments, parsed);
    return EXIT_SUCCESS;
  } catch (const QuillonError& error) {
    fail(error.description(), parsed);
  } catch (const std::exception& error) {
    fail(error.what(), parsed);
  }
  return EXIT_FAILURE;
}

void QuillonUpdateInstallerMain::install(const std::vector<std::string>& arguments,
                                         std::optional<QuillonUpdateInstallerArguments>& parsed) {
  parsed = QuillonUpdateInstallerArguments::parse(arguments);
  waitForHostToQuit(parsed->hostProcessIdentifier);

  shield_.emplace();
  VeskAppBundleReplacementExecutor executor(
      services_.fileManager, services_.makeRelauncher(parsed->launchUserContext), nullptr, services_.privilegeChecker,
      nullptr, [this](std::string_view line) { printLine(line); }, services_.validator);
  (void)executor.executeReplacement(parsed->replacementRequest());
}

void QuillonUpdateInstallerMain::waitForHostToQuit(std::int32_t hostProcessIdentifier) const {
  if (hostProcessIdentifier < 1) return;
  // No limit: a bundle whose host still runs is never replaced.
  while (services_.processExists(hostProcessIdentifier)) services_.sleep(kPollInterval);
}

void QuillonUpdateInstallerMain::fail(std::string_view description,
                                      const std::optional<QuillonUpdateInstallerArguments>& parsed) noexcept {
  try {
    if (!shield_) shield_.emplace();
    try {
      const QuillonUpdateInstallerFailureRecorder recorder(services_.fileManager, services_.privilegeChecker,
                                                           services_.now);
      recorder.recordFailureReportIfPossible(std::string(description), parsed);
    } catch (const std::exception& error) {
      printLine(std::string("QuillonUpdateInstaller could not record failure report: ") + error.what());
    }
    printLine(std::string("QuillonUpdateInstaller failed: ").append(description));
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): the exit status still says that it failed
  }
}

void QuillonUpdateInstallerMain::printLine(std::string_view line) const {
  services_.standardError(line);
}

}  // namespace quillon
