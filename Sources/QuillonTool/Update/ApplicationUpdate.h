#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

#include "QuillonCore/Contracts/QuillonClock.h"
#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Contracts/QuillonKeyValueStoring.h"
#include "QuillonCore/Contracts/QuillonLogger.h"
#include "QuillonCore/Contracts/QuillonMonotonicTime.h"
#include "QuillonCore/Contracts/QuillonNetworkClient.h"
#include "QuillonCore/Contracts/QuillonProcessRunning.h"
#include "QuillonCore/Runtime/QuillonMainThreadQueue.h"
#include "QuillonTool/Update/ApplicationCheckContext.h"
#include "QuillonTool/Update/ApplicationProcesses.h"
#include "QuillonTool/Update/InstalledApplication.h"
#include "QuillonTool/Update/UpdateAnswers.h"
#include "QuillonTool/Update/UpdateOptions.h"
#include "QuillonTool/Update/UpdateOutcome.h"
#include "QuillonTool/Update/UpdatePause.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleUpdateHelperLaunching.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerCoordinator.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminal.h"

namespace quillon {

/// What an update is done with. Nothing is null.
struct ApplicationUpdateServices {
  /// Makes what downloads, unpacks and hands on, with these parts.
  using CoordinatorMaking =
      std::function<VeskUpdateInstallerCoordinator(std::shared_ptr<VeskAppBundleUpdateHelperLaunching> helperLauncher,
                                                   std::shared_ptr<const VeskUpdateProgressWindowPresenter> presenter,
                                                   std::shared_ptr<const VeskUpdateLocalizationBundle> texts)>;

  std::shared_ptr<const QuillonFileManaging> fileManager;
  std::shared_ptr<QuillonProcessRunning> processRunner;
  std::string codeSigningToolPath;
  /// Loads feeds and release notes.
  std::shared_ptr<const QuillonNetworkClient> network;
  CoordinatorMaking coordinator;
  /// The settings of the application with an identifier.
  std::function<std::shared_ptr<QuillonKeyValueStoring>(std::string_view identifier)> settings;
  std::shared_ptr<const QuillonClock> clock;
  std::shared_ptr<const ApplicationProcessFinding> processes;
  /// The way to the installer of an application.
  std::function<std::shared_ptr<VeskAppBundleUpdateHelperLaunching>(const InstalledApplication&)> helperLauncher;
  UpdatePause pause;
  QuillonMonotonicTimeProvider monotonicTime;
  UpdateEnvironment environment;
  std::shared_ptr<QuillonLogger> logger;
  std::shared_ptr<QuillonMainThreadQueue> mainThread;
  std::shared_ptr<VeskUpdateTerminal> terminal;
  UpdateAnswering answering = UpdateAnswering::byNobody;
};

/// One run of a host without windows: looks for an update of an installed application, offers it in a terminal, and
/// hands it to the application's installer.
class ApplicationUpdate {
 public:
  ApplicationUpdate(UpdateOptions options, ApplicationUpdateServices services);

  /// Does it, with its steps on a thread of their own, and returns when the caller has to end: the installer may be
  /// waiting for that. A stop of `stopSource` ends it early with nothing changed and nothing left on disk. Failures are
  /// part of the outcome. On the thread of the services' main thread.
  [[nodiscard]] UpdateOutcome run(std::stop_source stopSource) const;

 private:
  const UpdateOptions options_;
  const ApplicationUpdateServices services_;
};

}  // namespace quillon
