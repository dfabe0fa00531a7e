#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "QuillonCore/Runtime/Posix/CommandProcess.h"
#include "QuillonCore/Runtime/QuillonProcessProbe.h"
#include "QuillonCore/Runtime/QuillonSystemLog.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdateInstaller/QuillonUpdateInstallerMain.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementProcessPrivilegeChecker.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdSystemServices.h"

namespace {

void writeLine(std::string_view line) {
  const std::string text = quillon::withControlCharactersEscaped(line) + "\n";
  std::fwrite(text.data(), 1, text.size(), stderr);
}

quillon::QuillonUpdateInstallerServices systemServices() {
  return {
      .fileManager = quillon::makeSystemFileManager(),
      .privilegeChecker = std::make_shared<quillon::VeskAppBundleReplacementProcessPrivilegeChecker>(),
      .makeRelauncher = [](const auto& user) { return quillon::makeSystemLaunchdRelauncher(user, writeLine); },
      .validator = nullptr,
      .processExists = quillon::processExists,
      .sleep = [](std::chrono::milliseconds time) { std::this_thread::sleep_for(time); },
      .now = [] { return std::chrono::time_point_cast<std::chrono::microseconds>(std::chrono::system_clock::now()); },
      .standardError = writeLine,
  };
}

}  // namespace

int main(int argumentCount, char** argumentValues) {
  quillon::prepareCommandProcess();
  const std::vector<std::string> arguments(argumentValues + (argumentCount > 0 ? 1 : 0),
                                           argumentValues + argumentCount);
  quillon::QuillonUpdateInstallerMain(systemServices()).run(arguments);
}
