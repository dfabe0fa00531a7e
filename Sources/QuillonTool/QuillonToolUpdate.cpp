#include "QuillonTool/QuillonToolUpdate.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string_view>
#include <utility>

#include "QuillonCore/Network/QuillonSystemURLTransfers.h"
#include "QuillonCore/Network/QuillonURLSessionNetworkClient.h"
#include "QuillonCore/Runtime/QuillonNoopLogger.h"
#include "QuillonCore/Runtime/QuillonPreferredLanguages.h"
#include "QuillonCore/Runtime/QuillonRotatingFileLogger.h"
#include "QuillonCore/Runtime/QuillonSystemClock.h"
#include "QuillonCore/Runtime/QuillonSystemMonotonicTime.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonCore/Runtime/QuillonTerminal.h"
#include "QuillonCore/Runtime/QuillonTimerThread.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/QuillonToolUsageError.h"
#include "QuillonTool/Update/ApplicationUpdate.h"
#include "QuillonTool/Update/Posix/InterruptSignals.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceInfo.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCSystemServices.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCUpdateHelperLauncher.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateSystemInstallerCoordinator.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/Posix/VeskUpdateTerminalKeys.h"

namespace quillon {
namespace {

constexpr std::string_view kHelp = R"(Usage: quillon update APP [--feed URL] [--check] [--scheduled] [--yes]
           [--beta | --no-beta] [--sku SKU]... [--wait SECONDS] [--json]
           [--log FILE]

Looks for an update of the installed application bundle APP, offers it with its
release notes, downloads and validates it, and has the installer of the
application put it in place and start it. The application has to quit first:
the command says which processes it waits for.

Options:
  --feed URL      The update feed (default: QuillonUpdateFeedURL in the
                  bundle's Info.plist).
  --check         Only say whether an update is offered. What became of the last
                  installation is left to a run without this option.
  --scheduled     Nobody asked for this check: it is made only when it is due,
                  and an update that was offered, skipped or refused is not
                  offered again too soon. Betas are offered only to those who
                  want them.
  --yes           Answer every question with yes. Without it and without a
                  terminal, the answer is no. An update that is an installer
                  document is not opened unasked: its location is printed, and
                  the status is 10.
  --beta          Offer betas from now on, in scheduled checks too.
  --no-beta       Do not offer betas in scheduled checks.
  --sku SKU       Way of distribution of this copy (default:
                  QuillonUpdateDistribution in Info.plist); may be given
                  several times.
  --wait SECONDS  How long the application may take to quit (default: as long
                  as it takes in a terminal, else and with --yes 60).
  --json          Print a JSON object, and everything else to standard error.
  --log FILE      Write a log to FILE.
  --help          Print this text.

Exit status: 0 when no update is offered, no check was due, the installer has
taken over, or an installer document was opened; --json tells these apart. 1 when
the update failed, 2 for a wrong command line, 10 when an update is offered and
was not installed, 130 when the command was interrupted.
)";

constexpr int kStandardInput = 0;
constexpr int kStandardOutput = 1;
constexpr int kStandardError = 2;

/// Nanoseconds; the first is longer than the service takes at most.
constexpr std::uint64_t kBeforeTheDialog = 15'000'000'000;
constexpr std::uint64_t kAfterTheDialog = 40'000'000'000;

std::shared_ptr<VeskAppBundleUpdateHelperLaunching> makeHelperLauncher(const QuillonFileManaging& fileManager,
                                                                       const InstalledApplication& application) {
  return std::make_shared<VeskAppBundleXPCUpdateHelperLauncher>(
      makeSystemInstallerLauncherServiceConnectionFactory(application.bundle),
      VeskAppBundleInstallerLauncherServiceInfo::currentHostServiceName(fileManager, application.bundle),
      kBeforeTheDialog, kAfterTheDialog, std::make_shared<QuillonTimerThread>());
}

std::shared_ptr<QuillonLogger> makeLogger(const std::optional<QuillonURL>& file) {
  if (!file) return std::make_shared<QuillonNoopLogger>();
  auto logger = std::make_shared<QuillonRotatingFileLogger>(QuillonRotatingFileLoggerSettings{.file = *file},
                                                            std::make_shared<QuillonSystemClock>());
  try {
    logger->open();
  } catch (const QuillonSystemError& error) {
    throw QuillonToolUsageError("--log names a file that cannot be written: " + error.description());
  }
  return logger;
}

UpdateAnswering answeringFor(const UpdateOptions& options) {
  if (options.answersYes) return UpdateAnswering::byConsent;
  return standardInputIsTerminal() ? UpdateAnswering::byKeys : UpdateAnswering::byNobody;
}

ApplicationUpdateServices makeServices(const UpdateOptions& options, const QuillonToolServices& services,
                                       std::ostream& people) {
  ApplicationUpdateServices all;
  all.fileManager = services.fileManager;
  all.processRunner = services.processRunner;
  all.codeSigningToolPath = services.codeSigningToolPath;
  const auto transfers = makeSystemURLTransfers();
  all.network = std::make_shared<QuillonURLSessionNetworkClient>(transfers);
  all.mainThread = std::make_shared<QuillonMainThreadQueue>();
  all.coordinator = [files = services.fileManager, mainThread = all.mainThread, transfers](auto helperLauncher,
                                                                                           auto presenter, auto texts) {
    return makeSystemInstallerCoordinator(std::move(helperLauncher), mainThread, std::move(presenter), std::move(texts),
                                          files, transfers);
  };
  all.settings = [](std::string_view identifier) { return makeSystemUserDefaults(identifier); };
  all.clock = std::make_shared<QuillonSystemClock>();
  all.processes = makeSystemApplicationProcesses();
  all.helperLauncher = [files = services.fileManager](const InstalledApplication& application) {
    return makeHelperLauncher(*files, application);
  };
  all.pause = makeSystemUpdatePause();
  all.monotonicTime = makeSystemMonotonicTimeProvider();
  all.environment = {.systemVersion = services.systemVersion, .languages = preferredLanguages()};
  all.logger = makeLogger(options.logFile);
  all.terminal =
      std::make_shared<VeskUpdateTerminal>(people, terminalStyle(options.isJSON ? kStandardError : kStandardOutput));
  all.answering = answeringFor(options);
  return all;
}

UpdateOutcome runUpdate(const UpdateOptions& options, const ApplicationUpdateServices& services) {
  const std::stop_source stopSource;
  const InterruptSignals signals(stopSource);
  std::optional<VeskUpdateTerminalKeys> keys;
  if (services.answering == UpdateAnswering::byKeys) {
    keys.emplace(kStandardInput, services.terminal, services.mainThread);
  }
  return ApplicationUpdate(options, services).run(stopSource);
}

QuillonToolExitStatus update(const QuillonToolArguments& arguments, const QuillonToolServices& services,
                             QuillonToolConsole& console) {
  const UpdateOptions options = readUpdateOptions(arguments);
  const UpdateOutcome outcome =
      runUpdate(options, makeServices(options, services, options.isJSON ? console.error() : console.output()));
  if (outcome.error) console.printError("quillon update: " + outcome.error->message);
  if (outcome.result == UpdateOutcome::Result::cancelled) console.printError("quillon update: Cancelled.");
  if (options.isJSON) console.printLine(outcome.json().text());
  return outcome.exitStatus();
}

}  // namespace

QuillonToolSubcommand updateSubcommand() {
  return {.group = "update",
          .name = "",
          .summary = "Update an installed application",
          .help = kHelp,
          .options = updateOptions(),
          .action = update};
}

}  // namespace quillon
